// The way to the server: single requests, and the stream of pictures, counters and log lines.

const found = /token=([0-9a-f]{32})/.exec(location.hash);
if (found) {
    sessionStorage.setItem('token', found[1]);
    history.replaceState(null, '', location.pathname);
}

const authorization = () => ({ Authorization: 'Bearer ' + (sessionStorage.getItem('token') || '') });

export const PixelTypes = {
    0: 'Mono8', 2: 'RGB', 9: 'Mono16', 12: 'Mono10', 13: 'Mono12', 16: 'Mono14', 18: 'Mono12Packed',
};
export const depthOf = type => ({ 9: 16, 12: 10, 13: 12, 16: 14, 18: 12 })[type] || 8;

// Throws an Error with the server's own text.
export async function request(path, method = 'GET', body = undefined) {
    const answer = await fetch('/api/v1/' + path, {
        method, headers: authorization(), body: body === undefined ? undefined : JSON.stringify(body),
    });
    if (!answer.ok) {
        const text = await answer.text();
        let why = text;
        try { why = JSON.parse(text).error; } catch { /* not ours */ }
        throw new Error(why || `The server answered ${answer.status}`);
    }
    return answer;
}
export const read = async path => (await request(path)).json();
export const send = async (method, path, body = {}) => (await request(path, method, body)).json();

// A channel's list of features, which does not change.
const lists = new Map();
export function featuresOf(channel) {
    if (!lists.has(channel))
        lists.set(channel, read(`channels/${channel}/features`).catch(error => { lists.delete(channel); throw error; }));
    return lists.get(channel);
}

export async function saveImage(channel, pixelType) {
    const kind = depthOf(pixelType) === 8 ? 'png' : 'pgm';
    const answer = await request(`channels/${channel}/image.${kind}`);
    const name = /filename="([^"]+)"/.exec(answer.headers.get('Content-Disposition'))?.[1] || `image.${kind}`;
    const link = document.createElement('a');
    link.href = URL.createObjectURL(await answer.blob());
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 10000);
    return name;
}

const HeadBytes = 64;

// Cuts the stream into records, however the network cut it. A record may take its time on a slow network, so each
// piece of one counts as a sign of life.
async function readRecords(reader, onRecord, alive) {
    let chunk = new Uint8Array(0);
    let at = 0;
    async function take(count) {
        const out = new Uint8Array(count);
        for (let filled = 0; filled < count;) {
            if (at === chunk.length) {
                const next = await reader.read();
                if (next.done) throw new Error('The server ended the connection');
                alive();
                chunk = next.value;
                at = 0;
            }
            const part = Math.min(count - filled, chunk.length - at);
            out.set(chunk.subarray(at, at + part), filled);
            filled += part;
            at += part;
        }
        return out;
    }
    for (;;) {
        const head = new DataView((await take(HeadBytes)).buffer);
        if (head.getUint32(0, true) !== 0x3146564d) throw new Error('The stream is out of step');
        const u32 = offset => head.getUint32(offset, true);
        const payload = await take(u32(4));
        onRecord({
            kind: head.getUint8(8), rgb: head.getUint8(9) === 1, channel: head.getUint16(10, true),
            fullWidth: u32(12), fullHeight: u32(16), x: u32(20), y: u32(24), width: u32(28), height: u32(32),
            reduction: u32(36), pixelType: u32(40), sequence: Number(head.getBigUint64(48, true)), payload,
        });
    }
}

// Goes on for ever; connects anew when the connection was lost or nothing came for three seconds.
export async function follow(handlers) {
    const text = payload => JSON.parse(new TextDecoder().decode(payload));
    for (;;) {
        const abort = new AbortController();
        let watch = 0;
        const alive = () => {
            clearTimeout(watch);
            watch = setTimeout(() => abort.abort(), 3000);
        };
        try {
            alive();
            const answer = await fetch('/api/v1/stream', { headers: authorization(), signal: abort.signal });
            if (!answer.ok) throw new Error((await answer.json()).error);
            await readRecords(answer.body.getReader(), record => {
                if (record.kind === 1) handlers.image(record);
                else if (record.kind === 2) handlers.status(text(record.payload));
                else if (record.kind === 3) handlers.log(text(record.payload));
            }, alive);
        } catch (error) {
            handlers.lost(error.name === 'AbortError' ? 'camhost does not answer' : error.message);
        }
        clearTimeout(watch);
        await new Promise(done => setTimeout(done, 1000));
    }
}
