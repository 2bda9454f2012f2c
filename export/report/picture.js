
// ---- The picture ---------------------------------------------------------------------------
// Drawn on a canvas, so that the page stays small with any number of nodes.

const canvas = byId('canvas');
const pen = canvas.getContext('2d');
const picture = data.picture;
// One link after the other: parent, child, number of points, and x and y of each. Two points make a
// straight line; more are cubic Bezier segments: the start, then two control points and an end each.
const links = picture.links;
const linkStarts = [];
for (let i = 0; i < links.length; i += 3 + 2 * links[i + 2]) linkStarts.push(i);
const linksDrawnAtOnce = 40000;
const view = {x: 0, y: 0, zoom: 1};  // the net's point at the canvas's top left corner
let fitted = true;  // the whole net is to stay in view
let drawing = false;
let colors = {};

function readColors() {
    const style = getComputedStyle(document.documentElement);
    for (const name of ['canvas', 'link', 'outline', 'accent', 'error', 'warning', 'notice'])
        colors[name] = style.getPropertyValue(`--${name}`).trim();
}

function redraw() {
    if (drawing) return;
    drawing = true;
    requestAnimationFrame(() => { drawing = false; draw(); });
}

function fit() {
    const width = canvas.clientWidth, height = canvas.clientHeight;
    if (width === 0 || height === 0) return;
    view.zoom = Math.min(width / picture.width, height / picture.height, 1.5);
    view.x = picture.left + picture.width / 2 - width / 2 / view.zoom;
    view.y = picture.top + picture.height / 2 - height / 2 / view.zoom;
    fitted = true;
    redraw();
}

/** Zooms by the factor around a point of the canvas. */
function zoomBy(factor, x = canvas.clientWidth / 2, y = canvas.clientHeight / 2) {
    const zoom = Math.max(0.002, Math.min(8, view.zoom * factor));
    view.x += x / view.zoom - x / zoom;
    view.y += y / view.zoom - y / zoom;
    view.zoom = zoom;
    fitted = false;
    redraw();
}

function moveBy(x, y) {
    view.x += x / view.zoom;
    view.y += y / view.zoom;
    fitted = false;
    redraw();
}

function outline(node, inset) {
    const [x, y, halfWidth, halfHeight] = node.at;
    const w = halfWidth - inset, h = halfHeight - inset;
    pen.beginPath();
    if (node.kind === 'decision') {
        pen.rect(x - w, y - h, 2 * w, 2 * h);
    } else if (node.kind === 'utility') {
        const flat = w - picture.slant * h;
        [[-w, 0], [-flat, -h], [flat, -h], [w, 0], [flat, h], [-flat, h]]
            .forEach(([dx, dy]) => pen.lineTo(x + dx, y + dy));
        pen.closePath();
    } else {
        pen.ellipse(x, y, w, h, 0, 0, 2 * Math.PI);
    }
}

function drawNode(index, withText) {
    const node = nodes[index];
    const chosen = index === selected;
    outline(node, 0);
    pen.fillStyle = node.fill;
    pen.fill();
    pen.strokeStyle = chosen ? colors.accent : colors.outline;
    pen.lineWidth = chosen ? 3.5 : 1;
    pen.stroke();
    if (node.double) {
        pen.strokeStyle = node.ink;
        pen.lineWidth = 1;
        outline(node, picture.inner);
        pen.stroke();
    }
    const worst = worstOf(index);
    if (worst) {
        pen.beginPath();
        pen.arc(node.at[0] + node.at[2] * 0.8, node.at[1] - node.at[3] * 0.8, 5, 0, 2 * Math.PI);
        pen.fillStyle = colors[worst === 'fatal' ? 'error' : worst];
        pen.fill();
    }
    if (!withText) return;
    pen.fillStyle = node.ink;
    node.label.forEach((line, i) => {
        const middle = node.at[1] + (i - (node.label.length - 1) / 2) * picture.lineHeight;
        pen.fillText(line, node.at[0], middle + picture.baseline, 2 * node.at[2]);
    });
}

function drawLinks(visible) {
    const chosen = [];
    const step = Math.max(1, Math.ceil(linkStarts.length / linksDrawnAtOnce));
    const heads = view.zoom > 0.25;
    const paint = (from, color, width, alpha) => {
        pen.strokeStyle = pen.fillStyle = color;
        pen.lineWidth = width / Math.min(1, view.zoom * 1.5);
        pen.globalAlpha = alpha;
        pen.beginPath();
        from.forEach(course);
        pen.stroke();
        pen.beginPath();
        if (heads) from.forEach(arrowHead);
        pen.fill();
        pen.globalAlpha = 1;
    };
    // Of too many links some are drawn while the whole is in view.
    const stride = view.zoom < 0.1 ? step : 1;
    for (const i of linkStarts)
        if (links[i] === selected || links[i + 1] === selected) chosen.push(i);
    const drawn = [];
    for (let n = 0; n < linkStarts.length; n += stride)
        if (mayBeIn(visible, linkStarts[n])) drawn.push(linkStarts[n]);
    // The more there are, the fainter, so that the nodes stay in front.
    const alpha = Math.max(0.15, Math.min(1, 1500 / drawn.length));
    paint(drawn, colors.link, 1, alpha);
    if (chosen.length > 0) paint(chosen, colors.accent, 2, 1);
}

/** Whether the box around a link's points meets the rectangle. */
function mayBeIn(visible, i) {
    let left = Infinity, top = Infinity, right = -Infinity, bottom = -Infinity;
    for (let at = i + 3, end = at + 2 * links[i + 2]; at < end; at += 2) {
        left = Math.min(left, links[at]);
        right = Math.max(right, links[at]);
        top = Math.min(top, links[at + 1]);
        bottom = Math.max(bottom, links[at + 1]);
    }
    return right >= visible.left && left <= visible.right && bottom >= visible.top && top <= visible.bottom;
}

function course(i) {
    const end = i + 3 + 2 * links[i + 2];
    pen.moveTo(links[i + 3], links[i + 4]);
    if (links[i + 2] === 2) return void pen.lineTo(links[i + 5], links[i + 6]);
    for (let at = i + 5; at < end; at += 6) pen.bezierCurveTo(...links.slice(at, at + 6));
}

function arrowHead(i) {
    const end = i + 3 + 2 * links[i + 2];
    const tipX = links[end - 2], tipY = links[end - 1];
    const dx = tipX - links[end - 4], dy = tipY - links[end - 3];
    const length = Math.hypot(dx, dy) || 1;
    const x = dx / length, y = dy / length;
    const baseX = tipX - x * picture.arrow[0], baseY = tipY - y * picture.arrow[0];
    const half = picture.arrow[1];
    pen.moveTo(tipX, tipY);
    pen.lineTo(baseX - y * half, baseY + x * half);
    pen.lineTo(baseX + y * half, baseY - x * half);
    pen.closePath();
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
    const visible = {
        left: view.x, top: view.y, right: view.x + width / view.zoom, bottom: view.y + height / view.zoom,
    };
    drawLinks(visible);
    pen.font = `${picture.font.italic ? 'italic ' : ''}${picture.font.bold ? 'bold ' : ''}` +
        `${picture.font.size}px ${picture.font.families}`;
    pen.textAlign = 'center';
    const withText = view.zoom * picture.font.size > 3.5;
    for (let i = 0; i < nodes.length; ++i) {
        const [x, y, w, h] = nodes[i].at;
        if (x + w < visible.left || x - w > visible.right || y + h < visible.top || y - h > visible.bottom)
            continue;
        if (i !== selected) drawNode(i, withText);
    }
    if (selected >= 0) drawNode(selected, withText);
}

/** The node at a point of the canvas, -1 for none; the box around its shape counts. */
function nodeAt(x, y) {
    const netX = view.x + x / view.zoom, netY = view.y + y / view.zoom;
    for (let i = nodes.length - 1; i >= 0; --i) {
        const [nodeX, nodeY, w, h] = nodes[i].at;
        if (Math.abs(netX - nodeX) <= w && Math.abs(netY - nodeY) <= h) return i;
    }
    return -1;
}

/** Moves the view so that the node is in it, and readable. */
function bringIntoView(index) {
    const [x, y, w, h] = nodes[index].at;
    const readable = 0.5;
    if (view.zoom < readable && !fitted) view.zoom = readable;
    const width = canvas.clientWidth / view.zoom, height = canvas.clientHeight / view.zoom;
    const inside = x - w >= view.x && x + w <= view.x + width && y - h >= view.y && y + h <= view.y + height;
    if (inside) return;
    view.x = x - width / 2;
    view.y = y - height / 2;
    fitted = false;
}

/** The nearest node in a direction from the selected one (or from the middle of the view). */
function neighbour(dx, dy) {
    const [x, y] = selected >= 0 ? nodes[selected].at
        : [view.x + canvas.clientWidth / 2 / view.zoom, view.y + canvas.clientHeight / 2 / view.zoom];
    let best = -1, least = Infinity;
    for (let i = 0; i < nodes.length; ++i) {
        if (i === selected) continue;
        const along = (nodes[i].at[0] - x) * dx + (nodes[i].at[1] - y) * dy;
        const aside = Math.abs((nodes[i].at[0] - x) * dy) + Math.abs((nodes[i].at[1] - y) * dx);
        const far = along + 2 * aside;
        if (far >= least || (selected >= 0 && along <= 0)) continue;
        best = i;
        least = far;
    }
    return best;
}

const arrows = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]};
const pictureKeys = {
    '+': () => zoomBy(1.25), '=': () => zoomBy(1.25), '-': () => zoomBy(0.8), 0: fit,
    Enter: () => focusDetails(), Escape: () => select(-1, 'picture'),
};

canvas.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const arrow = arrows[event.key];
    const act = pictureKeys[event.key];
    if (!arrow && !act) return;
    event.preventDefault();
    if (act) return void act();
    if (event.shiftKey) return void moveBy(arrow[0] * 60, arrow[1] * 60);
    const next = neighbour(...arrow);
    if (next >= 0) select(next, 'keyboard');
});

const pointers = new Map();
let dragged = 0;
const placeOf = (event) => {
    const box = canvas.getBoundingClientRect();
    return [event.clientX - box.left, event.clientY - box.top];
};
const spread = () => {
    const [a, b] = [...pointers.values()];
    return Math.hypot(a[0] - b[0], a[1] - b[1]);
};

canvas.addEventListener('pointerdown', (event) => {
    if (event.button !== 0) return;
    canvas.setPointerCapture(event.pointerId);
    pointers.set(event.pointerId, placeOf(event));
    dragged = pointers.size > 1 ? Infinity : 0;
});
canvas.addEventListener('pointermove', (event) => {
    const before = pointers.get(event.pointerId);
    const at = placeOf(event);
    if (!before) {
        const over = nodeAt(...at);
        canvas.style.cursor = over >= 0 ? 'pointer' : 'grab';
        canvas.title = over >= 0 ? titleOf(nodes[over]) : '';
        return;
    }
    const spreadBefore = pointers.size === 2 ? spread() : 0;
    pointers.set(event.pointerId, at);
    if (pointers.size === 2 && spreadBefore > 0) return void zoomBy(spread() / spreadBefore, ...at);
    dragged += Math.abs(at[0] - before[0]) + Math.abs(at[1] - before[1]);
    if (dragged > 4) moveBy(before[0] - at[0], before[1] - at[1]);
});
canvas.addEventListener('pointerup', (event) => {
    if (!pointers.delete(event.pointerId) || dragged > 4) return;
    select(nodeAt(...placeOf(event)), 'picture');
});
canvas.addEventListener('pointercancel', (event) => pointers.delete(event.pointerId));
canvas.addEventListener('wheel', (event) => {
    event.preventDefault();
    zoomBy(Math.exp(-event.deltaY * (event.deltaMode === 0 ? 0.0015 : 0.04)), ...placeOf(event));
}, {passive: false});
byId('closer').addEventListener('click', () => zoomBy(1.4));
byId('farther').addEventListener('click', () => zoomBy(1 / 1.4));
byId('fit').addEventListener('click', fit);
new ResizeObserver(() => (fitted ? fit() : redraw())).observe(canvas);
listeners.push((index, source) => {
    if (index >= 0 && source !== 'picture') bringIntoView(index);
    redraw();
});
