
// ---- The map: where the view is in a net that is larger ------------------------------------

const map = byId('map');
const mapPen = map.getContext('2d');

/** Draws the map while the view shows less than half of the net. */
function drawMap() {
    const width = canvas.clientWidth / view.zoom, height = canvas.clientHeight / view.zoom;
    const seen = Math.min(width, frame.width) * Math.min(height, frame.height);
    map.hidden = nodes.length < 20 || seen > frame.width * frame.height / 2 || canvas.clientHeight < 260;
    if (!map.hidden && selected >= 0) keepOffSelected();
    if (map.hidden) return;
    const {zoom, left, top} = mapPlace();
    mapPen.fillStyle = colors.canvas;
    mapPen.fillRect(0, 0, map.width, map.height);
    const step = Math.ceil(nodes.length / 20000);
    for (let i = 0; i < nodes.length; i += step) {
        const [x, y, w, h] = boxes[i];
        if (x === Infinity) continue;
        mapPen.fillStyle = i === selected ? colors.accent : !lit || lit.has(i) ? colors.link : colors.outline;
        mapPen.globalAlpha = !lit || lit.has(i) ? 1 : 0.15;
        mapPen.fillRect(left + (x - w) * zoom, top + (y - h) * zoom, Math.max(1, 2 * w * zoom), Math.max(1, 2 * h * zoom));
    }
    mapPen.globalAlpha = 1;
    mapPen.strokeStyle = colors.accent;
    mapPen.lineWidth = 1.5;
    mapPen.strokeRect(left + view.x * zoom, top + view.y * zoom, Math.max(3, width * zoom), Math.max(3, height * zoom));
}

/** The map goes to the other corner, or away, where it would cover the selected node. */
function keepOffSelected() {
    const [x, y, w, h] = boxes[selected], left = (x - w - view.x) * view.zoom, right = (x + w - view.x) * view.zoom;
    const bottom = (y + h - view.y) * view.zoom, edge = 16, wide = map.offsetWidth + edge, room = canvas.clientWidth;
    const low = bottom > canvas.clientHeight - map.offsetHeight - edge && (y - h - view.y) * view.zoom < canvas.clientHeight;
    const covers = {right: low && right > room - wide && left < room, left: low && left < wide && right > 0};
    map.dataset.corner = covers.right && room > 500 ? 'left' : 'right';
    map.hidden = covers[map.dataset.corner];
}

/** How the map shows the net: a point (x, y) of it lies at (left + x * zoom, top + y * zoom). */
function mapPlace() {
    const zoom = Math.min(map.width / frame.width, map.height / frame.height);
    return {
        zoom, left: (map.width - frame.width * zoom) / 2 - frame.left * zoom,
        top: (map.height - frame.height * zoom) / 2 - frame.top * zoom,
    };
}

function moveByMap(event) {
    if (event.buttons !== 1) return;
    const box = map.getBoundingClientRect();
    const {zoom, left, top} = mapPlace();
    const x = (event.clientX - box.left) * map.width / box.width, y = (event.clientY - box.top) * map.height / box.height;
    moveTo({
        x: (x - left) / zoom - canvas.clientWidth / 2 / view.zoom, y: (y - top) / zoom - canvas.clientHeight / 2 / view.zoom,
    });
    viewChanged();
}
map.addEventListener('pointerdown', (event) => {
    map.setPointerCapture(event.pointerId);
    moveByMap(event);
});
map.addEventListener('pointermove', moveByMap);
