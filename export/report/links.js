
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
        pen.strokeStyle = pen.fillStyle = color;
        pen.lineWidth = width / Math.min(1, visible.zoom * 1.5);
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
    const stride = visible.zoom < 0.1 ? step : 1;
    const drawn = [];
    for (let n = 0; n < linkStarts.length; n += stride)
        if (mayBeIn(visible, linkStarts[n])) drawn.push(linkStarts[n]);
    // The more there are, the fainter, so that the nodes stay in front.
    const alpha = Math.max(0.15, Math.min(1, 1500 / drawn.length));
    const isLit = (i) => !lit || (lit.has(links[i]) && lit.has(links[i + 1]));
    const bright = drawn.filter(isLit);
    if (lit) paint(drawn.filter((i) => !isLit(i)), colors.link, 1, 0.12 * alpha);
    paint(bright, colors.link, 1, lit ? 1 : alpha);
    const chosen = linkStarts.filter((i) => (links[i] === selected || links[i + 1] === selected) && isLit(i));
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
