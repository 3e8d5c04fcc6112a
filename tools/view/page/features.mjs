// The features of one camera in their categories. A value is read when its category is opened, one at a time:
// every read is a call of the camera between two images.
import { html, useEffect, useMemo, useState } from '/preact.mjs';
import { featuresOf, read, send } from '/stream.mjs';

const Levels = ['Beginner', 'Expert', 'Guru'];
const remembered = key => JSON.parse(localStorage.getItem(key) || '[]');

// Requests of a channel go one after the other.
const queues = new Map();
function inTurn(channel, work) {
    const next = (queues.get(channel) || Promise.resolve()).catch(() => {}).then(work);
    queues.set(channel, next);
    return next;
}

function Editor({ feature, state, onWrite, onRun, readOnly }) {
    const [draft, setDraft] = useState(null);
    useEffect(() => setDraft(null), [state.value]);
    const locked = readOnly || !state.writable;
    const why = readOnly ? 'camhost was started with --read-only'
        : state.writable ? '' : 'Cannot be written now; some features can when the camera is stopped';
    if (feature.type === 'command')
        return html`<button class="run" disabled=${locked} title=${why} onClick=${onRun}>Run</button>`;
    if (!state.readable && !state.writable) return html`<span class="muted">not available now</span>`;
    if (feature.type === 'bool')
        return html`<label class="switch" title=${why}><input type="checkbox" role="switch" aria-label=${feature.name}
            checked=${state.value === 'True'} disabled=${locked}
            onChange=${e => onWrite(e.target.checked ? 'True' : 'False')} /><i></i></label>`;
    if (feature.type === 'enum')
        return html`<select disabled=${locked} title=${why} aria-label=${feature.name}
            onChange=${e => onWrite(e.target.value)}>
            ${!(state.entries || []).includes(state.value) && html`<option value=${state.value} selected>${state.value}</option>`}
            ${(state.entries || []).map(entry => html`<option value=${entry} selected=${entry === state.value}>${entry}</option>`)}</select>`;
    const shown = feature.type === 'float' && state.value !== null ? String(Number(state.value)) : state.value;
    return html`<input class="value" disabled=${locked} title=${why} aria-label=${feature.name}
        inputmode=${feature.type === 'string' ? 'text' : 'decimal'} value=${draft ?? shown ?? ''}
        onInput=${e => setDraft(e.target.value)}
        onKeyDown=${e => {
            if (e.key === 'Enter') onWrite(e.target.value);
            else if (e.key === 'Escape') setDraft(null);
            else if (feature.type === 'int' && (e.key === 'ArrowUp' || e.key === 'ArrowDown')) {
                e.preventDefault();
                onWrite(String(Number(e.target.value) + (e.key === 'ArrowUp' ? 1 : -1)));
            }
        }}
        onBlur=${e => draft !== null && draft !== shown && onWrite(e.target.value)} />`;
}

function Row({ channel, feature, round, readOnly, starred, onStar }) {
    const [state, setState] = useState(null);
    const [note, setNote] = useState({});
    const [first, setFirst] = useState(undefined);
    useEffect(() => {
        let wanted = true;
        inTurn(channel, () => wanted && read(`channels/${channel}/features/${feature.name}`))
            .then(value => {
                if (!wanted || !value) return;
                setState(value);
                setFirst(before => before === undefined ? value.value : before);
            }, error => wanted && setNote({ bad: error.message }));
        return () => { wanted = false; };
    }, [channel, feature.name, round]);
    const act = (method, path, body, done) => {
        setNote({ busy: 'working ...' });
        inTurn(channel, () => send(method, path, body)).then(value => {
            if (value.name) setState(value);
            setNote(value.clamped ? { clamped: value.note } : { good: done });
        }, error => {
            setNote({ bad: error.message });
            setState(now => now && { ...now });
        });
    };
    const changed = state && first !== undefined && state.value !== first;
    const tone = Object.keys(note)[0];
    return html`<div class=${'row' + (changed ? ' changed' : '')} data-feature=${feature.name}>
        <button class="star" aria-pressed=${starred} aria-label=${'Favourite ' + feature.name}
            onClick=${onStar}>${starred ? '★' : '☆'}</button>
        <div class="name" title=${feature.description}>${feature.name}
            ${changed && html`<small title=${'When the page was opened: ' + first}> changed</small>`}</div>
        <div class="edit">${state ? html`<${Editor} feature=${feature} state=${state} readOnly=${readOnly}
            onWrite=${value => act('PUT', `channels/${channel}/features/${feature.name}`, { value }, 'set')}
            onRun=${() => act('POST', `channels/${channel}/commands/${feature.name}`, {}, 'done')} />`
            : html`<span class="muted">${note.bad ? '' : '...'}</span>`}<span class="unit">${feature.unit}</span></div>
        ${tone && html`<div class=${'note ' + tone} role="status">${note[tone]}</div>`}
    </div>`;
}

export function Features({ channel, readOnly }) {
    const [features, setFeatures] = useState(null);
    const [failed, setFailed] = useState('');
    const [search, setSearch] = useState('');
    const [level, setLevel] = useState(0);
    const [round, setRound] = useState(0);
    const [open, setOpen] = useState(() => new Set());
    const [stars, setStars] = useState(() => new Set(remembered('favourites')));
    useEffect(() => {
        setFeatures(null);
        setFailed('');
        featuresOf(channel).then(setFeatures, e => setFailed(e.message));
    }, [channel]);
    const groups = useMemo(() => {
        const word = search.trim().toLowerCase();
        const fits = f => word ? (f.name + ' ' + f.description).toLowerCase().includes(word)
            : Levels.indexOf(f.visibility) <= level;
        const map = new Map();
        for (const f of (features || []).filter(fits)) {
            if (stars.has(f.name) && !word) map.set('Favourites', [...(map.get('Favourites') || []), f]);
            map.set(f.category, [...(map.get(f.category) || []), f]);
        }
        const rank = name => name === 'Favourites' ? '' : name === 'Other' ? '~' : name;
        return [...map].sort((a, b) => rank(a[0]) < rank(b[0]) ? -1 : 1);
    }, [features, search, level, stars]);
    if (failed) return html`<p class="note bad">${failed}</p>`;
    if (!features) return html`<p class="hint">Reading the camera's list of features ...</p>`;
    const star = name => {
        const now = new Set(stars);
        if (!now.delete(name)) now.add(name);
        localStorage.setItem('favourites', JSON.stringify([...now]));
        setStars(now);
    };
    const toggle = name => {
        const now = new Set(open);
        if (!now.delete(name)) now.add(name);
        setOpen(now);
    };
    const isOpen = name => open.has(name) || name === 'Favourites' || search.trim().length > 1;
    return html`<div class="features">
        <div class="bar"><input type="search" placeholder="Search features" aria-label="Search features"
                value=${search} onInput=${e => setSearch(e.target.value)} />
            <select aria-label="Level" value=${level} onChange=${e => setLevel(Number(e.target.value))}>
                ${Levels.map((name, i) => html`<option value=${i}>${name}</option>`)}</select>
            <button title="Read the shown values again" onClick=${() => setRound(round + 1)}>Read again</button></div>
        ${groups.map(([name, list]) => html`<section key=${name}>
            <button class="category" aria-expanded=${isOpen(name)} onClick=${() => toggle(name)}>
                <span class="arrow"></span>${name}<span class="count">${list.length}</span></button>
            ${isOpen(name) && list.map(f => html`<${Row} key=${channel + f.name} channel=${channel} feature=${f}
                round=${round} readOnly=${readOnly} starred=${stars.has(f.name)} onStar=${() => star(f.name)} />`)}
        </section>`)}
        ${groups.length === 0 && html`<p class="hint">No feature has this in its name or description.</p>`}
    </div>`;
}
