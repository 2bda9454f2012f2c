
// ---- The picture's links -------------------------------------------------------------------

// One link after the other: parent, child, number of points, and x and y of each. Two points make a
// straight line; more are cubic Bezier segments: the start, then two control points and an end each.
const linksDrawnAtOnce = 40000;
let links = data.picture.links;  // as they are drawn: see spreadLinks
let linkStarts = startsOf(links);

function startsOf(all) {
    const starts = [];
    for (let i = 0; i < all.length; i += 3 + 2 * all[i + 2]) starts.push(i);
    return starts;
}

/** Moves the links' points apart by the factors, and their ends to the boxes with distributions. */
function spreadLinks(x, y) {
    links = picture.links;
    linkStarts = startsOf(links);
    if (!inPicture) return;
    links = links.slice();
    for (const i of linkStarts) {
        const end = i + 3 + 2 * links[i + 2];
        for (let at = i + 3; at < end; at += 2) {
            links[at] *= x;
            links[at + 1] *= y;
        }
        endAtBox(i + 3, boxes[links[i]]);
        endAtBox(end - 2, boxes[links[i + 1]]);
    }
}

/** Moves a link's end to the border of the box, towards or away from its middle. */
function endAtBox(at, [x, y, halfWidth, halfHeight]) {
    const dx = links[at] - x, dy = links[at + 1] - y;
    const by = Math.min(halfWidth / Math.abs(dx), halfHeight / Math.abs(dy));
    if (!Number.isFinite(by)) return;
    links[at] = x + dx * by;
    links[at + 1] = y + dy * by;
}

function drawLinks(visible) {
    const step = Math.max(1, Math.ceil(linkStarts.length / linksDrawnAtOnce));
    const heads = visible.zoom > 0.25;
    const paint = (from, color, width, alpha) => {
        if (from.length === 0) return;
        pen.strokeStyle = pen.fillStyle = color;
        pen.lineWidth = width / Math.min(1, visible.zoom * 1.5);
        pen.globalAlpha = alpha;
        pen.beginPath();
        const larger = Math.max(1, width / 1.8);  // the head of a wide link; the line ends within it
        from.forEach((i) => course(i, larger > 1 && heads ? picture.arrow[0] * larger * 0.7 : 0));
        pen.stroke();
        pen.beginPath();
        if (heads) from.forEach((i) => arrowHead(i, larger));
        pen.fill();
        pen.globalAlpha = 1;
    };
    // Of too many links some are drawn while the whole is in view.
    const stride = visible.zoom < 0.1 ? step : 1;
    const drawn = [];
    for (let n = 0; n < linkStarts.length; n += stride)
        if (mayBeIn(visible, linkStarts[n])) drawn.push(linkStarts[n]);
    // The more there are, the fainter, so that the nodes stay in front.
    const alpha = Math.max(0.15, Math.min(1, 1500 / drawn.length));
    const stays = (box) => box >= nodes.length || lit.has(box);  // groups stay bright
    const isLit = (i) => !lit || (stays(links[i]) && stays(links[i + 1]));
    const bright = drawn.filter(isLit);
    if (lit) paint(drawn.filter((i) => !isLit(i)), colors.link, 1, 0.12 * alpha);
    const isChosen = trail ? (i) => isOnTrail(links[i], links[i + 1]) : (i) => (links[i] === selected || links[i + 1] === selected) && isLit(i);
    if (strengthClass.size > 0) paintByStrength(bright, paint);
    else paint(bright.filter((i) => !isChosen(i)), colors.link, 1, lit ? 1 : alpha);
    if (strengthClass.size === 0 || trail) paint(linkStarts.filter(isChosen), colors.accent, trail ? 3 : 2, 1);
}

/** Draws the links by their strength, the weak ones first. */
function paintByStrength(from, paint) {
    const byClass = new Map();
    for (const i of from) {
        const part = strengthClass.get(linkKey(links[i], links[i + 1])) ?? -1;
        if (!byClass.has(part)) byClass.set(part, []);
        byClass.get(part).push(i);
    }
    for (const part of [...byClass.keys()].sort((a, b) => a - b)) {
        const {width, color} = strengthStyle(part);
        paint(byClass.get(part), color, width, 1);
    }
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

/** The direction in which a link ends. */
function directionOf(i) {
    const end = i + 3 + 2 * links[i + 2], dx = links[end - 2] - links[end - 4], dy = links[end - 1] - links[end - 3];
    const length = Math.hypot(dx, dy) || 1;
    return [dx / length, dy / length];
}

/** The link's course, ending so far before its tip. */
function course(i, before) {
    const points = links.slice(i + 3, i + 3 + 2 * links[i + 2]), [x, y] = before > 0 ? directionOf(i) : [0, 0];
    points[points.length - 2] -= x * before;
    points[points.length - 1] -= y * before;
    pen.moveTo(points[0], points[1]);
    if (points.length === 4) return void pen.lineTo(points[2], points[3]);
    for (let at = 2; at < points.length; at += 6) pen.bezierCurveTo(...points.slice(at, at + 6));
}

/** The rectangle [left, top, right, bottom] of a link's arrow head. */
function headBox(i) {
    const end = i + 3 + 2 * links[i + 2], half = picture.arrow[0] / 2, [x, y] = directionOf(i);
    const middleX = links[end - 2] - x * half, middleY = links[end - 1] - y * half;
    return [middleX - half, middleY - half, middleX + half, middleY + half];
}

function arrowHead(i, larger) {
    const end = i + 3 + 2 * links[i + 2], [tipX, tipY] = links.slice(end - 2, end), [x, y] = directionOf(i);
    const baseX = tipX - x * picture.arrow[0] * larger, baseY = tipY - y * picture.arrow[0] * larger;
    const half = picture.arrow[1] * larger;
    pen.moveTo(tipX, tipY);
    pen.lineTo(baseX - y * half, baseY + x * half);
    pen.lineTo(baseX + y * half, baseY - x * half);
    pen.closePath();
}
