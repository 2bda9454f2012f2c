'use strict';
// Exact inference in a junction tree. It runs in a worker of its own and knows nothing of the page:
//   in:  {net: [{states, parents, kind, table, parameters}]}, once (kind: chance, decision or value), then {evidence: [[node, state]]}
//   out: {plan}, then {beliefs} for every evidence; see planNet and propagate.

const MostEntries = 2 ** 20;  // of a clique
const MostLog = 40;  // of a clique, in bits: what is larger is only said to be larger
const RowTolerance = 1e-5;  // by which a row's sum may miss one unnoticed

// ---- Factors of the net --------------------------------------------------------------------

const product = (numbers) => numbers.reduce((a, b) => a * b, 1);

/** The full table of a noisy-max node: the largest of independent draws of its causes and leak. */
function noisyMaxTable(parameters, states, parentStates) {
    const atMost = [];  // a distribution after the other, each summed up
    parameters.forEach((p, i) => atMost.push(p + (i % states ? atMost[i - 1] : 0)));
    const causes = [];  // where a parent's distributions start
    let leak = 0;
    for (const count of parentStates) {
        causes.push(leak);
        leak += (count - 1) * states;
    }
    const table = new Float64Array(product(parentStates) * states);
    for (let row = 0; row * states < table.length; ++row) {
        const used = [leak];
        for (let i = parentStates.length - 1, rest = row; i >= 0; --i) {
            const state = rest % parentStates[i];
            rest = (rest - state) / parentStates[i];
            if (state > 0) used.push(causes[i] + (state - 1) * states);
        }
        let below = 0;
        for (let s = 0; s < states; ++s) {
            const upTo = product(used.map((from) => atMost[from + s]));
            table[row * states + s] = Math.max(0, upTo - below);
            below = upTo;
        }
    }
    return table;
}

/** Scales the rows to sum one, rows of zeros to be uniform; counts those that needed it. */
function normalizedTable(table, states, notes) {
    const result = Float64Array.from(table);
    for (let from = 0; from < result.length; from += states) {
        let sum = 0;
        for (let s = 0; s < states; ++s) sum += result[from + s];
        if (Math.abs(sum - 1) > RowTolerance) ++notes[sum > 0 ? 'scaledRows' : 'emptyRows'];
        for (let s = 0; s < states; ++s) result[from + s] = sum > 0 ? result[from + s] / sum : 1 / states;
    }
    return result;
}

/**
 * What the nodes say: probability factors, and the values of utilities. A node without a table and
 * a decision are uniform whatever their parents. Factors get their tables when makeTables is
 * called: the tree alone shows whether there is room for them.
 */
function factorsOf(nodes) {
    const notes = {decisions: 0, withoutTable: 0, withoutStates: 0, scaledRows: 0, emptyRows: 0};
    const cards = nodes.map((node) => Math.max(1, node.states));
    const factors = [], values = [];
    nodes.forEach((node, i) => {
        const rows = product(node.parents.map((parent) => cards[parent]));
        const whole = node.table && node.table.length === rows * cards[i];
        const told = node.kind === 'chance' && node.states > 0 && (whole || node.parameters);
        factors.push({scope: told ? [...node.parents, i] : [i], node: i, told});
        if (node.kind === 'value') {
            if (whole) values.push({node: i, scope: node.parents, states: cards[i], table: node.table});
        } else if (node.states === 0) {
            ++notes.withoutStates;
        } else if (!told) {
            ++notes[node.kind === 'decision' ? 'decisions' : 'withoutTable'];
        }
    });
    const makeTables = () => factors.forEach((factor) => {
        const node = nodes[factor.node], states = cards[factor.node];
        if (!factor.told) return void (factor.table = new Float64Array(states).fill(1 / states));
        const table = node.table || noisyMaxTable(node.parameters, states, node.parents.map((p) => cards[p]));
        factor.table = normalizedTable(table, states, notes);
    });
    return {cards, factors, values, notes, makeTables};
}

// ---- Order of elimination ------------------------------------------------------------------

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
    weight: (fill, bits) => bits,
    both: (fill, bits) => fill() * 2 ** (bits / 2),
};

/**
 * Eliminates the variables, the cheapest first, equals in an order that jitter mixes. Gives the
 * cliques, each the variable and its neighbours then; with `stopped` when one needs more bits.
 */
function eliminate(logs, graph, cost, jitter, mostBits) {
    const near = graph.map((set) => new Set(set));
    const bits = near.map((set, v) => [...set].reduce((sum, u) => sum + logs[u], logs[v]));
    const queue = new Queue(near.length);
    const rank = (v) => {
        const tooLarge = bits[v] > MostLog;  // their links are not worth counting
        const own = tooLarge ? 1e12 * bits[v] : cost(() => missingLinks(near, v).length, bits[v]);
        queue.put(v, (own + 1e-6) * (1 + 1e-3 * jitter()));
    };
    near.forEach((_, v) => rank(v));
    const result = {cliques: [], bits: 0, entries: 0, stopped: false};
    for (let left = near.length; left > 0; --left) {
        const v = queue.takeLeast();
        result.bits = Math.max(result.bits, bits[v]);
        result.stopped = bits[v] > mostBits + 1e-9;
        if (result.stopped) return result;
        result.entries += 2 ** bits[v];
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

/** The best of several orders: the smallest largest clique, then the fewest entries. */
function bestElimination(cards, scopes) {
    const logs = cards.map(Math.log2);
    const graph = moralGraph(cards.length, scopes.map((scope) => scope.filter((v) => cards[v] > 1)));
    const tries = Math.max(1, Math.min(10, Math.floor(6000 / cards.length)));
    let seed = 1, best = null;
    const jitter = () => (seed = (seed * 48271) % 2147483647) / 2147483647;
    for (let round = 0; round < tries; ++round) {
        for (const cost of Object.values(costs)) {
            const limit = best && !best.stopped ? best.bits : MostLog;
            const made = eliminate(logs, graph, cost, round === 0 ? () => 0 : jitter, limit);
            const better = !best || (best.stopped && !made.stopped) || (best.stopped === made.stopped &&
                (made.bits < best.bits - 1e-9 || (made.bits < best.bits + 1e-9 && made.entries < best.entries)));
            if (better) best = made;
        }
        if (!best.stopped && best.entries < 20000) break;  // good enough
    }
    return best;
}

// ---- The junction tree ---------------------------------------------------------------------

/** The stride of each of the variables in a table over the scope, the last running fastest. */
function stridesIn(scope, cards, variables) {
    const strides = new Map();
    for (let i = scope.length - 1, stride = 1; i >= 0; --i) {
        strides.set(scope[i], stride);
        stride *= cards[scope[i]];
    }
    return variables.map((v) => strides.get(v) ?? 0);
}

/**
 * The tree of the elimination's cliques, without those that another contains. Cliques come before
 * their parents. home: by variable, the clique where it was eliminated.
 */
function junctionTree(elimination, cards) {
    const {cliques} = elimination;
    const place = new Int32Array(cards.length);
    cliques.forEach(([v], i) => { place[v] = i; });
    const parents = cliques.map(([, ...rest]) => rest.reduce((least, u) => Math.min(least, place[u]), Infinity));
    // A clique that its child contains becomes part of the child.
    const host = cliques.map((_, i) => i);
    const taken = new Uint8Array(cliques.length);
    cliques.forEach((clique, i) => {
        const parent = parents[i];
        if (parent === Infinity || taken[parent] || cliques[parent].length !== clique.length - 1) return;
        host[parent] = host[i];
        taken[parent] = 1;
    });
    // A merged clique hangs where its last part does; in the order of those, parents come last.
    const last = new Map();
    host.forEach((h, i) => last.set(h, i));
    const order = [...last.keys()].sort((a, b) => last.get(a) - last.get(b));
    const index = new Map(order.map((h, i) => [h, i]));
    const tree = order.map((h) => {
        const scope = [...cliques[h]].sort((a, b) => cards[a] - cards[b]);
        const up = parents[last.get(h)];
        return {
            scope, cards: scope.map((v) => cards[v]), size: product(scope.map((v) => cards[v])), children: [],
            parent: up === Infinity ? -1 : index.get(host[up]), separator: cliques[last.get(h)].slice(1),
            factors: [], values: [], variables: [],
        };
    });
    const home = new Int32Array(cards.length);
    cliques.forEach(([v], i) => {
        home[v] = index.get(host[i]);
        tree[home[v]].variables.push(v);
    });
    tree.forEach((clique, i) => {
        clique.down = stridesIn(clique.separator, cards, clique.scope);
        if (clique.parent < 0) return;
        clique.up = stridesIn(clique.separator, cards, tree[clique.parent].scope);
        tree[clique.parent].children.push(i);
    });
    const homeOf = (scope) => {
        const varying = scope.filter((v) => cards[v] > 1);
        return tree[home[varying.reduce((least, v) => (place[v] < place[least] ? v : least), varying[0] ?? scope[0])]];
    };
    return {tree, homeOf};
}

/** Walks through a table a run along its last dimension at a time, and by the strides through another. */
function walk(cards, strides, run) {
    const last = cards.length - 1;
    const digits = new Int32Array(last);
    for (let from = 0, at = 0; ; from += cards[last]) {
        run(from, at, strides[last]);
        let d = last - 1;
        for (; d >= 0; --d) {
            at += strides[d];
            if (++digits[d] < cards[d]) break;
            at -= strides[d] * cards[d];
            digits[d] = 0;
        }
        if (d < 0) return;
    }
}

function multiply(buffer, cards, table, strides) {
    const length = cards[cards.length - 1];
    walk(cards, strides, (from, at, step) => {
        for (let i = 0; i < length; ++i) buffer[from + i] *= table[at + i * step];
    });
}

function sumInto(sums, buffer, cards, strides) {
    const length = cards[cards.length - 1];
    walk(cards, strides, (from, at, step) => {
        for (let i = 0; i < length; ++i) sums[at + i * step] += buffer[from + i];
    });
    return sums;
}

function scale(values, by) {
    for (let i = 0; i < values.length; ++i) values[i] *= by;
    return values;
}
function sum(values) {
    let total = 0;
    for (let i = 0; i < values.length; ++i) total += values[i];
    return total;
}
function largest(values) {
    let most = 0;
    for (let i = 0; i < values.length; ++i) if (values[i] > most) most = values[i];
    return most;
}

class Tree {
    constructor({cards, factors, values}, elimination) {
        const {tree, homeOf} = junctionTree(elimination, cards);
        this.cards = cards;
        this.tree = tree;
        this.constants = values.filter((value) => value.scope.length === 0);
        for (const factor of factors) {
            const clique = homeOf(factor.scope);
            clique.factors.push({table: factor.table, strides: stridesIn(factor.scope, cards, clique.scope)});
        }
        for (const value of values) {
            if (value.scope.length === 0) continue;
            const clique = homeOf(value.scope);
            clique.values.push({...value, strides: stridesIn(value.scope, cards, clique.scope)});
        }
        this.buffer = new Float64Array(tree.reduce((most, clique) => Math.max(most, clique.size), 1));
    }

    /** The product of all that a clique knows: factors, evidence, its children's messages, extra. */
    potential(clique, evidence, messages, extra) {
        const buffer = this.buffer.subarray(0, clique.size).fill(1);
        let log = 0, done = 0;
        const take = (table, strides) => {
            multiply(buffer, clique.cards, table, strides);
            if (++done % 8) return;  // many small numbers would vanish
            const most = largest(buffer);
            if (most > 0) scale(buffer, 1 / most);
            log += most > 0 ? Math.log(most) : 0;
        };
        for (const v of clique.variables) {
            if (!evidence.has(v)) continue;
            const told = new Float64Array(this.cards[v]);
            told[evidence.get(v)] = 1;
            take(told, stridesIn([v], this.cards, clique.scope));
        }
        for (const {table, strides} of clique.factors) take(table, strides);
        for (const child of clique.children) take(messages[child], this.tree[child].up);
        if (extra) take(extra, clique.down);
        return {buffer, log};
    }

    /** Messages to the parents; the logarithm of the evidence's probability, or null: impossible. */
    collect(evidence) {
        const messages = [];
        let log = 0;
        for (const clique of this.tree) {
            const made = this.potential(clique, evidence, messages, null);
            const entries = product(clique.separator.map((v) => this.cards[v]));
            const message = sumInto(new Float64Array(entries), made.buffer, clique.cards, clique.down);
            const total = sum(message);
            if (!(total > 0)) return {messages, log: null};
            messages.push(scale(message, 1 / total));
            log += made.log + Math.log(total);
        }
        return {messages, log};
    }

    /** The nodes' distributions, and the expectations of utilities, given the evidence. */
    distribute(evidence, up, beliefs, expectations) {
        const down = [];
        for (let i = this.tree.length - 1; i >= 0; --i) {
            const clique = this.tree[i];
            const {buffer} = this.potential(clique, evidence, up, down[i]);
            down[i] = null;
            scale(buffer, 1 / sum(buffer));
            for (const v of clique.variables)
                beliefs[v] = sumInto(new Float64Array(this.cards[v]), buffer, clique.cards, stridesIn([v], this.cards, clique.scope));
            for (const value of clique.values) {
                const rows = new Float64Array(value.table.length / value.states);
                sumInto(rows, buffer, clique.cards, value.strides);
                expectations.push([value.node, expectation(value, rows)]);
            }
            for (const child of clique.children) {
                const message = sumInto(new Float64Array(up[child].length), buffer, clique.cards, this.tree[child].up);
                for (let k = 0; k < message.length; ++k) message[k] = up[child][k] > 0 ? message[k] / up[child][k] : 0;
                down[child] = scale(message, 1 / largest(message));
            }
        }
    }

    propagate(evidence) {
        const started = performance.now();
        const {messages, log} = this.collect(evidence);
        const beliefs = [], expectations = this.constants.map((value) => [value.node, expectation(value, [1])]);
        if (log !== null) this.distribute(evidence, messages, beliefs, expectations);
        return {possible: log !== null, log, beliefs, expectations, milliseconds: performance.now() - started};
    }
}

/** The mean over the rows, one number a state of the utility (or one in all). */
function expectation(value, rows) {
    return Array.from({length: value.states}, (_, s) =>
        rows.reduce((total, p, row) => total + (p > 0 ? p * value.table[row * value.states + s] : 0), 0));
}

// ---- The worker ----------------------------------------------------------------------------

/** A plan: whether the net fits, what it needs, and what was taken for what; and its tree. */
function planNet(nodes) {
    const started = performance.now();
    const net = factorsOf(nodes);
    const scopes = [...net.factors, ...net.values].map((part) => part.scope);
    const best = bestElimination(net.cards, scopes);
    const fits = !best.stopped && 2 ** best.bits <= MostEntries + 0.5;
    if (fits) net.makeTables();
    const tree = fits ? new Tree(net, best) : null;
    const plan = {
        fits, largest: Math.round(2 ** best.bits), atLeast: best.stopped, total: best.entries, most: MostEntries,
        notes: net.notes, milliseconds: performance.now() - started,
    };
    return {plan, tree};
}

let tree = null;
self.onmessage = ({data}) => {
    if (data.net) {
        const made = planNet(data.net);
        tree = made.tree;
        self.postMessage({plan: made.plan});
    } else {
        self.postMessage({beliefs: tree.propagate(new Map(data.evidence))});
    }
};
