// The page: a wall of all pictures, or one of them large, with what belongs to it beside.
import { html, render, useEffect, useRef, useState } from '/preact.mjs';
import { follow, saveImage, send } from '/stream.mjs';
import { Picture, PictureView } from '/picture.mjs';
import { Features } from '/features.mjs';
import { Acquire, Banner, Counters, Exposure, Histogram, Log, Rates, Window } from '/panels.mjs';

const pictures = new Map();
const pictureOf = channel => {
    if (!pictures.has(channel)) pictures.set(channel, new Picture(channel));
    return pictures.get(channel);
};
const Kept = 120, MostLines = 2000;

// What the stream tells, as the page shows it.
function useStream() {
    const [status, setStatus] = useState(null);
    const [log, setLog] = useState({ lines: [], findings: [] });
    const [lost, setLost] = useState('');
    const history = useRef(new Map());
    useEffect(() => {
        follow({
            image: record => pictureOf(record.channel).take(record),
            status: next => {
                setLost('');
                for (const camera of next.channels) {
                    const picture = pictureOf(camera.index);
                    picture.use(next.stream);
                    const gone = camera.lost + (camera.incomplete || 0);
                    const known = history.current.get(camera.index) || { points: [], gone, shown: 0, at: 0, rate: 0 };
                    const now = performance.now(), seconds = (now - known.at) / 1000;
                    const points = [...known.points, { rate: camera.rate, gone: Math.max(0, gone - known.gone) * 2 }];
                    history.current.set(camera.index, {
                        points: points.slice(-Kept), gone, shown: picture.shown, at: now,
                        rate: known.rate * 0.6 + 0.4 * (picture.shown - known.shown) / seconds,
                    });
                }
                setStatus(next);
            },
            log: next => setLog(before => ({
                // A new connection begins with lines that are known; another server counts from 1 anew.
                lines: before.lines.filter(line => !(line.number >= next.lines[0]?.number))
                    .concat(next.lines).slice(-MostLines),
                findings: next.findings,
            })),
            lost: setLost,
        });
    }, []);
    return { status, log, lost, history: history.current };
}

const Tabs = [['camera', 'Camera'], ['features', 'Features'], ['log', 'Log']];
const Keys = [['1 … 9', 'a camera large'], ['Esc', 'all cameras'], ['F', 'whole picture'], ['O', 'one to one'],
    ['+  −', 'zoom'], ['arrows', 'pan'], ['T', 'trigger'], ['S', 'save the image'], ['Space', 'start or stop']];

function App() {
    const { status, log, lost, history } = useStream();
    const [chosen, setChosen] = useState(null);
    const [tab, setTab] = useState('camera');
    const [toast, setToast] = useState(null);
    const [help, setHelp] = useState(false);
    const tell = (text, good) => {
        setToast({ text, good });
        clearTimeout(tell.timer);
        tell.timer = setTimeout(() => setToast(null), 6000);
    };
    const cameras = status?.channels || [];
    const camera = cameras.find(c => c.index === chosen) || (cameras.length === 1 ? cameras[0] : null);
    const trigger = () => send('POST', `channels/${camera.index}/trigger`).catch(e => tell(e.message));
    const state = useRef();
    state.current = { camera, cameras, trigger, status };
    useEffect(() => {
        const key = event => {
            const { camera: own, cameras: all, trigger: pull } = state.current;
            const typing = event.target.closest('input, select, textarea');
            if (typing || event.ctrlKey || event.metaKey || event.altKey) return;
            if (event.key === '?') return setHelp(h => !h);
            if (event.key === 'Escape') { setHelp(false); return setChosen(null); }
            if (/^[1-9]$/.test(event.key) && all[event.key - 1]) return setChosen(all[event.key - 1].index);
            if (!own) return;
            const picture = pictureOf(own.index);
            const set = body => send('POST', `channels/${own.index}/acquisition`, body).catch(e => tell(e.message));
            const actions = {
                f: () => picture.showAll(), o: () => picture.zoomTo(1), '+': () => picture.zoomTo(picture.currentScale() * 2),
                '-': () => picture.zoomTo(picture.currentScale() / 2), t: pull,
                s: () => saveImage(own.index, own.pixelType).then(n => tell('Saved ' + n, true), e => tell(e.message)),
                ' ': () => set({ state: own.state === 'running' ? 'stopped' : 'running' }),
                ArrowLeft: () => picture.pan(40, 0), ArrowRight: () => picture.pan(-40, 0),
                ArrowUp: () => picture.pan(0, 40), ArrowDown: () => picture.pan(0, -40),
            };
            const action = actions[event.key.length === 1 ? event.key.toLowerCase() : event.key];
            if (!action || (event.key === ' ' && event.target.closest('button'))) return;
            event.preventDefault();
            action();
        };
        addEventListener('keydown', key);
        return () => removeEventListener('keydown', key);
    }, []);
    if (!status) return html`<p class=${'hint middle' + (lost ? ' bad' : '')}>${lost || 'Connecting to camhost ...'}</p>`;
    const own = camera ? history.get(camera.index) : null;
    return html`<header>
            <a class="home" href="#" onClick=${e => { e.preventDefault(); setChosen(null); }}><img src="/icon.svg" alt="" />
                camhost view</a>
            <span class="hint wide">${cameras.filter(c => c.state === 'running').length} of ${cameras.length}
                ${cameras.length === 1 ? ' camera runs' : ' cameras run'}${status.readOnly ? ', read only' : ''}</span>
            <nav>${camera && cameras.length > 1 && html`<button onClick=${() => setChosen(null)}>All cameras</button>`}
                <button onClick=${() => setHelp(!help)} aria-label="Keys" title="Keys">?</button></nav></header>
        ${lost && html`<div class="banner fault" role="alert"><b>No connection</b><span>${lost}; trying again</span></div>`}
        <${Banner} findings=${log.findings} cameras=${cameras} />
        <main class=${camera ? 'one' : 'wall'}>
            <div class="stage">${camera
                ? html`<${PictureView} key=${'large' + camera.index} picture=${pictureOf(camera.index)} camera=${camera} />
                    <div class="bar tools"><button onClick=${() => pictureOf(camera.index).showAll()} title="F">Fit</button>
                        <button onClick=${() => pictureOf(camera.index).zoomTo(1)} title="O">1:1</button>
                        <button aria-label="Zoom in" onClick=${() => pictureOf(camera.index).zoomTo(pictureOf(camera.index).currentScale() * 2)}>+</button>
                        <button aria-label="Zoom out" onClick=${() => pictureOf(camera.index).zoomTo(pictureOf(camera.index).currentScale() / 2)}>−</button>
                        <span class="hint wide">wheel zooms, drag pans, double click fits; values from ${' '}28 ×</span></div>
                    ${cameras.length > 1 && html`<div class="strip">${cameras.filter(c => c !== camera).map(c => html`
                        <${PictureView} key=${'small' + c.index} picture=${pictureOf(c.index)} camera=${c} small
                            onSelect=${() => setChosen(c.index)} />`)}</div>`}`
                : cameras.map(c => html`<${PictureView} key=${'wall' + c.index} picture=${pictureOf(c.index)} camera=${c}
                    small onSelect=${() => setChosen(c.index)} />`)}</div>
            <aside>${camera ? html`
                <div class="tabs" role="tablist">${Tabs.map(([id, name]) => html`<button role="tab" id=${'tab-' + id}
                    aria-selected=${tab === id} onClick=${() => setTab(id)}>${name}</button>`)}</div>
                ${tab === 'camera' && html`<div class="cards" key=${camera.index}>
                    <${Acquire} camera=${camera} readOnly=${status.readOnly} tell=${tell} trigger=${trigger} />
                    <${Counters} camera=${camera} shown=${own} />
                    <${Exposure} camera=${camera} readOnly=${status.readOnly} />
                    <${Histogram} camera=${camera} picture=${pictureOf(camera.index)} />
                    <${Window} camera=${camera} picture=${pictureOf(camera.index)} />
                    <${Rates} history=${own.points} /></div>`}
                ${tab === 'features' && html`<${Features} key=${camera.index} channel=${camera.index}
                    readOnly=${status.readOnly} />`}
                ${tab === 'log' && html`<${Log} ...${log} on=${status.log} />`}`
                : html`<div class="cards"><div class="card"><h2>Images</h2><table class="sums">
                    <thead><tr><th>camera</th><th>fetched</th><th>/s</th><th>lost</th><th>incomplete</th></tr></thead>
                    <tbody>${cameras.map(c => html`<tr onClick=${() => setChosen(c.index)}><td>${c.serial}</td>
                        <td>${c.fetched.toLocaleString('en')}</td><td>${c.rate.toFixed(1)}</td>
                        <td class=${c.lost ? 'red' : ''}>${c.lost}</td>
                        <td class=${c.incomplete ? 'red' : ''}>${c.incomplete ?? '–'}</td></tr>`)}</tbody></table>
                    <p class="hint">Choose a picture for its controls, features and histogram.</p></div>
                    <div class="card"><h2>Log</h2><${Log} ...${log} on=${status.log} /></div></div>`}</aside>
        </main>
        ${help && html`<div class="keys card" role="dialog" aria-label="Keys"><h2>Keys</h2><dl>${Keys.map(([k, what]) => html`
            <dt><kbd>${k}</kbd></dt><dd>${what}</dd>`)}</dl></div>`}
        ${toast && html`<div class=${'toast ' + (toast.good ? 'good' : 'bad')} role="status">${toast.text}</div>`}`;
}

const place = document.getElementById('app');
place.textContent = '';
render(html`<${App} />`, place);
