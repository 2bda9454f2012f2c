
// ---- Names that can be read from afar ------------------------------------------------------
// Within the node where the shape has room, in the node's ink; else beside it where nothing else
// stands; else cut short within it. The best linked nodes choose first, as towns do on a map.

const namesBeside = 400;  // at once
const mostHeads = 2000;  // of links that names keep clear of
const mostFailures = 250;  // nodes without room, after which it is not looked for
const withinSizes = [9, 8];  // pixels of the letters
const besideSizes = [10, 9];
const longestName = 14, shortName = 4.5;  // in heights of the letters
const ruler = document.createElement('canvas').getContext('2d');
const measured = new Map();
let segmenter = null;
let byImportance = null;
let namesPlaced = null;  // where the names are, and for what view

/** The width of a text in letters of one pixel. */
function textUnits(text) {
    let width = measured.get(text);
    if (width !== undefined) return width;
    if (measured.size > 30000) measured.clear();
    if (measured.size === 0) ruler.font = fontText(100);
    width = ruler.measureText(text).width / 100;
    measured.set(text, width);
    return width;
}

/** What a reader takes for letters: an emoji is one, with all it is made of. */
function lettersOf(text) {
    if (!window.Intl?.Segmenter) return [...text];
    segmenter ??= new Intl.Segmenter();
    return [...segmenter.segment(text)].map((letter) => letter.segment);
}

/** The text, cut with "…" when it is wider than so many heights of its letters; empty when nothing of it fits. */
function cutText(text, most) {
    if (text.length < 400 && textUnits(text) <= most) return text;
    const letters = lettersOf(text.slice(0, 400));
    const cut = (length) => `${letters.slice(0, length).join('').trimEnd()}…`;
    let fits = 0, tooMany = letters.length;
    while (fits + 1 < tooMany) {
        const middle = (fits + tooMany) >> 1;
        if (textUnits(cut(middle)) <= most) fits = middle;
        else tooMany = middle;
    }
    return fits > 0 ? cut(fits) : '';
}

/** Rectangles [left, top, right, bottom] that are taken, found by the cells of a grid. */
class Room {
    constructor(cell) {
        this.cell = cell;
        this.taken = new Map();
    }

    /** Whether what(key) holds for every cell of the rectangle. */
    everyCell([left, top, right, bottom], what) {
        const {cell} = this, lastX = Math.floor(right / cell), firstY = Math.floor(top / cell), lastY = Math.floor(bottom / cell);
        for (let x = Math.floor(left / cell); x <= lastX; ++x)
            for (let y = firstY; y <= lastY; ++y) if (!what(x * 1e6 + y)) return false;
        return true;
    }

    isFree(rectangle) {
        const [left, top, right, bottom] = rectangle;
        return this.everyCell(rectangle, (key) => !this.taken.get(key)?.some((other) =>
            left < other[2] && right > other[0] && top < other[3] && bottom > other[1]));
    }

    take(rectangle) {
        this.everyCell(rectangle, (key) => {
            const there = this.taken.get(key);
            if (there) there.push(rectangle);
            else this.taken.set(key, [rectangle]);
            return true;
        });
    }
}

/** How wide the node's shape is so far above or below its middle. */
function shapeWidth(index, away) {
    const [, , w, h] = boxes[index], {kind} = nodes[index];
    if (away >= h) return 0;
    if (kind === 'decision') return 2 * w;
    return 2 * (kind === 'utility' ? w - picture.slant * away : w * Math.sqrt(1 - (away / h) ** 2));
}

/** Whether lines of such letters have room in the node's shape. */
function fitsWithin(index, lines, size) {
    return lines.every((line, i) => {
        const away = (Math.abs(i - (lines.length - 1) / 2) * 1.25 + 0.45) * size;
        return textUnits(line) * size <= 0.98 * shapeWidth(index, away);
    });
}

/** The node's whole label within it, or null. */
function nameWithin(index, zoom) {
    if (2 * boxes[index][3] * zoom < withinSizes[withinSizes.length - 1]) return null;
    const {label} = nodes[index], size = withinSizes.map((pixels) => pixels / zoom).find((one) => fitsWithin(index, label, one));
    return size ? {index, lines: label, size, x: boxes[index][0], y: boxes[index][1], align: 'center', whole: true} : null;
}

/** What fits of the node's name within it, or null. */
function nameCut(index, zoom) {
    const size = withinSizes[withinSizes.length - 1] / zoom;
    if (2 * boxes[index][3] < size) return null;
    const text = cutText(titleOf(nodes[index]), 0.98 * shapeWidth(index, 0.45 * size) / size);
    if (lettersOf(text).length < 3) return null;
    return {index, lines: [text], size, x: boxes[index][0], y: boxes[index][1], align: 'center', whole: text === titleOf(nodes[index])};
}

/** The name, as far as it may be that long, at a side of the node where nothing else stands (nor arrow heads, where one is without), which it takes then; or null. */
function nameBesideNode(index, zoom, room, heads, bounds, longest) {
    const [x, y, w, h] = boxes[index], text = cutText(titleOf(nodes[index]), longest);
    for (const pixels of besideSizes) {
        const size = pixels / zoom, width = textUnits(text) * size, high = size * 1.15, gap = 3 / zoom;
        const sides = [
            ['left', x + w + gap, y], ['right', x - w - gap, y], ['center', x, y + h + gap / 2 + high / 2], ['center', x, y - h - gap / 2 - high / 2],
            ['left', x - w, y + h + gap / 2 + high / 2], ['right', x + w, y - h - gap / 2 - high / 2],
        ];
        const free = sides.map(([align, at, middle]) => {
            const left = at - width * {left: 0, center: 0.5, right: 1}[align];
            return {align, at, middle, rectangle: [left, middle - high / 2, left + width, middle + high / 2]};
        }).filter(({rectangle}) => rectangle[0] >= bounds.left && rectangle[2] <= bounds.right && rectangle[1] >= bounds.top && rectangle[3] <= bounds.bottom &&
            room.isFree(rectangle));
        if (free.length > 0) {
            const {align, at, middle, rectangle} = free.find((side) => heads.isFree(side.rectangle)) ?? free[0];
            room.take([rectangle[0] - gap, rectangle[1], rectangle[2] + gap, rectangle[3]]);
            return {index, lines: [text], size, x: at, y: middle, align, beside: true, whole: longest === longestName || text === titleOf(nodes[index])};
        }
    }
    return null;
}

/** Where the names of the nodes in that region are at that zoom; beside nodes within the bounds alone, and not where these say it is taken. */
function placeNames(region, zoom, bounds) {
    byImportance ??= nodes.map((_, i) => i).sort((a, b) =>
        nodes[b].parents.length + children[b].length - nodes[a].parents.length - children[a].length);
    const room = new Room(40 / zoom), heads = new Room(40 / zoom), placed = [], without = [];
    const drawn = byImportance.filter((i) => isIn(region, i));
    if (bounds.taken) room.take(bounds.taken);
    for (const i of drawn) {
        const [x, y, w, h] = boxes[i];
        room.take([x - w, y - h, x + w, y + h]);
    }
    if (linkStarts.length <= mostHeads) for (const i of linkStarts) heads.take(headBox(i));
    const named = drawn.filter((i) => !lit || lit.has(i));
    if (named.includes(selected)) named.unshift(...named.splice(named.indexOf(selected), 1));
    for (const i of named) {
        if (inPicture && beliefRows(i, zoom) > 0) continue;
        const within = inPicture ? null : nameWithin(i, zoom);
        if (within) placed.push(within);
        else without.push(i);
    }
    let beside = 0, failures = 0;
    for (const i of without) {
        const mayStand = beside < namesBeside && failures < mostFailures;
        const atSide = (longest) => (mayStand ? nameBesideNode(i, zoom, room, heads, bounds, longest) : null);
        const found = atSide(longestName) ?? (inPicture ? null : nameCut(i, zoom)) ?? atSide(shortName);
        beside += Number(Boolean(found?.beside));
        failures += Number(mayStand && !found);
        if (found) placed.push(found);
    }
    return placed;
}

const everywhere = {left: -Infinity, top: -Infinity, right: Infinity, bottom: Infinity};

/** What of a view of the whole net names may take. */
function roomForNames(target) {
    const [left, top, right, bottom] = inNet(belowBars(), target);
    return {left, top, right, bottom, taken: inNet(underTools(), target)};
}

/** The names for what is visible, placed for more than that: they stay where they are while it moves. */
function namesFor(visible) {
    const {left, top, right, bottom, zoom} = visible;
    const known = namesPlaced && namesPlaced.region;
    const same = known && namesPlaced.zoom === zoom && namesPlaced.boxes === boxes && namesPlaced.selected === selected && namesPlaced.lit === lit &&
        namesPlaced.fitted === fitted && left >= known.left && right <= known.right && top >= known.top && bottom <= known.bottom;
    if (!same) {
        const bounds = fitted ? roomForNames(view) : everywhere;
        const moreX = (right - left) / 2, moreY = (bottom - top) / 2;
        const region = {left: left - moreX, top: top - moreY, right: right + moreX, bottom: bottom + moreY};
        namesPlaced = {region, zoom, boxes, selected, lit, fitted, names: placeNames(region, zoom, bounds)};
    }
    return namesPlaced.names;
}

function drawNames(visible) {
    for (const {index, lines, size, x, y, align, beside} of namesFor(visible)) {
        if (!isIn(visible, index)) continue;
        setFont(size);
        pen.textAlign = align;
        pen.fillStyle = beside ? colors.text : inkOf(nodes[index]);
        lines.forEach((line, i) => {
            const base = y + (i - (lines.length - 1) / 2) * size * 1.25 + size * 0.35;
            if (beside) {  // so that links do not cross it out
                pen.lineWidth = 3 / visible.zoom;
                pen.strokeStyle = colors.canvas;
                pen.strokeText(line, x, base);
            }
            pen.fillText(line, x, base);
        });
    }
}

const mostNodesFitted = 500;

/** The frame with so much around it that the most nodes have their whole names when all of it is seen in the room. */
function frameForNames(room) {
    let best = null, most = -1;
    for (const part of [0, 0.06, 0.12]) {
        const x = frame.width * part, y = Math.min(frame.height * part, x / 2);
        const around = {left: frame.left - x, top: frame.top - y, width: frame.width + 2 * x, height: frame.height + 2 * y};
        const target = viewOf(around, room), seen = roomForNames(target);
        if (part === 0 && (isReadable(target.zoom) || nodes.length > mostNodesFitted)) return around;
        const whole = placeNames(seen, target.zoom, seen).filter((name) => name.whole).length;
        if (whole > most) [best, most] = [around, whole];
    }
    return best;
}
