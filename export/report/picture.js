
// ---- The picture ---------------------------------------------------------------------------
// Drawn on a canvas, so that the page stays small with any number of nodes.

const canvas = byId('canvas');
const picture = data.picture;
const readable = 8;  // pixels of the letters on the screen
const statesInPicture = 6;
const barHeight = 13;
const beliefLetters = 10;
const smallTitle = 9.5, smallBar = 8.5;  // pixels from afar
const beliefHalfWidth = 62;
let pen = canvas.getContext('2d');
let boxes = nodes.map((node) => node.at);  // by node: middle, half its width and height, as drawn
let frame = picture;  // left, top, width and height of what is shown
let switched = false;  // the other layout is shown
let drawing = false;
let colors = {};
let forced = false;  // the system allows its own colours alone
const fillOf = (node) => (forced ? colors.canvas : node.fill);
const inkOf = (node) => (forced ? colors.text : node.ink);

function readColors() {
    const probe = byId('probe'), style = getComputedStyle(probe);  // the system's own colours become numbers there
    for (const name of ['canvas', 'text', 'link', 'outline', 'accent', 'bar', 'strong', 'error', 'warning', 'notice']) {
        probe.style.color = `var(--${name})`;
        colors[name] = style.color;
    }
    forced = matchMedia('(forced-colors: active)').matches && !('paper' in document.documentElement.dataset);
}

function redraw() {
    if (drawing) return;
    drawing = true;
    requestAnimationFrame(() => { drawing = false; draw(); });
}

// ---- Nodes with their distributions --------------------------------------------------------

const barsOf = (node) => (isValued(node) ? 1 : Math.min(statesOf(node), statesInPicture));
const beliefHeight = (node) => 20 + barHeight * barsOf(node);

const beliefBox = ({at, ...node}, x, y) => [at[0] * x, at[1] * y, beliefHalfWidth, beliefHeight(node) / 2];

/** The factors by which the nodes move apart until their distributions do not lie on each other. */
function roomForBeliefs() {
    const most = (ratio) => nodes.reduce((best, node) => Math.max(best, Math.min(4, ratio(node))), 1);
    const mostX = most(({at}) => beliefHalfWidth / at[2]), mostY = most((node) => beliefHeight(node) / 2 / node.at[3]);
    const steps = 8;
    for (let step = nodes.length > 5000 ? steps : 0; ; ++step) {
        const x = 1 + (mostX - 1) * step / steps, y = 1 + (mostY - 1) * step / steps;
        if (step === steps || !overlap(nodes.map((node) => beliefBox(node, x, y)))) return {x, y};
    }
}

function overlap(placed) {
    placed.sort((a, b) => a[0] - b[0]);
    return placed.some(([x, y, w, h], i) => {
        for (let j = i + 1; j < placed.length && placed[j][0] - x < w + placed[j][2]; ++j)
            if (Math.abs(placed[j][1] - y) < h + placed[j][3]) return true;
        return false;
    });
}

function frameOf(placed) {
    const margin = 10;
    let left = Infinity, right = -Infinity, top = Infinity, bottom = -Infinity;
    for (const [x, y, w, h] of placed) {
        if (x === Infinity) continue;  // not shown
        left = Math.min(left, x - w);
        right = Math.max(right, x + w);
        top = Math.min(top, y - h);
        bottom = Math.max(bottom, y + h);
    }
    return {left: left - margin, top: top - margin, width: right - left + 2 * margin, height: bottom - top + 2 * margin};
}

/** Lays the picture out with room for distributions in the nodes, or as it was. */
function spreadPicture() {
    const middleX = view.x + canvas.clientWidth / 2 / view.zoom - frame.left;
    const middleY = view.y + canvas.clientHeight / 2 / view.zoom - frame.top;
    const before = frame;
    const made = isScene() ? arrangeScene() : inPicture && believedPicture();
    if (made) {
        ({boxes, links, frame} = made);
        linkStarts = startsOf(links);
    } else {
        const {x, y} = inPicture ? roomForBeliefs() : {x: 1, y: 1};
        boxes = nodes.map((node) => (inPicture ? beliefBox(node, x, y) : node.at));
        frame = inPicture ? frameOf(boxes) : picture;
        spreadLinks(x, y);
    }
    if (fitted) return fit();
    view.x = frame.left + middleX * frame.width / before.width - canvas.clientWidth / 2 / view.zoom;
    view.y = frame.top + middleY * frame.height / before.height - canvas.clientHeight / 2 / view.zoom;
    redraw();
}

/** The picture with room for distributions, where it was made beforehand. */
function believedPicture() {
    const {believed} = picture;
    return believed && {boxes: nodes.map((_, i) => believed.at.slice(4 * i, 4 * i + 4)), links: believed.links, frame: believed};
}

/** Exchanges the layout with the other one: the file's and the automatic one. */
function switchLayout() {
    const {other, left, top, width, height, links: own, laidOut, believed} = picture;
    if (!other) return;
    Object.assign(picture, other, {other: {left, top, width, height, links: own, laidOut, believed, at: nodes.flatMap((node) => node.at)}, insteadOf: null});
    nodes.forEach((node, i) => { node.at = other.at.slice(4 * i, 4 * i + 4); });
    byId('layout').setAttribute('aria-pressed', String(picture.laidOut));
    switched = !switched;
    spreadPicture();
    fit();
    showScene();
    stateChanged();
    say(picture.laidOut ? 'Automatic layout' : "The file's layout");
}

/** Whether the nodes' own letters can be read at that zoom. */
const isReadable = (zoom) => zoom * (inPicture ? beliefLetters : picture.font.size) >= readable;

/** The states that the picture shows of a node: the likeliest when there are many, in their order. */
function shownStates(index, most = statesInPicture) {
    const belief = beliefOf(index);
    const total = belief ? belief.length : statesOf(nodes[index]);
    if (total <= most) return [...Array(total).keys()];
    const best = [];
    for (let s = 0; s < total; ++s) {
        const at = best.findIndex((b) => belief && belief[s] > belief[b]);
        best.splice(at < 0 ? best.length : at, 0, s);
        best.length = Math.min(best.length, most);
    }
    return best.sort((a, b) => a - b);
}

/** How many bars have room from afar below the title, in letters that can be read; 0: not even the title. What has no bars needs none for its title. */
function beliefRows(index, zoom) {
    const [, , w, h] = boxes[index], room = (2 * h * zoom - smallTitle - 2) / smallBar;
    if (2 * w * zoom < 20) return 0;
    const bars = isValued(nodes[index]) ? 0 : barsOf(nodes[index]);
    return bars > 0 ? Math.min(bars, Math.floor(room)) : Number(room >= 0);
}

/** The sizes of a node with its distribution: of letters and bars; from afar smaller, with the leading bars alone. */
function beliefShape(index, zoom) {
    if (isReadable(zoom)) return {title: 12, base: 13, top: 18, bar: barHeight, letters: beliefLetters, states: barsOf(nodes[index]), named: true};
    const rows = beliefRows(index, zoom), high = 2 * boxes[index][3];
    if (rows <= 0) return {title: 0, base: 0, top: high / 8, bar: high * 3 / 4 / barsOf(nodes[index]), letters: 0, states: barsOf(nodes[index]), named: false};
    const top = (smallTitle + 0.5) / zoom, bar = (high - top - 1.5 / zoom) / rows;  // letters hang down below the base
    return {title: 8.5 / zoom, base: 7.8 / zoom, top, bar, letters: Math.min(8 / zoom, bar), states: rows, named: true};
}

function drawBeliefs(index, zoom) {
    const node = nodes[index], belief = beliefOf(index);
    const [x, y, w, h] = boxes[index], {title, base: titleBase, top, bar, letters, states, named} = beliefShape(index, zoom);
    const left = x - w + 4, width = 2 * w - 8;
    if (named) writeText(titleOf(node), x, y - h + titleBase, title, width, 'center', inkOf(node));
    if (isValued(node)) {
        const values = expectations.get(index);
        const text = values ? values.map(shortNumber).join(', ') : '';
        if (named && letters * zoom > 6) writeText(text, x, y - h + top + letters, letters, width, 'center', inkOf(node));
        return;
    }
    shownStates(index, states).forEach((state, i) => {
        const at = y - h + top + i * bar, high = bar * 0.85;
        pen.fillStyle = colors.canvas;
        pen.fillRect(left, at, width, high);
        if (!belief) return;
        const given = evidence.get(index) === state;
        pen.fillStyle = given ? colors.accent : colors.bar;
        pen.fillRect(left, at, width * belief[state], high);
        if (!named) return;
        const ink = given ? colors.canvas : colors.text, base = at + high / 2 + letters * 0.35;
        const share = percent(belief[state]), shareWidth = (textUnits(share) + 0.8) * letters;
        const room = width - shareWidth > 2.5 * letters ? width - shareWidth : width;
        writeText(stateLabel(node, state), left + letters * 0.3, base, letters, room - letters * 0.3, 'left', ink);
        if (room < width) writeText(share, left + width - letters * 0.3, base, letters, shareWidth, 'right', ink);
    });
}

/** The state whose bar is at a point of the net, -1 for none. */
function stateAt(index, netY) {
    if (!inPicture || isValued(nodes[index])) return -1;
    const [, y, , h] = boxes[index], {top, bar, states, named} = beliefShape(index, view.zoom);
    const place = Math.floor((netY - (y - h + top)) / bar);
    return named && place >= 0 ? shownStates(index, states)[place] ?? -1 : -1;
}

// ---- Nodes ---------------------------------------------------------------------------------

const fontText = (size) => `${picture.font.italic ? 'italic ' : ''}${picture.font.bold ? 'bold ' : ''}${size}px ${picture.font.families}`;

function setFont(size) {
    pen.font = fontText(size);
}

/** A line of text, cut to the width; a little too wide it is narrowed. */
function writeText(text, x, y, size, width, align, color) {
    setFont(size);
    pen.textAlign = align;
    pen.fillStyle = color;
    pen.fillText(cutText(text, 1.12 * width / size), x, y, width);
}

function outline(index, inset) {
    const [x, y, halfWidth, halfHeight] = boxes[index];
    const w = halfWidth - inset, h = halfHeight - inset;
    const kind = inPicture ? 'decision' : nodes[index].kind;
    pen.beginPath();
    if (kind === 'decision') {
        pen.rect(x - w, y - h, 2 * w, 2 * h);
    } else if (kind === 'utility') {
        const flat = w - picture.slant * h;
        [[-w, 0], [-flat, -h], [flat, -h], [w, 0], [flat, h], [-flat, h]]
            .forEach(([dx, dy]) => pen.lineTo(x + dx, y + dy));
        pen.closePath();
    } else {
        pen.ellipse(x, y, w, h, 0, 0, 2 * Math.PI);
    }
}

/** A node so far off that its shape cannot be seen. */
function drawSpeck(index) {
    const [x, y, w, h] = boxes[index];
    pen.globalAlpha = !lit || lit.has(index) ? 1 : 0.15;
    pen.fillStyle = colors.outline;
    pen.fillRect(x - w, y - h, 2 * w, 2 * h);
    pen.globalAlpha = 1;
}

function drawNode(index, zoom) {
    const node = nodes[index], [x, y, w, h] = boxes[index];
    const chosen = index === selected;
    pen.globalAlpha = !lit || lit.has(index) ? 1 : 0.15;
    outline(index, 0);
    pen.fillStyle = fillOf(node);
    pen.fill();
    pen.strokeStyle = chosen ? colors.accent : colors.outline;
    pen.lineWidth = chosen ? 3.5 : 1;
    pen.stroke();
    if (node.double && !inPicture) {
        pen.strokeStyle = inkOf(node);
        pen.lineWidth = 1;
        outline(index, picture.inner);
        pen.stroke();
    }
    const worst = worstOf(index);
    if (worst) {
        pen.beginPath();
        const corner = inPicture ? 1 : 0.8;
        pen.arc(x + w * corner, y - h * corner, 5, 0, 2 * Math.PI);
        pen.fillStyle = colors[worst === 'fatal' ? 'error' : worst];
        pen.fill();
    }
    if (inPicture) drawBeliefs(index, zoom);
    else if (isReadable(zoom)) drawLabel(index, picture.font.size);
    pen.globalAlpha = 1;
}

function drawLabel(index, size) {
    const node = nodes[index], [x, y, w] = boxes[index];
    const scale = size / picture.font.size;
    setFont(size);
    pen.textAlign = 'center';
    pen.fillStyle = inkOf(node);
    node.label.forEach((line, i) => {
        const middle = y + (i - (node.label.length - 1) / 2) * picture.lineHeight * scale;
        pen.fillText(line, x, middle + picture.baseline * scale, 2 * w);
    });
}

// ---- The whole -----------------------------------------------------------------------------

function isIn(visible, index) {
    const [x, y, w, h] = boxes[index];
    return x !== Infinity && x + w >= visible.left && x - w <= visible.right && y + h >= visible.top && y - h <= visible.bottom;
}

/** Draws with the pen what is in the rectangle; its zoom says what can be read. */
function drawNet(visible) {
    drawLinks(visible);
    for (let i = 0; i < nodes.length; ++i)
        if (i !== selected && isIn(visible, i)) (boxes[i][2] * visible.zoom < 2 ? drawSpeck : drawNode)(i, visible.zoom);
    if (selected >= 0 && isIn(visible, selected)) drawNode(selected, visible.zoom);
    drawClusters(visible);
    if (!isReadable(visible.zoom)) drawNames(visible);
}

function draw() {
    const ratio = window.devicePixelRatio || 1;
    const width = canvas.clientWidth, height = canvas.clientHeight;
    if (canvas.width !== Math.round(width * ratio) || canvas.height !== Math.round(height * ratio)) {
        canvas.width = Math.round(width * ratio);
        canvas.height = Math.round(height * ratio);
    }
    pen.setTransform(1, 0, 0, 1, 0, 0);
    pen.fillStyle = colors.canvas;
    pen.fillRect(0, 0, canvas.width, canvas.height);
    const scale = view.zoom * ratio;
    pen.setTransform(scale, 0, 0, scale, -view.x * scale, -view.y * scale);
    drawNet({
        left: view.x, top: view.y, right: view.x + width / view.zoom, bottom: view.y + height / view.zoom, zoom: view.zoom,
    });
    drawMap();
}
