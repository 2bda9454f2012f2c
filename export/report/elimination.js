
// ---- Order of elimination ------------------------------------------------------------------

const MostLog = 40;  // of what an order may need, in bits: what is larger is only said to be larger

/** A heap of variables by cost; a variable put in again counts with its last cost alone. */
class Queue {
    constructor(size) {
        this.heap = [];
        this.last = new Float64Array(size).fill(-1);
    }

    put(variable, cost) {
        const heap = this.heap;
        this.last[variable] = cost;
        let at = heap.length;
        heap.push([cost, variable]);
        for (let up; at > 0 && heap[at][0] < heap[up = (at - 1) >> 1][0]; at = up)
            [heap[at], heap[up]] = [heap[up], heap[at]];
    }

    takeLeast() {
        for (;;) {
            const [cost, variable] = this.pop();
            if (this.last[variable] !== cost) continue;
            this.last[variable] = -1;
            return variable;
        }
    }

    pop() {
        const heap = this.heap, least = heap[0], moved = heap.pop();
        if (heap.length === 0) return least;
        heap[0] = moved;
        for (let at = 0; ;) {
            let next = 2 * at + 1;
            if (next >= heap.length) return least;
            if (next + 1 < heap.length && heap[next + 1][0] < heap[next][0]) ++next;
            if (heap[at][0] <= heap[next][0]) return least;
            [heap[at], heap[next]] = [heap[next], heap[at]];
            at = next;
        }
    }
}

/** Links between the variables that a factor holds together. */
function moralGraph(size, scopes) {
    const near = Array.from({length: size}, () => new Set());
    for (const scope of scopes)
        for (const a of scope) for (const b of scope) if (a !== b) near[a].add(b);
    return near;
}

/** The links that eliminating the variable would add. */
function missingLinks(near, variable) {
    const around = [...near[variable]], missing = [];
    for (let i = 1; i < around.length; ++i)
        for (let j = 0; j < i; ++j) if (!near[around[i]].has(around[j])) missing.push([around[i], around[j]]);
    return missing;
}

/** What eliminating next costs: bits is the clique's size, fill the number of links it adds. */
const costs = {
    fill: (fill) => fill(),
    weight: (fill, bits) => 2 ** bits,
    both: (fill, bits) => fill() * 2 ** (bits / 2),
};

/**
 * Eliminates the variables, those of the lowest stage first, then the cheapest; equals in an order
 * that jitter mixes. Gives the cliques, each the variable and its neighbours then, and what they
 * need: entries of all cliques, bytes of the tables between them. `stopped`: more than mostEntries.
 */
function eliminate(logs, graph, cost, jitter, stages, mostEntries) {
    const near = graph.map((set) => new Set(set));
    const bits = near.map((set, v) => [...set].reduce((sum, u) => sum + logs[u], logs[v]));
    const queue = new Queue(near.length);
    const rank = (v) => {
        const tooLarge = bits[v] > MostLog;  // their links are not worth counting
        const own = tooLarge ? 1e12 * bits[v] : cost(() => missingLinks(near, v).length, bits[v]);
        queue.put(v, (own + 1e-6) * jitter() + stages[v] * 1e30);
    };
    near.forEach((_, v) => rank(v));
    const result = {cliques: [], bits: 0, entries: 0, bytes: 0, stopped: false};
    for (let left = near.length; left > 0; --left) {
        const v = queue.takeLeast();
        result.bits = Math.max(result.bits, bits[v]);
        result.entries += 2 ** bits[v];
        result.bytes += 8 * 2 ** (bits[v] - logs[v]);
        result.stopped = result.entries > mostEntries;
        if (result.stopped) return result;
        result.cliques.push([v, ...near[v]]);
        const changed = new Set(near[v]);
        for (const [a, b] of missingLinks(near, v)) {
            const [fewer, more] = near[a].size < near[b].size ? [near[a], near[b]] : [near[b], near[a]];
            for (const u of fewer) if (more.has(u)) changed.add(u);
            near[a].add(b);
            near[b].add(a);
            bits[a] += logs[b];
            bits[b] += logs[a];
        }
        for (const u of near[v]) {
            near[u].delete(v);
            bits[u] -= logs[v];
        }
        changed.delete(v);
        changed.forEach(rank);
    }
    return result;
}

/** Numbers from 0 to 1, the same every time. */
function randomNumbers(seed) {
    return () => (seed = (seed * 48271) % 2147483647) / 2147483647;
}

const plannedWork = 60000;  // variables that are eliminated to try orders
const hardEntries = 1e6;  // orders that need more are looked for longer

/**
 * The best of several orders: the fewest entries. The first round takes the costs as they are, the
 * others mix them more and more. stages: by variable, which are eliminated in earlier stages.
 */
function bestElimination(cards, scopes, stages = cards.map(() => 0)) {
    const logs = cards.map(Math.log2);
    const graph = moralGraph(cards.length, scopes.map((scope) => scope.filter((v) => cards[v] > 1)));
    const random = randomNumbers(1), rounds = Math.floor(plannedWork / 3 / (1 + cards.length));
    let best = null;
    for (let round = 0; round === 0 || round < Math.min(rounds, best.entries > hardEntries ? 60 : 6); ++round) {
        const mixed = [0, 1e-3, 0.3, 1, 2][Math.min(round, 1 + round % 4)];
        for (const cost of Object.values(costs)) {
            const made = eliminate(logs, graph, cost, () => 1 + mixed * random(), stages, best ? best.entries : 2 ** MostLog);
            if (!best || !made.stopped) best = made;
        }
        if (!best.stopped && best.entries < 20000) break;  // good enough
    }
    return best;
}
