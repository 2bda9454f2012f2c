
// ---- A layout in layers --------------------------------------------------------------------
// For what a person picks out of the net: parents above children, few crossings, links round the
// nodes between. Items are {w, h, wasAt, port(dx)}: half their sizes, the place beside others to start from, how far above or below the middle the border is there.

const layerGap = 46, itemGap = 16, linkRoom = 7;
const orderSweeps = 16, placeSweeps = 24;

/** The edges without cycles: those that close one are turned round. */
function withoutCycles(count, edges) {
    const below = Array.from({length: count}, () => []), state = new Uint8Array(count), turned = new Set();
    edges.forEach(([a, b], e) => below[a].push([b, e]));
    for (let start = 0; start < count; ++start) {
        const stack = state[start] ? [] : [[start, 0]];
        state[start] ||= 1;
        while (stack.length > 0) {
            const top = stack[stack.length - 1], next = below[top[0]][top[1]++];
            if (!next) state[stack.pop()[0]] = 2;
            else if (state[next[0]] === 1) turned.add(next[1]);
            else if (state[next[0]] === 0) {
                state[next[0]] = 1;
                stack.push([next[0], 0]);
            }
        }
    }
    return edges.map(([a, b], e) => (turned.has(e) ? [b, a] : [a, b]));
}

/** By item its layer: below all its parents, and close to its children where it has no parents. */
function layersOf(count, edges) {
    const layer = new Int32Array(count), waiting = new Int32Array(count), below = Array.from({length: count}, () => []);
    for (const [a, b] of edges) {
        below[a].push(b);
        ++waiting[b];
    }
    const roots = [...waiting.keys()].filter((v) => waiting[v] === 0), order = [...roots];
    for (const v of order) for (const child of below[v]) {
        layer[child] = Math.max(layer[child], layer[v] + 1);
        if (--waiting[child] === 0) order.push(child);
    }
    for (const v of roots) if (below[v].length > 0) layer[v] = Math.min(...below[v].map((child) => layer[child])) - 1;
    return layer;
}

/** Moves childless items of layers that are too wide into layers of their own below. */
function wrapFans(layer, items, edges) {
    const area = items.reduce((sum, {w, h}) => sum + (2 * w + itemGap) * (2 * h + layerGap), 0), most = Math.max(700, Math.sqrt(2 * area));
    const parents = new Set(edges.map(([a]) => a)), width = (list) => list.reduce((sum, v) => sum + 2 * items[v].w + itemGap, 0);
    for (let l = 0; l <= Math.max(...layer); ++l) {
        const row = [...layer.keys()].filter((v) => layer[v] === l);
        const childless = row.filter((v) => !parents.has(v)).sort((a, b) => items[a].wasAt - items[b].wasAt);
        const rows = Math.ceil(width(childless) / Math.max(most / 3, most - width(row) + width(childless)));
        if (width(row) <= most || rows < 2) continue;
        layer.forEach((own, v) => { if (own > l) layer[v] += rows - 1; });
        childless.forEach((v, i) => { layer[v] = l + i % rows; });
        l += rows - 1;
    }
}

/** Links between two neighbouring layers that cross. */
function crossingsBetween(upper, lower, above) {
    const place = new Map(upper.map((v, i) => [v, i])), ends = [];
    for (const v of lower) ends.push(...above[v].map((u) => place.get(u)).sort((a, b) => a - b));
    let crossings = 0;
    for (let i = 1; i < ends.length; ++i) for (let j = 0; j < i; ++j) if (ends[j] > ends[i]) ++crossings;
    return crossings;
}

/** Puts every layer in the order of its neighbours' means, downwards and upwards; the order that crosses least is kept. */
function orderLayers(layers, above, below) {
    const total = () => layers.reduce((sum, layer, i) => sum + (i > 0 ? crossingsBetween(layers[i - 1], layer, above) : 0), 0);
    let best = layers.map((layer) => [...layer]), least = total();
    for (let sweep = 0; sweep < orderSweeps && least > 0; ++sweep) {
        const down = sweep % 2 === 0, near = down ? above : below;
        for (let k = 1; k < layers.length; ++k) {
            const i = down ? k : layers.length - 1 - k, other = layers[down ? i - 1 : i + 1], place = new Map(other.map((v, at) => [v, at]));
            const mean = new Map(layers[i].map((v, at) => [v, near[v].length > 0 ? near[v].reduce((sum, u) => sum + place.get(u), 0) / near[v].length : at]));
            layers[i].sort((a, b) => mean.get(a) - mean.get(b));
        }
        const now = total();
        if (now < least) [best, least] = [layers.map((layer) => [...layer]), now];
    }
    return best;
}

/** The places nearest to the wanted ones that keep the order and the distances: runs that push each other move as one. */
function placesNear(wanted, apart, weights) {
    const runs = [];
    let shift = 0;
    wanted.forEach((at, i) => {
        shift += apart[i];
        runs.push({first: i, sum: (at - shift) * weights[i], weight: weights[i]});
        while (runs.length > 1) {
            const [a, b] = runs.slice(-2);
            if (a.sum / a.weight <= b.sum / b.weight) break;
            runs.splice(-2, 2, {first: a.first, sum: a.sum + b.sum, weight: a.weight + b.weight});
        }
    });
    const places = [];
    shift = 0;
    let run = -1;
    for (let i = 0; i < wanted.length; ++i) {
        shift += apart[i];
        if (runs[run + 1]?.first === i) ++run;
        places.push(runs[run].sum / runs[run].weight + shift);
    }
    return places;
}

/** Moves parts without links between them side by side, each as a whole, as close as their layers allow. */
function closeUp(x, widths, layer, above, below) {
    const met = new Set(), parts = [];
    for (let v = 0; v < x.length; ++v) {
        if (met.has(v)) continue;
        const own = new Set([v]);
        for (const u of own) for (const next of [...above[u], ...below[u]]) own.add(next);
        own.forEach((u) => met.add(u));
        parts.push({own: [...own], middle: [...own].reduce((sum, u) => sum + x[u], 0) / own.size});
    }
    const right = [];
    for (const {own} of parts.sort((a, b) => a.middle - b.middle)) {
        const shift = own.reduce((most, v) => Math.max(most, (right[layer[v]] ?? -Infinity) + itemGap - (x[v] - widths[v])), -Infinity);
        for (const v of own) if (shift > -Infinity) x[v] += shift;
        for (const v of own) right[layer[v]] = Math.max(right[layer[v]] ?? -Infinity, x[v] + widths[v]);
    }
}

/** {at: [x, y] of every item, courses: by edge the numbers of a course as links have it, bounds}. */
function layeredLayout(items, edges) {
    const count = items.length, acyclic = withoutCycles(count, edges), layer = [...layersOf(count, acyclic)];
    wrapFans(layer, items, acyclic);
    const widths = items.map(({w}) => w), heights = items.map(({h}) => h), above = items.map(() => []), below = items.map(() => []);
    const chains = acyclic.map(([a, b]) => {
        const chain = [a];
        for (let l = layer[a] + 1; l < layer[b]; ++l) {
            chain.push(widths.length);
            widths.push(linkRoom);
            heights.push(0);
            layer.push(l);
            above.push([]);
            below.push([]);
        }
        chain.push(b);
        chain.forEach((v, i) => {
            if (i === 0) return;
            above[v].push(chain[i - 1]);
            below[chain[i - 1]].push(v);
        });
        return chain;
    });
    const layers = Array.from({length: Math.max(0, ...layer) + 1}, () => []);
    const wasAt = items.map((item) => item.wasAt);
    for (const chain of chains) {
        const from = wasAt[chain[0]], to = wasAt[chain[chain.length - 1]];
        chain.slice(1, -1).forEach((v, i) => { wasAt[v] = from + (to - from) * (i + 1) / (chain.length - 1); });
    }
    layer.forEach((l, v) => layers[l].push(v));
    for (const row of layers) row.sort((a, b) => wasAt[a] - wasAt[b]);
    const ordered = orderLayers(layers, above, below), x = new Float64Array(widths.length), y = new Float64Array(widths.length);
    const apartIn = (row) => row.map((v, i) => (i > 0 ? widths[row[i - 1]] + widths[v] + (v < count && row[i - 1] < count ? itemGap : itemGap / 2) : 0));
    for (const row of ordered) placesNear(row.map(() => 0), apartIn(row), row.map(() => 1)).forEach((at, i) => { x[row[i]] = at; });
    for (let sweep = 0; sweep < placeSweeps; ++sweep) {
        for (const row of sweep % 2 ? [...ordered].reverse() : ordered) {
            const wanted = row.map((v) => {
                const near = sweep > placeSweeps - 9 ? [...above[v], ...below[v]] : sweep % 2 ? below[v] : above[v];
                return near.length > 0 ? near.reduce((sum, u) => sum + x[u], 0) / near.length : x[v];
            });
            placesNear(wanted, apartIn(row), row.map((v) => (v < count ? 1 : 8))).forEach((at, i) => { x[row[i]] = at; });
        }
    }
    closeUp(x, widths, layer, above, below);
    let top = 0;
    const bands = ordered.map((row) => {
        const half = Math.max(0, ...row.map((v) => heights[v])), band = [top, top + 2 * half];
        for (const v of row) y[v] = top + half;
        top += 2 * half + layerGap + 3 * Math.sqrt(row.length);
        return band;
    });
    const ports = portsOf(items, chains, x);
    const courses = chains.map((chain, e) => {
        const points = chain.flatMap((v, i) => {
            const [from, to] = bands[layer[v]];
            if (v >= count) return [[x[v], from], [x[v], to]];
            const at = x[v] + ports[e][i === 0 ? 0 : 1], away = items[v].port(at - x[v]);
            return i === 0 ? [[at, y[v] + away], [at, to]] : [[at, from], [at, y[v] - away]];
        });
        if (acyclic[e][0] !== edges[e][0]) points.reverse();
        return courseThrough(points);
    });
    return {at: items.map((_, v) => [x[v], y[v]]), courses, bounds: [...x.keys()].map((v) => [x[v], y[v], widths[v], heights[v]])};
}

/** By edge how far from their middles it leaves its upper and meets its lower item: side by side in the order of the others' places. */
function portsOf(items, chains, x) {
    const ports = chains.map(() => [0, 0]);
    for (const end of [0, 1]) {
        const at = items.map(() => []);
        chains.forEach((chain, e) => at[end === 0 ? chain[0] : chain[chain.length - 1]].push(e));
        const next = (e) => (end === 0 ? chains[e][1] : chains[e][chains[e].length - 2]);
        at.forEach((own, v) => {
            const step = Math.min(12, 1.2 * items[v].w / own.length);
            own.sort((a, b) => x[next(a)] - x[next(b)]).forEach((e, i) => { ports[e][end] = (i - (own.length - 1) / 2) * step; });
        });
    }
    return ports;
}

/** Straight where two points stand above each other, else a curve that leaves and arrives upright. */
function courseThrough(all) {
    const points = all.filter(([x, y], i) => i === 0 || Math.hypot(x - all[i - 1][0], y - all[i - 1][1]) > 0.05);
    const numbers = [...points[0]];
    for (let i = 1; i < points.length; ++i) {
        const [ax, ay] = points[i - 1], [bx, by] = points[i], middle = (ay + by) / 2;
        if (Math.abs(ax - bx) < 0.05) numbers.push(ax, ay + (by - ay) / 3, bx, ay + (by - ay) * 2 / 3, bx, by);
        else numbers.push(ax, middle, bx, middle, bx, by);
    }
    return numbers;
}
