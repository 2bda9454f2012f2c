
// ---- Trails between nodes ------------------------------------------------------------------

/**
 * Where information from a node gets to, given what is known: by state (twice the node, and one
 * more when reached from a parent) the state before. Known for certain are `known`; `hinted` is known in part.
 */
function activeTrails(from, known, hinted, parentsOf, childrenOf) {
    const open = reached([...known, ...hinted], parentsOf);  // what meets in them is connected
    const before = new Map([[2 * from, -1]]);
    for (const [state] of before) {
        const v = state >> 1, fromParent = state & 1;
        const go = (next) => { if (!before.has(next)) before.set(next, state); };
        if (!known.has(v)) for (const child of childrenOf(v)) go(2 * child + 1);
        if (fromParent ? open.has(v) : !known.has(v)) for (const parent of parentsOf(v)) go(2 * parent);
    }
    return before;
}

/** The nodes of a shortest active trail, from the one to the other; none when they are separated. */
function shortestTrail(from, to, known, hinted, parentsOf, childrenOf) {
    const before = activeTrails(from, known, hinted, parentsOf, childrenOf);
    const end = [...before.keys()].find((state) => state >> 1 === to);
    const trail = [];
    for (let at = end ?? -1; at >= 0; at = before.get(at)) trail.unshift(at >> 1);
    return trail;
}

// ---- Decisions -----------------------------------------------------------------------------

const MostRounds = 50;
const Equal = 1e-9;  // relative difference of expected utilities that is none

/**
 * The decisions of a net and what is known at each: everything known earlier and everything decided, when links
 * put all of them in one order; otherwise (open) their parents alone.
 */
class Decisions {
    constructor(net) {
        this.net = net;
        this.children = net.children;
        const below = new Map(net.decisions.map((d) => [d, reached([d], (v) => this.children[v])]));
        const before = (a, b) => below.get(a).has(b);
        this.order = [...net.decisions].sort((a, b) => below.get(b).size - below.get(a).size);
        this.open = this.order.filter((a) => this.order.some((b) => a !== b && !before(a, b) && !before(b, a)));
        this.limited = this.open.length > 0;
        this.given = new Map();
        const seen = (d) => net.nodes[d].parents.filter((p) => net.nodes[p].kind !== 'value' && net.nodes[p].states > 0);
        const known = new Set();
        for (const d of this.order) {
            seen(d).forEach((p) => known.add(p));
            this.given.set(d, this.limited ? seen(d) : [...known]);
            known.add(d);
        }
        this.weights = utilityWeights(net);
        for (const d of [...this.order].reverse()) this.given.set(d, this.needed(d));
    }

    parentsOf = (v) => this.given.get(v) ?? this.net.nodes[v].parents;
    get graph() {
        const children = this.net.nodes.map(() => []);
        this.net.nodes.forEach((_, v) => this.parentsOf(v).forEach((p) => children[p].push(v)));
        return children;
    }

    /** Of what is known at a decision all that can bear on the utilities below it. */
    needed(d) {
        const children = this.graph, known = this.given.get(d);
        const utilities = [...reached([d], (v) => children[v])].filter((v) => this.weights.has(v));
        return known.filter((x) => {
            const others = new Set([...known, d].filter((v) => v !== x));
            const trails = activeTrails(x, others, [], this.parentsOf, (v) => children[v]);
            return utilities.some((u) => trails.has(2 * u + 1));
        });
    }

    scopes() { return this.order.map((d) => [...this.given.get(d), d]); }

    /**
     * The policies given the evidence, which are taken as chosen where that is said of the decision.
     * Evidence below a decision that is still open comes after it and cannot guide it.
     */
    solve(evidence) {
        const made = new Map([...evidence].filter(([v]) => this.given.has(v)));
        const open = this.order.filter((d) => !made.has(d));
        const below = reached(open, (v) => this.children[v]);
        const before = [...evidence].filter(([v]) => !made.has(v) && !below.has(v));
        const late = [...evidence].filter(([v]) => !made.has(v) && below.has(v)).map(([v]) => v);
        this.factors = new Map(this.order.map((d) => [d, this.net.openDecision(d, made.get(d))]));
        const solution = {policies: new Map(), late, rounds: 1};
        if (this.limited) solution.rounds = this.improve(open, before, solution);
        else for (const d of [...open].reverse()) this.decide(d, before, solution);
        for (const d of open) [solution.policies.get(d).options] = this.values(d, [], before);
        return solution;
    }

    /** Improves one policy after the other until none gets better. */
    improve(open, evidence, solution) {
        for (let round = 1; ; ++round) {
            let changed = false;
            for (const d of open) changed = this.decide(d, evidence, solution) || changed;
            if (!changed || round === MostRounds) return round;
        }
    }

    /** Takes the best option for everything that may be known; says whether that changes something. */
    decide(d, evidence, solution) {
        const given = this.given.get(d), states = this.net.cards[d];
        const rows = this.values(d, given, evidence);
        const old = solution.policies.get(d)?.table;
        const table = new Float64Array(rows.length * states);
        let changed = !old;
        rows.forEach((expected, row) => {
            if (!expected) return void table.fill(1 / states, row * states, (row + 1) * states);  // never happens
            const most = Math.max(...expected), slack = Equal * Math.max(1, ...expected.map(Math.abs));
            let best = expected.findIndex((value) => value >= most - slack);
            const kept = old ? old.subarray(row * states, (row + 1) * states).indexOf(1) : -1;
            if (kept >= 0 && expected[kept] >= most - slack) best = kept;
            table[row * states + best] = 1;
            changed ||= best !== kept;
        });
        solution.policies.set(d, {node: d, given, table, values: rows});
        this.factors.set(d, {scope: [...given, d], node: d, table});
        return changed;
    }

    /** By what may be known the expected utility of every option; null where that never happens. */
    values(d, given, evidence) {
        const {net} = this, wanted = [...given, d], states = net.cards[d];
        const factors = [...net.factors, ...this.order.map((o) => (o === d ? net.openDecision(d) : this.factors.get(o)))];
        const parents = net.nodes.map((_, v) => this.parentsOf(v));
        for (const o of this.order) parents[o] = o === d ? [] : this.factors.get(o).scope.slice(0, -1);
        const probability = queried(net, factors, parents, evidence, wanted);
        const totals = new Float64Array(probability.table.length);
        for (const value of net.values) {
            const weight = this.weights.get(value.node);
            if (!weight || !value.table) continue;
            const table = Float64Array.from({length: value.table.length / value.states}, (_, row) => value.table[row * value.states]);
            const made = queried(net, factors, parents, evidence, wanted, {scope: value.scope, table});
            if (made.log === -Infinity) continue;
            const by = weight * Math.exp(made.log - probability.log);
            made.table.forEach((number, i) => { totals[i] += by * number; });
        }
        return Array.from({length: totals.length / states}, (_, row) => {
            const at = row * states, own = probability.table.subarray(at, at + states);
            return own.some((p) => p > 0) && probability.log > -Infinity
                ? Array.from(own, (p, s) => totals[at + s] / p) : null;
        });
    }
}

/** What a utility counts in the net's: those that are part of another with its weight. */
function utilityWeights(net) {
    const parts = new Map(net.values.filter((value) => value.parts).map((value) => [value.node, value.parts]));
    const within = new Set([...parts.values()].flat().map(([part]) => part));
    const weights = new Map();
    const add = (node, weight) => {
        if (!parts.has(node)) return void weights.set(node, (weights.get(node) ?? 0) + weight);
        for (const [part, own] of parts.get(node)) add(part, weight * own);
    };
    net.values.filter(({node}) => net.nodes[node].utility && !within.has(node)).forEach(({node}) => add(node, 1));
    return weights;
}

/** A query over the wanted variables: only what is above them, the evidence and the extra factor counts. */
function queried(net, factors, parents, evidence, wanted, extra = null) {
    const roots = [...wanted, ...[...evidence].map(([v]) => v), ...(extra ? extra.scope : [])];
    const above = reached(roots, (v) => parents[v] ?? []);
    const observed = new Map([...evidence].filter(([v, weights]) => isCertain(weights) && !wanted.includes(v))
        .map(([v, weights]) => [v, weights.findIndex((weight) => weight !== 0)]));
    const used = [...factors.filter((factor) => above.has(factor.node)), ...evidenceFactors(evidence), ...(extra ? [extra] : [])];
    return eliminateTo(used.map((factor) => sliced(factor, observed, net.cards)), wanted, net.cards);
}
