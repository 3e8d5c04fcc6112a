// Beside the picture: counters, histogram, exposure, trigger, and the log.
import { html, useEffect, useRef, useState } from '/preact.mjs';
import { depthOf, featuresOf, read, saveImage, send } from '/stream.mjs';
import { greatest } from '/picture.mjs';

const number = value => value === null || value === undefined ? '–' : value.toLocaleString('en');
const colours = () => getComputedStyle(document.documentElement);

// Every image that the camera sent is one of these; the sum is the proof.
export function Counters({ camera, shown }) {
    const known = camera.complete !== undefined;
    const sent = known ? camera.complete + camera.incomplete + camera.lost : null;
    const rows = [
        ['fetched', camera.fetched, 'by this page\'s server from the adapter'],
        ['rate', camera.rate.toFixed(1) + ' /s', 'images fetched a second'],
        ['camera', camera.cameraRate.toFixed(1) + ' /s', 'by the camera\'s own time stamps'],
        ['lost', camera.lost, 'by ' + camera.lostBy, camera.lost > 0],
        ['incomplete', camera.incomplete, 'arrived with packets missing', camera.incomplete > 0],
        ['shown', shown.rate.toFixed(1) + ' /s', 'drawn here: a slow page misses some, the camera does not'],
    ];
    return html`<div class="card counters"><h2>Images</h2><dl>${rows.map(([name, value, title, bad]) => html`
        <div title=${title} class=${bad ? 'bad' : ''}><dt>${name}</dt>
            <dd data-counter=${name}>${typeof value === 'number' ? number(value) : value ?? '–'}</dd></div>`)}</dl>
        <p class="hint">${known ? html`By the log, half a second ago: sent <b>${number(sent)}</b> = ${number(camera.complete)} complete +
            ${' ' + number(camera.incomplete)} incomplete + ${number(camera.lost)} lost.`
            : 'The adapter\'s log tells no more: losses are a guess from time stamps.'}</p></div>`;
}

// A chart of the library that draws it, in the page's colours.
function useChart(make, width, data, again) {
    const box = useRef(), chart = useRef();
    useEffect(() => {
        const draw = () => {
            chart.current?.destroy();
            chart.current = new uPlot({ width: box.current.clientWidth || width, ...make() }, data, box.current);
        };
        draw();
        const dark = matchMedia('(prefers-color-scheme: dark)');
        dark.addEventListener('change', draw);
        return () => { dark.removeEventListener('change', draw); chart.current?.destroy(); };
    }, again);
    useEffect(() => {
        if (box.current.clientWidth && chart.current.width !== box.current.clientWidth)
            chart.current.setSize({ width: box.current.clientWidth, height: chart.current.height });
        chart.current.setData(data);
    }, [data]);
    return box;
}
const axis = extra => ({
    stroke: colours().getPropertyValue('--muted'), grid: { stroke: colours().getPropertyValue('--line'), width: 1 },
    ticks: { show: false }, font: '11px system-ui', ...extra,
});

export function Rates({ history }) {
    const data = [history.map((_, i) => (i - history.length + 1) / 2), history.map(h => h.rate),
        history.map(h => h.gone)];
    const box = useChart(() => ({
        height: 110, legend: { show: false }, cursor: { show: false }, scales: { x: { time: false, range: [-60, 0] } },
        axes: [axis({ size: 24, values: (_, v) => v.map(x => x + ' s') }), axis({ size: 36 })],
        series: [{}, { stroke: colours().getPropertyValue('--accent'), width: 2 },
            { stroke: colours().getPropertyValue('--bad'), fill: colours().getPropertyValue('--bad'), width: 1 }],
    }), 320, data, []);
    return html`<div class="card"><h2>Last minute <small>images a second; <span class="red">lost or incomplete</span>
        </small></h2><div class="chart" ref=${box}></div></div>`;
}

export function Histogram({ camera, picture }) {
    const [logarithmic, setLogarithmic] = useState(false);
    const [whole, setWhole] = useState(true);
    const [counts, setCounts] = useState(null);
    useEffect(() => {
        let wanted = true;
        setCounts(null);
        const look = async () => {
            while (wanted) {
                try {
                    const p = !whole && picture.record && picture.canvas ? picture.visible() : null;
                    const where = p ? `?x=${p.x}&y=${p.y}&w=${p.width}&h=${p.height}` : '';
                    if (document.visibilityState === 'visible') {
                        const next = await read(`channels/${camera.index}/histogram${where}`);
                        if (wanted) setCounts(next);
                    }
                } catch { /* no image yet */ }
                await new Promise(done => setTimeout(done, 500));
            }
        };
        look();
        return () => { wanted = false; };
    }, [camera.index, whole]);
    const bins = counts?.bins || [new Array(256).fill(0)];
    const shape = values => logarithmic ? values.map(v => Math.log10(v + 1)) : values;
    const step = 2 ** (depthOf(camera.pixelType) - 8);
    const data = [bins[0].map((_, i) => i * step), ...bins.map(shape)];
    const tones = bins.length === 3 ? ['#e0433c', '#2f9e44', '#2f6fd0'] : [colours().getPropertyValue('--text')];
    const box = useChart(() => ({
        height: 130, legend: { show: false }, cursor: { show: false }, scales: { x: { time: false } },
        axes: [axis({ size: 24 }), axis({ show: false })],
        series: [{}, ...tones.map(stroke => ({ stroke, width: 1, fill: stroke + (stroke[0] === '#' ? '44' : '') }))],
    }), 320, data, [bins.length, logarithmic, step]);
    const share = part => counts ? (100 * part / counts.samples).toFixed(part ? 2 : 0) + ' %' : '–';
    return html`<div class="card"><h2>Histogram <small>${counts ? `dark ${share(counts.darkest)}, ` : ''}
            <span class=${counts && counts.brightest > counts.samples / 100 ? 'red' : ''}>clipped
            ${' ' + share(counts?.brightest)}</span></small></h2>
        <div class="chart histogram" ref=${box} data-bins=${JSON.stringify(counts?.bins || null)}></div>
        <div class="bar"><label><input type="checkbox" checked=${logarithmic}
            onChange=${e => setLogarithmic(e.target.checked)} /> logarithmic</label>
        <label><input type="checkbox" checked=${!whole} onChange=${e => setWhole(!e.target.checked)} /> only what is shown
        </label></div></div>`;
}

export function Window({ camera, picture }) {
    const most = greatest(camera);
    const [points, setPoints] = useState(picture.windowOf === most && picture.window[1] ? picture.window : [0, most]);
    useEffect(() => {
        if (picture.windowOf === most) return;
        setPoints([0, most]); // the points of another depth mean nothing here
        picture.window = [0, 0];
        picture.windowOf = most;
        picture.tell();
    }, [camera.index, most]);
    if (most === 255) return null;
    const set = (i, value) => {
        const next = i === 0 ? [Math.min(value, points[1] - 1), points[1]] : [points[0], Math.max(value, points[0] + 1)];
        setPoints(next);
        picture.window = next;
        picture.tell();
    };
    return html`<div class="card"><h2>Black and white point <small>of ${most}; for the eye only</small></h2>
        ${['black', 'white'].map((name, i) => html`<label class="slide">${name}<input type="range" min="0" max=${most}
            value=${points[i]} onInput=${e => set(i, Number(e.target.value))} /><output>${points[i]}</output></label>`)}
    </div>`;
}

// The interface tells no upper end: it is learned when the camera takes less than it was asked for.
export function Exposure({ camera, readOnly }) {
    const [state, setState] = useState(null);
    const [most, setMost] = useState(1e6);
    const [note, setNote] = useState('');
    const path = name => `channels/${camera.index}/features/${name}`;
    const load = async () => {
        const names = new Set((await featuresOf(camera.index).catch(() => [])).map(f => f.name));
        const automatic = names.has('ExposureAuto') ? await read(path('ExposureAuto')).catch(() => null) : null;
        for (const name of ['ExposureTime', 'ExposureTimeAbs'].filter(n => names.has(n))) {
            const feature = await read(path(name)).catch(() => null);
            if (feature?.value != null)
                return setState({ name, value: Number(feature.value), automatic: automatic?.value || 'Off' });
        }
        setState({ none: true });
    };
    useEffect(() => { setState(null); setNote(''); setMost(1e6); load(); }, [camera.index]);
    const pending = useRef({});
    const write = async value => {
        const p = pending.current;
        p.next = value;
        if (p.busy) return;
        p.busy = true;
        while (p.next !== undefined) {
            const asked = p.next;
            p.next = undefined;
            try {
                const got = await send('PUT', path(state.name), { value: asked.toFixed(1) });
                const now = Number(got.value);
                if (now < asked * 0.99) setMost(now);
                setNote(Math.abs(now - asked) > asked * 0.01 ? `The camera took ${time(now)} instead of ${time(asked)}` : '');
                if (p.next === undefined) setState(s => ({ ...s, value: now }));
            } catch (error) { setNote(error.message); await load(); }
        }
        p.busy = false;
    };
    if (!state) return html`<div class="card"><h2>Exposure</h2></div>`;
    if (state.none) return html`<div class="card"><h2>Exposure</h2><p class="hint">The camera has no exposure time.</p></div>`;
    const least = Math.max(1, camera.exposureMin || 1);
    const position = 1000 * Math.log(state.value / least) / Math.log(most / least);
    const wins = state.automatic !== 'Off';
    return html`<div class="card exposure"><h2>Exposure <output>${time(state.value)}</output></h2>
        <input type="range" min="0" max="1000" step="1" value=${position} disabled=${wins || readOnly}
            aria-label="Exposure time" aria-valuetext=${time(state.value)}
            onInput=${e => write(least * (most / least) ** (Number(e.target.value) / 1000))} />
        <div class="ends"><span>${time(least)}</span><span>${time(most)}</span></div>
        ${wins && html`<p class="note clamped">ExposureAuto is ${state.automatic}: the camera decides, the slider has no
            effect. <button disabled=${readOnly} onClick=${async () => {
                await send('PUT', path('ExposureAuto'), { value: 'Off' }).catch(e => setNote(e.message));
                load();
            }}>Set it Off</button></p>`}
        ${note && html`<p class="note clamped" role="status">${note}</p>`}</div>`;
}
const time = us => us >= 1e6 ? (us / 1e6).toPrecision(3) + ' s' : us >= 1e3 ? (us / 1e3).toPrecision(3) + ' ms'
    : us.toPrecision(3) + ' µs';

export function Acquire({ camera, readOnly, tell, trigger }) {
    const set = body => send('POST', `channels/${camera.index}/acquisition`, body).catch(e => tell(e.message));
    const running = camera.state === 'running';
    const manual = camera.trigger === 'manual';
    return html`<div class="card acquire"><div class="bar">
        <button class="primary" disabled=${readOnly} title="Space"
            onClick=${() => set({ state: running ? 'stopped' : 'running' })}>${running ? 'Stop' : 'Start'}</button>
        <select aria-label="Trigger mode" disabled=${readOnly} value=${camera.trigger || 'freerun'}
            onChange=${e => set({ trigger: e.target.value })}>
            <option value="freerun">free running</option><option value="manual">software trigger</option>
            <option value="hardware-auto">hardware trigger, continuous</option>
            <option value="hardware-semi-auto">hardware trigger, one image</option></select>
        ${camera.trigger?.startsWith('hardware') && html`<select aria-label="Edge" disabled=${readOnly} value=${camera.edge}
            onChange=${e => set({ edge: e.target.value })}><option value="rising">rising edge</option>
            <option value="falling">falling edge</option></select>`}
        <button title="S" onClick=${() => saveImage(camera.index, camera.pixelType).then(
            name => tell('Saved ' + name, true), e => tell(e.message))}>Save image</button></div>
        ${manual && html`<div class="bar"><button class="trigger" disabled=${readOnly || !running} title="T"
            onClick=${trigger}>Trigger</button><span class="hint"><b data-counter="triggers">${camera.triggers}</b> triggers,
            <b data-counter="images">${camera.imagesOfTriggers}</b> images</span></div>`}
        ${camera.text && html`<p class="note bad">${camera.text}</p>`}</div>`;
}

export function Banner({ findings, cameras }) {
    const grave = findings.filter(f => f.severity !== 'hint');
    if (grave.length === 0) return null;
    const name = f => cameras.find(c => c.index === f.channel)?.serial;
    return html`<div class="banners" role="alert">${grave.slice(0, 3).map(f => html`
        <div class=${'banner ' + f.severity} data-finding=${f.name}>
            <b>${f.severity === 'fault' ? 'Fault' : 'Warning'}${name(f) ? ' · ' + name(f) : ''}</b>
            <span>${f.sentence} ${f.advice}</span></div>`)}
        ${grave.length > 3 && html`<div class="hint">and ${grave.length - 3} more; see Log</div>`}</div>`;
}

export function Log({ lines, findings, on }) {
    const [search, setSearch] = useState('');
    const [only, setOnly] = useState('all');
    if (!on) return html`<p class="hint">There is no log of this run: it is switched off in the registry
        (EnableLog), or the adapter cannot write it. 'camhost doctor' tells more.</p>`;
    const word = search.toLowerCase();
    const shown = lines.filter(line => (only === 'all' || line.level === 'error' || line.level === 'warning') &&
        (!word || (line.text + line.means).toLowerCase().includes(word))).slice(-400).reverse();
    return html`<div class="log"><div class="bar"><input type="search" placeholder="Search the log" value=${search}
            aria-label="Search the log" onInput=${e => setSearch(e.target.value)} />
        <select aria-label="Lines" value=${only} onChange=${e => setOnly(e.target.value)}>
            <option value="all">all lines</option><option value="bad">warnings and errors</option></select></div>
        ${findings.map(f => html`<div class=${'finding ' + f.severity}><b>${f.sentence}</b> ${f.advice}
            <small> ${f.name}, ${f.count} line${f.count === 1 ? '' : 's'}</small></div>`)}
        <p class="hint">Newest first. Lines that come with every image are counted, not listed.</p>
        <ol>${shown.map(line => html`<li key=${line.number} class=${line.level}><time>${line.time}</time>
            <code>${line.text}</code>${line.means && html`<div class="means">${line.means}
            ${line.advice && html` <b>Do:</b> ${line.advice}`}</div>`}</li>`)}</ol></div>`;
}
