
// ---- Parts of the net, and groups folded ---------------------------------------------------
// A part is what a person wants to see alone; a folded group is one box, its links joined. What is
// shown then is laid out anew. Behind the nodes' boxes stand those of the folded groups.

const mostLaidOut = 500;  // nodes and groups; more keep their places
const foldedGroups = new Set();  // indices of groups
let part = null;  // the nodes that alone are shown; null: all
let clusters = [];  // folded groups that are shown: {group, members}
const nowhere = [Infinity, Infinity, 0, 0];  // the box of a node that is not shown

const isScene = () => part !== null || foldedGroups.size > 0;
const inPart = (index) => !part || part.has(index);
const foldedGroupOf = (index) => nodes[index].groups.find((group) => foldedGroups.has(group)) ?? -1;
const groupMembers = (group) => nodes.map((_, i) => i).filter((i) => nodes[i].groups.includes(group));
const clusterText = ({group, members}) => `${data.groups[group].name} (${members.length})`;

/** By node the index of the box that stands for it: its own, its group's, or -1. */
function representatives() {
    const places = new Map();
    clusters = [];
    return nodes.map((_, i) => {
        if (!inPart(i)) return -1;
        const group = foldedGroupOf(i);
        if (group < 0) return i;
        if (!places.has(group)) places.set(group, clusters.push({group, members: []}) - 1);
        clusters[places.get(group)].members.push(i);
        return nodes.length + places.get(group);
    });
}

/** Sizes, links and places of what is shown: {boxes, links, frame}. */
function arrangeScene() {
    const standsFor = representatives(), shown = [...new Set(standsFor.filter((box) => box >= 0))], place = new Map(shown.map((box, i) => [box, i]));
    const size = (box) => {
        if (box >= nodes.length) return [Math.max(40, textUnits(clusterText(clusters[box - nodes.length])) * picture.font.size / 2 + 14), picture.font.size * 1.3];
        return inPicture ? [beliefHalfWidth, beliefHeight(nodes[box]) / 2] : nodes[box].at.slice(2);
    };
    const items = shown.map((box) => {
        const [w, h] = size(box), round = !inPicture && nodes[box]?.kind === 'nature', slanted = !inPicture && nodes[box]?.kind === 'utility';
        const members = box < nodes.length ? [box] : clusters[box - nodes.length].members;
        const wasAt = members.reduce((sum, i) => sum + nodes[i].at[0], 0) / members.length;
        return {w, h, wasAt, port: (dx) => (round ? h * Math.sqrt(Math.max(0, 1 - (dx / w) ** 2)) : slanted ? Math.min(h, (w - Math.abs(dx)) / picture.slant) : h)};
    });
    const joined = new Map();
    nodes.forEach((node, child) => node.parents.forEach((parent) => {
        const a = place.get(standsFor[parent]), b = place.get(standsFor[child]);
        if (a !== undefined && b !== undefined && a !== b) joined.set(a * shown.length + b, [a, b]);
    }));
    const edges = [...joined.values()];
    const {at, courses, bounds} = shown.length <= mostLaidOut ? layeredLayout(items, edges) : keptLayout(shown, items, edges);
    const placed = Array(nodes.length + clusters.length).fill(nowhere);
    shown.forEach((box, i) => { placed[box] = [...at[i], items[i].w, items[i].h]; });
    return {
        boxes: placed, frame: frameOf([...bounds, ...placed]),
        links: edges.flatMap(([a, b], e) => [shown[a], shown[b], courses[e].length / 2, ...courses[e]]),
    };
}

/** Where there is too much to lay out: the places as they were, groups in the middle of theirs, straight links. */
function keptLayout(shown, items, edges) {
    const at = shown.map((box) => {
        if (box < nodes.length) return nodes[box].at.slice(0, 2);
        const {members} = clusters[box - nodes.length], mean = (k) => members.reduce((sum, i) => sum + nodes[i].at[k], 0) / members.length;
        return [mean(0), mean(1)];
    });
    const end = (v, [x, y]) => {
        const dx = x - at[v][0], dy = y - at[v][1], by = Math.min(items[v].w / Math.abs(dx), items[v].h / Math.abs(dy), 1);
        return [at[v][0] + dx * by || at[v][0], at[v][1] + dy * by || at[v][1]];
    };
    return {at, bounds: [], courses: edges.map(([a, b]) => [...end(a, at[b]), ...end(b, at[a])])};
}

/** Shows what is shown now, laid out anew. */
function sceneChanged() {
    namesPlaced = null;
    spreadPicture();
    fit();
    showScene();
    stateChanged();
}

/** Shows these nodes alone, or all (null). */
function showPart(shown) {
    part = shown && shown.size > 0 && shown.size < nodes.length ? new Set(shown) : null;
    sceneChanged();
    say(part ? `${count(part.size, 'node')} alone` : 'All nodes');
}

/** Shows alone what is lit; what is shown alone already gives way to all. */
function togglePart() {
    if (part) return showPart(null);
    if (!lit) return say('Choose relatives of a node, or a trail, first');
    showPart(lit);
}

function toggleFold(group) {
    if (!foldedGroups.delete(group)) foldedGroups.add(group);
    if (selected >= 0 && foldedGroupOf(selected) >= 0) select(-1, 'picture');
    sceneChanged();
    if (selected < 0) showDetails(-1);
    say(`${data.groups[group].name} ${foldedGroups.has(group) ? 'folded' : 'unfolded'}`);
}

/** Folds the groups of the selected node, or all; unfolds them all where some are folded and no node is selected. */
function toggleFolds() {
    if (data.groups.length === 0) return say('This net has no groups');
    if (selected >= 0 && nodes[selected].groups.length === 0) return say('This node is in no group');
    if (selected >= 0) return toggleFold(nodes[selected].groups[0]);
    if (foldedGroups.size > 0) foldedGroups.clear();
    else data.groups.forEach((_, group) => { if (groupMembers(group).length > 0) foldedGroups.add(group); });
    sceneChanged();
    showDetails(-1);
    say(foldedGroups.size > 0 ? 'All groups folded' : 'All groups unfolded');
}

/** A node that is selected is shown: its group unfolds, and a part without it ends. */
function revealSelected(index) {
    if (index < 0 || (inPart(index) && foldedGroupOf(index) < 0)) return;
    if (!inPart(index)) part = null;
    for (const group of nodes[index].groups) foldedGroups.delete(group);
    sceneChanged();
}

/** Says above the picture what part is shown. */
function showScene() {
    const parts = [];
    if (picture.insteadOf) parts.push(button('× automatic layout', switchLayout, {class: 'chip', title: `Where the file has the nodes, ${picture.insteadOf}: see them there (l)`}));
    if (part) parts.push(button(`× ${part.size.toLocaleString('en')} of ${count(nodes.length, 'node')}`, () => showPart(null), {class: 'chip', title: 'Show all nodes (n)'}));
    if (foldedGroups.size > 0) parts.push(button(`× ${count(foldedGroups.size, 'group')} folded`, () => { foldedGroups.clear(); sceneChanged(); if (selected < 0) showDetails(-1); },
        {class: 'chip', title: 'Unfold all groups (g)'}));
    byId('scene').replaceChildren(...parts);
}

function drawClusters(visible) {
    clusters.forEach((cluster, c) => {
        const box = nodes.length + c;
        if (!isScene() || !boxes[box] || !isIn(visible, box)) return;
        const [x, y, w, h] = boxes[box], size = Math.max(picture.font.size, 8 / visible.zoom);
        for (const away of [4, 0]) {  // as a pile
            pen.beginPath();
            pen.rect(x - w + away, y - h + away, 2 * w, 2 * h);
            pen.fillStyle = forced ? colors.canvas : data.groups[cluster.group].color;
            pen.fill();
            pen.strokeStyle = colors.outline;
            pen.lineWidth = 1;
            pen.stroke();
        }
        writeText(clusterText(cluster), x, y + size * 0.35, size, 2 * w - 6, 'center', forced ? colors.text : inkOn(data.groups[cluster.group].color));
    });
}

/** Black or white, whichever reads better on the colour. */
function inkOn(color) {
    const [r, g, b] = [1, 3, 5].map((at) => parseInt(color.slice(at, at + 2), 16) / 255).map((c) => (c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4));
    return 0.2126 * r + 0.7152 * g + 0.0722 * b > 0.179 ? '#000000' : '#ffffff';
}

/** The buttons of a group. */
function groupButtons(group) {
    if (groupMembers(group).length === 0) return [];
    return [
        button(foldedGroups.has(group) ? 'Unfold' : 'Fold', () => toggleFold(group), {'aria-label': `${foldedGroups.has(group) ? 'Unfold' : 'Fold'} ${data.groups[group].name}`}),
        button('Alone', () => showPart(new Set(groupMembers(group))), {'aria-label': `Show ${data.groups[group].name} alone`}),
    ];
}

const sceneNames = (set) => [...set].map((index) => encodeURIComponent(nodes[index].name)).join(';');

function takePart(text) {
    const names = new Map(nodes.map((node, i) => [node.name, i]));
    const found = text.split(';').map((name) => names.get(decoded(name))).filter((index) => index !== undefined);
    showPart(found.length > 0 ? new Set(found) : null);
}

function takeFolded(text) {
    foldedGroups.clear();
    text.split(';').filter(Boolean).map(Number).filter((group) => data.groups[group]).forEach((group) => foldedGroups.add(group));
    sceneChanged();
}

listeners.push(revealSelected);
