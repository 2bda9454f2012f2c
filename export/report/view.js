
// ---- Moving about in the picture -----------------------------------------------------------

const view = {x: 0, y: 0, zoom: 1};  // the net's point at the canvas's top left corner
let fitted = true;  // the whole net is to stay in view
let fittedIn = '';  // the room that it was shown in
let awaited = false;  // the selected node is to be shown once the picture is there again
let travel = 0;  // counts the journeys of the view, so that a new one ends the one before

const mostZoom = 1.5;

/** The pixels of the picture's upper edge that buttons cover. */
function barsAbove() {
    const rows = matchMedia('(max-width: 900px)').matches ? ['shown', 'scene'] : ['told'];
    const lowest = Math.max(...rows.map((name) => byId(name)).map(({offsetTop, offsetHeight}) => (rows.length > 1 ? offsetTop : 0) + offsetHeight));
    return Math.min(canvas.clientHeight / 2, Math.max(28, lowest) + 8);
}

/** Pixels of the picture [left, top, right, bottom]: below the buttons at its upper edge, above the evidence at its lower one. */
function belowBars() {
    const told = matchMedia('(max-width: 900px)').matches ? byId('evidence').offsetHeight : 0;
    return [0, barsAbove(), canvas.clientWidth, canvas.clientHeight - (told > 4 ? told + 12 : 0)];
}

/** What the zoom buttons cover, with a little around. */
function underTools() {
    const {offsetLeft: x, offsetTop: y, offsetWidth: w, offsetHeight: h} = byId('tools');
    return [x - 4, y - 4, x + w + 4, y + h + 4];
}

/** Pixels of the picture as the view has them in the net. */
const inNet = ([left, top, right, bottom], {x, y, zoom}) => [x + left / zoom, y + top / zoom, x + right / zoom, y + bottom / zoom];

/** The view that shows the rectangle in the room as large as it can, within mostZoom. */
function viewOf({left, top, width, height}, [roomLeft, roomTop, roomRight, roomBottom] = belowBars()) {
    const zoom = Math.min((roomRight - roomLeft) / width, (roomBottom - roomTop) / height, mostZoom);
    return {
        zoom, x: left + width / 2 - (roomLeft + roomRight) / 2 / zoom, y: top + height / 2 - (roomTop + roomBottom) / 2 / zoom,
    };
}

function moveTo(target, stay = false) {
    ++travel;
    Object.assign(view, target);
    fitted = stay;
    redraw();
}

/** The view of the whole net: where the zoom buttons would cover a node, it keeps below or beside them. */
function wholeView() {
    const room = belowBars(), [left, top, right, bottom] = room, tools = underTools();
    const within = (free) => viewOf(frameForNames(free), free);
    const all = within(room), [l, t, r, b] = inNet(tools, all);
    if (!boxes.some(([x, y, w, h]) => x + w > l && x - w < r && y + h > t && y - h < b)) return all;
    const below = within([left, Math.max(top, tools[3]), right, bottom]), beside = within([left, top, tools[0], bottom]);
    return below.zoom > beside.zoom ? below : beside;
}

function fit() {
    viewChosen = false;
    if (canvas.clientWidth === 0 || canvas.clientHeight === 0) return;
    fittedIn = String(belowBars());
    moveTo(wholeView(), true);
}

/** Moves the view there in a short while, at once where motion is not wanted. */
function travelTo(target) {
    viewChosen = false;
    if (matchMedia('(prefers-reduced-motion: reduce)').matches) return moveTo(target);
    const own = ++travel, from = {...view}, started = performance.now();
    fitted = false;
    const step = (now) => {
        if (own !== travel) return;
        const part = Math.min(1, Math.max(0, (now - started) / 250));
        const eased = part * part * (3 - 2 * part);
        for (const key of Object.keys(view)) view[key] = from[key] + (target[key] - from[key]) * eased;
        draw();
        if (part < 1) requestAnimationFrame(step);
    };
    requestAnimationFrame(step);
}

/** Zooms by the factor around a point of the canvas. */
function zoomBy(factor, x = canvas.clientWidth / 2, y = canvas.clientHeight / 2) {
    const zoom = Math.max(0.002, Math.min(8, view.zoom * factor));
    moveTo({zoom, x: view.x + x / view.zoom - x / zoom, y: view.y + y / view.zoom - y / zoom});
    viewChanged();
}

function moveBy(x, y) {
    moveTo({x: view.x + x / view.zoom, y: view.y + y / view.zoom});
    viewChanged();
}

/** The node (behind the nodes: the folded group) at a point of the canvas, -1 for none; the box around its shape counts. */
function nodeAt(x, y) {
    const netX = view.x + x / view.zoom, netY = view.y + y / view.zoom;
    for (let i = boxes.length - 1; i >= 0; --i) {
        const [nodeX, nodeY, w, h] = boxes[i];
        if (Math.abs(netX - nodeX) <= w && Math.abs(netY - nodeY) <= h) return i;
    }
    return -1;
}

/** Shows the node with its parents and children; with the node alone when they are too far to read. */
function bringIntoView(index) {
    awaited = canvas.clientWidth === 0;
    if (awaited) return;
    const around = frameOf([index, ...nodes[index].parents, ...children[index]].map((i) => boxes[i])), {left, top, width, height} = around;
    const target = viewOf(around);
    const legible = readable / picture.font.size, slack = 10;
    const inside = left + slack >= view.x && left + width - slack <= view.x + canvas.clientWidth / view.zoom &&
        top + slack >= view.y && top + height - slack <= view.y + canvas.clientHeight / view.zoom;
    if (inside && view.zoom >= Math.min(legible, target.zoom)) return;
    if (target.zoom >= legible) return travelTo(target);
    const [x, y] = boxes[index];
    travelTo({
        zoom: legible, x: x - canvas.clientWidth / 2 / legible, y: y - canvas.clientHeight / 2 / legible,
    });
}

/** The nearest node in a direction from the selected one (or from the middle of the view). */
function neighbour(dx, dy) {
    const [x, y] = selected >= 0 ? boxes[selected]
        : [view.x + canvas.clientWidth / 2 / view.zoom, view.y + canvas.clientHeight / 2 / view.zoom];
    let best = -1, least = Infinity;
    for (let i = 0; i < nodes.length; ++i) {
        if (i === selected || boxes[i] === nowhere) continue;
        const along = (boxes[i][0] - x) * dx + (boxes[i][1] - y) * dy;
        const aside = Math.abs((boxes[i][0] - x) * dy) + Math.abs((boxes[i][1] - y) * dx);
        const far = along + 2 * aside;
        if (far >= least || (selected >= 0 && along <= 0)) continue;
        best = i;
        least = far;
    }
    return best;
}

// ---- By keyboard ---------------------------------------------------------------------------

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
keyHelp.push(['Picture', 'arrows', 'the next node that way'], ['Picture', 'Shift and arrows, +, −, 0', 'move, zoom, show all'],
    ['Picture', 'Enter, Escape', 'read the details, select none']);

// ---- By mouse and fingers ------------------------------------------------------------------

const pointers = new Map();
let dragged = 0;
const placeOf = (event) => {
    const box = canvas.getBoundingClientRect();
    return [event.clientX - box.left, event.clientY - box.top];
};
/** Middle and distance of two fingers. */
const pinch = () => {
    const [a, b] = [...pointers.values()];
    return {x: (a[0] + b[0]) / 2, y: (a[1] + b[1]) / 2, apart: Math.hypot(a[0] - b[0], a[1] - b[1]) || 1};
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
        canvas.title = over < 0 ? '' : over < nodes.length ? titleOf(nodes[over]) : `${clusterText(clusters[over - nodes.length])}: unfold`;
        return;
    }
    if (pointers.size === 2) {
        const was = pinch();
        pointers.set(event.pointerId, at);
        const is = pinch();
        moveBy(was.x - is.x, was.y - is.y);
        return zoomBy(is.apart / was.apart, is.x, is.y);
    }
    pointers.set(event.pointerId, at);
    dragged += Math.abs(at[0] - before[0]) + Math.abs(at[1] - before[1]);
    if (dragged > 4) moveBy(before[0] - at[0], before[1] - at[1]);
});
canvas.addEventListener('pointerup', (event) => {
    if (!pointers.delete(event.pointerId) || dragged > 4) return;
    const [x, y] = placeOf(event);
    const index = nodeAt(x, y);
    if (index >= nodes.length) return toggleFold(clusters[index - nodes.length].group);
    const state = index < 0 ? -1 : stateAt(index, view.y + y / view.zoom);
    if (state >= 0) return toggleEvidence(index, state);
    select(index, 'picture');
});
canvas.addEventListener('pointercancel', (event) => pointers.delete(event.pointerId));
canvas.addEventListener('wheel', (event) => {
    event.preventDefault();
    zoomBy(Math.exp(-event.deltaY * (event.deltaMode === 0 ? 0.0015 : 0.04)), ...placeOf(event));
}, {passive: false});
byId('closer').addEventListener('click', () => zoomBy(1.4));
byId('farther').addEventListener('click', () => zoomBy(1 / 1.4));
byId('fit').addEventListener('click', fit);
new ResizeObserver(() => {
    if (fitted) fit();
    else redraw();
    if (awaited && selected >= 0) bringIntoView(selected);
}).observe(canvas);
beliefListeners.push(() => { if (fitted && String(belowBars()) !== fittedIn) fit(); });  // the evidence takes room
listeners.push((index) => {
    if (index >= 0) bringIntoView(index);
    redraw();
});
