// One camera's picture: draws what comes, zooms about the pointer, tells the values of the camera's pixels.
import { html, useEffect, useRef, useState } from '/preact.mjs';
import { depthOf, PixelTypes, read, send } from '/stream.mjs';

const Closest = 64, Farthest = 1 / 16, GridFrom = 8, ValuesFrom = 28;

// A picture that knows nothing of the page's other parts.
export class Picture {
    constructor(channel) {
        this.channel = channel;
        this.shown = 0; // pictures drawn
        this.source = document.createElement('canvas');
        this.record = null;
        this.fit = true;
        this.scale = 1; // the screen's pixels for one of the camera
        this.centre = [0, 0];
        this.window = [0, 0]; // black and white point; 0: the depth's ends
        this.windowOf = 0; // the depth's greatest value
        this.stream = 0;
        this.values = null;
        this.onView = () => {};
    }

    attach(canvas, small) {
        this.canvas = canvas;
        this.small = small;
        this.observer = new ResizeObserver(() => {
            const ratio = devicePixelRatio || 1;
            canvas.width = Math.max(1, Math.round(canvas.clientWidth * ratio));
            canvas.height = Math.max(1, Math.round(canvas.clientHeight * ratio));
            this.draw();
            this.tell();
        });
        this.observer.observe(canvas);
    }
    detach() {
        this.observer?.disconnect();
        this.canvas = null;
        this.tell();
    }
    use(stream) {
        if (this.stream === stream) return;
        this.stream = stream;
        this.told = '';
        this.tell();
    }

    take(record) {
        const first = !this.record || this.record.fullWidth !== record.fullWidth ||
            this.record.fullHeight !== record.fullHeight;
        this.record = record;
        if (first) this.showAll();
        this.arrived = true;
        if (!this.waiting) this.waiting = requestAnimationFrame(() => {
            this.waiting = 0;
            if (this.arrived) this.unpack();
            this.arrived = false;
            this.draw();
        });
    }
    unpack() {
        const { width, height, payload, rgb } = this.record;
        if (width === 0 || height === 0) return;
        if (this.source.width !== width || this.source.height !== height) {
            this.source.width = width;
            this.source.height = height;
            this.pixels = null;
        }
        const context = this.source.getContext('2d');
        this.pixels ||= context.createImageData(width, height);
        const out = new Uint32Array(this.pixels.data.buffer);
        if (rgb)
            for (let i = 0, k = 0; i < out.length; ++i, k += 3)
                out[i] = 0xff000000 | payload[k + 2] << 16 | payload[k + 1] << 8 | payload[k];
        else
            for (let i = 0; i < out.length; ++i) out[i] = 0xff000000 | payload[i] * 0x10101;
        context.putImageData(this.pixels, 0, 0);
        ++this.shown;
    }

    showAll() {
        this.fit = true;
        this.values = null;
        this.draw();
        this.tell();
    }
    zoomTo(scale, x = this.canvas.width / 2, y = this.canvas.height / 2) {
        const [px, py] = this.toCamera(x, y);
        const before = this.currentScale();
        this.fit = false;
        this.scale = Math.min(Closest, Math.max(Farthest, scale));
        // What is under the pointer stays there.
        const [cx, cy] = this.centre;
        this.centre = [px - (px - cx) * before / this.scale, py - (py - cy) * before / this.scale];
        this.moved();
    }
    pan(dx, dy) {
        this.zoomFromFit();
        this.centre = [this.centre[0] - dx / this.scale, this.centre[1] - dy / this.scale];
        this.moved();
    }
    zoomFromFit() {
        if (!this.fit) return;
        this.scale = this.currentScale();
        this.fit = false;
    }
    moved() {
        const { fullWidth, fullHeight } = this.record || { fullWidth: 1, fullHeight: 1 };
        this.centre = [Math.min(fullWidth, Math.max(0, this.centre[0])),
            Math.min(fullHeight, Math.max(0, this.centre[1]))];
        this.values = null;
        this.draw();
        this.tell();
    }
    currentScale() {
        if (!this.record || !this.canvas) return 1;
        if (!this.fit) return this.scale;
        this.centre = [this.record.fullWidth / 2, this.record.fullHeight / 2];
        return Math.min(this.canvas.width / this.record.fullWidth, this.canvas.height / this.record.fullHeight);
    }
    toCamera(x, y) {
        const scale = this.currentScale();
        return [this.centre[0] + (x - this.canvas.width / 2) / scale,
            this.centre[1] + (y - this.canvas.height / 2) / scale];
    }
    toScreen(x, y) {
        const scale = this.currentScale();
        return [(x - this.centre[0]) * scale + this.canvas.width / 2,
            (y - this.centre[1]) * scale + this.canvas.height / 2];
    }
    visible() {
        const { fullWidth, fullHeight } = this.record;
        const [x0, y0] = this.toCamera(0, 0), [x1, y1] = this.toCamera(this.canvas.width, this.canvas.height);
        const x = Math.max(0, Math.floor(x0)), y = Math.max(0, Math.floor(y0));
        return { x, y, width: Math.max(1, Math.min(fullWidth, Math.ceil(x1)) - x),
            height: Math.max(1, Math.min(fullHeight, Math.ceil(y1)) - y) };
    }

    // Asks the server for what can be seen and no more.
    tell() {
        if (!this.stream) return;
        let view = { stream: this.stream, shown: !!this.canvas, black: this.window[0], white: this.window[1] };
        if (this.canvas) {
            const part = this.record && !this.fit ? this.visible() : {};
            const scale = Math.min(1, this.currentScale());
            const area = this.record
                ? (part.width || this.record.fullWidth) * (part.height || this.record.fullHeight) * scale * scale
                : this.canvas.width * this.canvas.height;
            view = { ...view, ...part, maxPixels: Math.ceil(area * 1.02) + 64, maxRate: this.small ? 15 : 60 };
        }
        const text = JSON.stringify(view);
        if (text === this.told) return;
        this.told = text;
        clearTimeout(this.telling);
        this.telling = setTimeout(() => send('POST', `channels/${this.channel}/view`, view).catch(() => {
            this.told = '';
        }), this.record ? 60 : 0);
        this.onView();
    }

    draw() {
        if (!this.canvas || !this.record) return;
        const context = this.canvas.getContext('2d');
        const { x, y, width, height, reduction } = this.record;
        const scale = this.currentScale();
        context.clearRect(0, 0, this.canvas.width, this.canvas.height);
        context.imageSmoothingEnabled = scale < 1;
        const [left, top] = this.toScreen(x, y);
        context.drawImage(this.source, left, top, width * reduction * scale, height * reduction * scale);
        if (scale >= GridFrom) this.drawGrid(context, scale);
        if (scale >= ValuesFrom) this.drawValues(context, scale);
    }
    drawGrid(context, scale) {
        const part = this.visible();
        context.strokeStyle = 'rgba(128, 128, 128, 0.45)';
        context.lineWidth = 1;
        context.beginPath();
        for (let x = part.x; x <= part.x + part.width; ++x) {
            const at = Math.round(this.toScreen(x, 0)[0]) + 0.5;
            context.moveTo(at, 0);
            context.lineTo(at, this.canvas.height);
        }
        for (let y = part.y; y <= part.y + part.height; ++y) {
            const at = Math.round(this.toScreen(0, y)[1]) + 0.5;
            context.moveTo(0, at);
            context.lineTo(this.canvas.width, at);
        }
        context.stroke();
    }
    drawValues(context, scale) {
        const part = this.visible();
        if (part.width > 64 || part.height > 64) return;
        const now = performance.now();
        if (!this.reading && (!this.values || now - this.read > 300)) {
            this.reading = true;
            this.read = now;
            read(`channels/${this.channel}/pixels?x=${part.x}&y=${part.y}&w=${part.width}&h=${part.height}`)
                .then(values => { this.values = values; this.draw(); }, () => {})
                .finally(() => { this.reading = false; });
        }
        if (!this.values) return;
        const { x, y, width, channels, depth, values } = this.values;
        context.textAlign = 'center';
        context.textBaseline = 'middle';
        for (let i = 0; i < values.length / channels; ++i) {
            const sample = values.slice(i * channels, (i + 1) * channels);
            const light = sample.reduce((sum, value) => sum + value, 0) / channels / 2 ** depth;
            const [sx, sy] = this.toScreen(x + i % width + 0.5, y + Math.floor(i / width) + 0.5);
            context.fillStyle = light > 0.5 ? '#000' : '#fff';
            const size = Math.min(scale / (channels === 3 ? 4 : 3.2), 15 * (devicePixelRatio || 1));
            context.font = `${size}px ui-monospace, monospace`;
            sample.forEach((value, k) => context.fillText(value, sx, sy + (k - (channels - 1) / 2) * size * 1.1));
        }
    }
}

// The value under the pointer, always of the camera's last image in its own depth.
function useReadout(picture) {
    const [text, setText] = useState('');
    const state = useRef({ busy: false, at: null });
    const look = async () => {
        const s = state.current;
        if (s.busy || !s.at) return;
        s.busy = true;
        const [x, y] = s.at;
        s.at = null;
        try {
            const { values } = await read(`channels/${picture.channel}/pixels?x=${x}&y=${y}&w=1&h=1`);
            setText(`x ${x}  y ${y}: ${values.join(' ')}`);
        } catch { setText(''); }
        s.busy = false;
        setTimeout(look, 30);
    };
    return [text, (x, y) => {
        const r = picture.record;
        if (!r || x < 0 || y < 0 || x >= r.fullWidth || y >= r.fullHeight) return setText('');
        state.current.at = [Math.floor(x), Math.floor(y)];
        look();
    }];
}

export function PictureView({ picture, camera, small, selected, onSelect }) {
    const canvas = useRef();
    const drag = useRef(null);
    const [text, point] = useReadout(picture);
    const [scale, setScale] = useState(0);
    useEffect(() => {
        const own = canvas.current;
        picture.attach(own, small);
        picture.onView = () => setScale(picture.currentScale());
        const wheel = event => {
            if (small) return;
            event.preventDefault();
            const [x, y] = place(event);
            picture.zoomTo(picture.currentScale() * 1.2 ** (-event.deltaY / 100), x, y);
        };
        own.addEventListener('wheel', wheel, { passive: false });
        return () => { own.removeEventListener('wheel', wheel); picture.detach(); };
    }, [picture, small]);
    const place = event => {
        const box = canvas.current.getBoundingClientRect(), ratio = canvas.current.width / box.width;
        return [(event.clientX - box.left) * ratio, (event.clientY - box.top) * ratio];
    };
    const move = event => {
        if (small || !picture.record) return;
        const [x, y] = place(event);
        if (drag.current) {
            picture.pan(x - drag.current[0], y - drag.current[1]);
            drag.current = [x, y];
        }
        point(...picture.toCamera(x, y));
    };
    const down = event => {
        if (small) return;
        drag.current = place(event);
        event.currentTarget.setPointerCapture(event.pointerId);
    };
    const title = camera.label.replace(/^[^:]*: /, '');
    return html`<figure class=${'picture' + (small ? ' small' : ' large') + (selected ? ' selected' : '')}
            data-channel=${camera.index}>
        <canvas ref=${canvas} role="img" tabindex=${small ? 0 : -1}
            aria-label=${`Live picture of ${title} ${camera.serial}`}
            onClick=${() => small && onSelect()} onKeyDown=${e => small && e.key === 'Enter' && onSelect()}
            onPointerMove=${move} onPointerDown=${down} onPointerUp=${() => { drag.current = null; }}
            onDblClick=${() => !small && picture.showAll()}></canvas>
        ${camera.state !== 'running' && html`<div class=${'veil ' + camera.state}>${camera.state}</div>`}
        <figcaption><span class=${'dot ' + camera.state}></span><b>${title}</b> <span>${camera.serial}</span>
            <span class="right">${small ? `${camera.rate.toFixed(1)}/s`
                : html`<span class="readout">${text}</span> ${camera.width} × ${camera.height}
                    ${' ' + (PixelTypes[camera.pixelType] || '')}
                    ${' ' + (scale >= 1 ? scale.toFixed(scale < 10 ? 1 : 0) + ' ×' : Math.round(scale * 100) + ' %')}`}
            </span></figcaption>
    </figure>`;
}

// The greatest value that the camera's depth has.
export const greatest = camera => 2 ** depthOf(camera.pixelType) - 1;
