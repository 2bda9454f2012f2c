
// ---- Saving the picture and tables ---------------------------------------------------------

const svgNames = 'http://www.w3.org/2000/svg';

/** What the picture needs of a canvas's pen, making the elements of an SVG instead. */
class SvgPen {
    constructor({left, top, width, height}) {
        this.root = this.element('svg', {viewBox: [left, top, width, height].join(' '), width, height});
        this.globalAlpha = 1;
    }

    element(tag, attributes) {
        const made = document.createElementNS(svgNames, tag);
        for (const [name, value] of Object.entries(attributes))
            made.setAttribute(name, this.grey && (name === 'fill' || name === 'stroke') && value !== 'none' ? greyOf(value) : value);
        return made;
    }

    add(tag, attributes) {
        const made = this.element(tag, attributes);
        if (this.globalAlpha < 1) made.setAttribute('opacity', this.globalAlpha);
        this.root.append(made);
        return made;
    }

    beginPath() { this.path = []; }
    to(command, ...numbers) {
        this.path.push(command + numbers.map((n) => Math.round(n * 10) / 10).join(' '));
    }
    moveTo(x, y) { this.to('M', x, y); }
    lineTo(x, y) { this.to(this.path.length > 0 ? 'L' : 'M', x, y); }
    bezierCurveTo(...points) { this.to('C', ...points); }
    closePath() { this.to('Z'); }
    rect(x, y, w, h) { this.to('M', x, y); this.to('h', w); this.to('v', h); this.to('h', -w); this.to('Z'); }
    ellipse(x, y, w, h) {
        this.to('M', x - w, y);
        this.to('a', w, h, 0, 0, 1, 2 * w, 0);
        this.to('a', w, h, 0, 0, 1, -2 * w, 0);
        this.to('Z');
    }
    arc(x, y, r) { this.ellipse(x, y, r, r); }
    fill() { if (this.path.length > 0) this.add('path', {d: this.path.join(''), fill: this.fillStyle}); }
    stroke() {
        if (this.path.length > 0)
            this.add('path', {d: this.path.join(''), fill: 'none', stroke: this.strokeStyle, 'stroke-width': this.lineWidth});
    }
    fillRect(x, y, width, height) { this.add('rect', {x, y, width, height, fill: this.fillStyle}); }
    fillText(text, x, y, width) {
        const [, italic, bold, size, families] = this.font.match(/^(italic )?(bold )?([\d.]+)px (.*)$/);
        const anchor = {left: 'start', center: 'middle', right: 'end'}[this.textAlign];
        const made = this.add('text', {
            x, y, fill: this.fillStyle, 'text-anchor': anchor, 'font-family': families, 'font-size': size,
            'font-weight': bold ? 'bold' : 'normal', 'font-style': italic ? 'italic' : 'normal',
        });
        made.textContent = text;
        if (text.length * size * 0.62 > width) Object.entries({textLength: width, lengthAdjust: 'spacingAndGlyphs'})
            .forEach(([name, value]) => { if (canvasWidth(text, this.font) > width) made.setAttribute(name, value); });
    }
}

function canvasWidth(text, font) {
    const own = canvas.getContext('2d');
    own.font = font;
    return own.measureText(text).width;
}

/** Draws the whole net with another pen, on paper: in light colours. */
function drawOnPaper(otherPen) {
    const own = pen, theme = document.documentElement.dataset.theme;
    document.documentElement.dataset.theme = 'light';
    document.documentElement.dataset.paper = '';
    readColors();
    pen = otherPen;
    pen.fillStyle = colors.canvas;
    pen.fillRect(frame.left, frame.top, frame.width, frame.height);
    drawNet({left: -Infinity, top: -Infinity, right: Infinity, bottom: Infinity, zoom: 1.5});
    pen = own;
    delete document.documentElement.dataset.paper;
    if (theme) document.documentElement.dataset.theme = theme;
    else delete document.documentElement.dataset.theme;
    readColors();
}

function svgPicture() {
    const made = new SvgPen(frame);
    drawOnPaper(made);
    made.root.setAttribute('role', 'img');
    made.root.setAttribute('aria-label', byId('title').textContent);
    return made.root;
}

/** The picture at twice its size, or as large as a canvas may be. */
function paintedPicture() {
    const made = document.createElement('canvas');
    const zoom = Math.min(2, 8192 / frame.width, 8192 / frame.height);
    made.width = Math.ceil(frame.width * zoom);
    made.height = Math.ceil(frame.height * zoom);
    const other = made.getContext('2d');
    other.setTransform(zoom, 0, 0, zoom, -frame.left * zoom, -frame.top * zoom);
    drawOnPaper(other);
    return made;
}

const baseName = () => (isNamed(data.net?.name) ? data.net.name : data.file.replace(/\.[^.]*$/, '')).replace(/[^\w.-]+/g, '_');

function download(blob, name) {
    const address = URL.createObjectURL(blob);
    el('a', {href: address, download: name}).click();
    setTimeout(() => URL.revokeObjectURL(address), 10000);
    say(`${name} saved`);
}

function saveSvg() {
    download(new Blob([new XMLSerializer().serializeToString(svgPicture())], {type: 'image/svg+xml'}), `${baseName()}.svg`);
}

// ---- A picture for print: so wide, with letters of that size, in grey -----------------------

const points = 25.4 / 72;  // millimetres
const printed = {width: 170, letters: 8, grey: false};

/** The picture as SVG of that width in millimetres; letters are as large as wanted where it is not too wide for that. */
function printSvg({width, letters, grey}) {
    const wanted = width / (letters * points) * picture.font.size;  // of the frame, in the picture's own pixels
    const shownWidth = Math.max(wanted, frame.width), left = frame.left - (shownWidth - frame.width) / 2;
    const made = new SvgPen({left, top: frame.top, width: shownWidth, height: frame.height});
    made.grey = grey;
    drawOnPaper(made);
    made.root.setAttribute('width', `${width}mm`);
    made.root.setAttribute('height', `${Number((width * frame.height / shownWidth).toFixed(2))}mm`);
    return {root: made.root, letters: picture.font.size * width / shownWidth / points};
}

function printForm() {
    const number = (key, label, least, most) => el('label', {}, `${label} `, el('input', {
        type: 'number', min: least, max: most, step: 'any', value: printed[key], 'aria-label': label,
        onchange: ({target}) => { printed[key] = Math.min(most, Math.max(least, Number(target.value) || printed[key])); target.value = printed[key]; tell(); },
    }));
    const found = el('p', {class: 'faint', role: 'status'});
    const tell = () => {
        const fit = frame.width / picture.font.size * printed.letters * points;
        found.textContent = fit > printed.width
            ? `Too wide for letters of ${printed.letters} pt: they will have ${(printed.letters * printed.width / fit).toFixed(1)} pt. A part, or folded groups, have more room.` : '';
    };
    const grey = el('input', {type: 'checkbox', onchange: ({target}) => { printed.grey = target.checked; }});
    grey.checked = printed.grey;
    const save = () => download(new Blob([new XMLSerializer().serializeToString(printSvg(printed).root)], {type: 'image/svg+xml'}), `${baseName()}-${printed.width}mm.svg`);
    tell();
    return el('div', {}, el('h3', {text: 'For print'}), el('div', {class: 'choices form'}, number('width', 'Width in mm', 20, 1000), number('letters', 'Letters in pt', 3, 30),
        el('label', {}, grey, ' grey'), button('Save SVG', save)), found);
}

/** The colour as grey that is as light. */
function greyOf(color) {
    const [r, g, b] = /^#/.test(color) ? [1, 3, 5].map((at) => parseInt(color.slice(at, at + 2), 16)) : color.match(/[\d.]+/g).map(Number);
    const light = Math.round(0.2126 * r + 0.7152 * g + 0.0722 * b);
    return `rgb(${light}, ${light}, ${light})`;
}

function savePng() {
    paintedPicture().toBlob((blob) => download(blob, `${baseName()}.png`), 'image/png');
}

byId('save-svg').addEventListener('click', saveSvg);
byId('save-png').addEventListener('click', savePng);
