
// ---- Questions -----------------------------------------------------------------------------

/** The likeliest states of all nodes together, given the evidence: {states, log}. */
function mostProbable(net, factors, evidence) {
    const buckets = [];
    const {log} = eliminateTo([...factors, ...evidenceFactors(evidence)], [], net.cards, {
        into: (v) => (net.isHidden(v) ? sumInto : maxInto), stage: (v) => Number(!net.isHidden(v)), buckets,
    });
    const states = new Int32Array(net.cards.length);
    if (log === -Infinity) return {states: null, log};
    for (const {variable, bucket} of buckets.reverse()) {
        if (net.isHidden(variable)) continue;
        const weights = new Float64Array(net.cards[variable]);
        weights.forEach((_, s) => {
            states[variable] = s;
            weights[s] = bucket.reduce((total, {scope, table}) =>
                total + Math.log(table[scope.reduce((at, v) => at * net.cards[v] + states[v], 0)]), 0);
        });
        states[variable] = weights.indexOf(Math.max(...weights));
    }
    return {states: states.slice(0, net.nodes.length), log};
}

/** The mutual information, in bits, of what p says of two variables: rows of the first, given as numbers that sum to one. */
function information(joint, columns) {
    const rows = joint.length / columns, below = new Float64Array(columns), beside = new Float64Array(rows);
    joint.forEach((p, i) => {
        below[i % columns] += p;
        beside[Math.floor(i / columns)] += p;
    });
    const bits = joint.reduce((total, p, i) => total + (p > 0 ? p * Math.log2(p / (below[i % columns] * beside[Math.floor(i / columns)])) : 0), 0);
    return Math.max(0, bits);
}

/** How strongly links tie parents to children, by child a number a parent; null where no number says it. */
class Strengths {
    constructor(net, beliefs) {
        Object.assign(this, {net, beliefs});
    }

    of(child, measure) {
        const {net} = this, node = net.nodes[child], value = net.values.find((one) => one.node === child);
        if (value && value.table) return node.parents.map((_, k) => this.reach(value, k));
        const rule = net.rules[child];
        const dense = rule && sizeOf(node.parents, net.cards) * node.states > 1e6 ? null : rule ? rule.table() : net.tables[child];
        const whole = dense && dense.length === sizeOf([...node.parents, child], net.cards);
        if (!whole && !rule) return node.parents.map(() => null);
        return node.parents.map((parent, k) => (measure === 'information' ? this.shared(child, k, dense) : this.distance(child, k, dense)));
    }

    beliefOf(v) { return this.beliefs?.[v] ?? new Float64Array(this.net.cards[v]).fill(1 / this.net.cards[v]); }

    /** What the child tells about the parent when the parents are independent, as the distributions are now. */
    shared(child, k, dense) {
        const {net} = this, {parents} = net.nodes[child], columns = net.cards[child], own = this.beliefOf(parents[k]);
        const joint = new Float64Array(own.length * columns);
        if (dense) {
            const inputs = [{scope: [...parents, child], table: dense}, ...parents.map((p) => ({scope: [p], table: this.beliefOf(p)}))];
            combine([...parents, child], net.cards, inputs, [{scope: [parents[k], child], table: joint}]);
            return information(scale(joint, 1 / sum(joint)), columns);
        }
        own.forEach((p, state) => {
            const certain = own.map((_, s) => Number(s === state));
            const row = net.rules[child].mean(parents.map((parent, j) => (j === k ? certain : this.beliefOf(parent))));
            row.forEach((q, s) => { joint[state * columns + s] = p * q; });
        });
        return information(joint, columns);
    }

    /** The largest distance between two rows that differ in the parent's state alone: half the sum of differences. */
    distance(child, k, dense) {
        const {net} = this, {parents} = net.nodes[child], columns = net.cards[child];
        if (!dense) {  // the others cover least in their first states
            const rule = net.rules[child], rows = Array.from({length: net.cards[parents[k]]}, (_, state) => {
                const row = new Float64Array(columns);
                rule.larger(rule.leakAlone(), rule.drawOf(k, state), row, 0);
                return row;
            });
            return this.farthest(rows.length, (a, b) => rows[a].reduce((total, p, s) => total + Math.abs(p - rows[b][s]) / 2, 0));
        }
        return this.overRows(parents, k, (row, step, count) => this.farthest(count, (a, b) => {
            let total = 0;
            for (let s = 0; s < columns; ++s) total += Math.abs(dense[(row + a * step) * columns + s] - dense[(row + b * step) * columns + s]);
            return total / 2;
        }));
    }

    /** A utility's largest change by the parent alone, beside the whole range. */
    reach({scope, states, table}, k) {
        const first = Array.from({length: table.length / states}, (_, row) => table[row * states]);
        const range = first.reduce((most, v) => Math.max(most, v), -Infinity) - first.reduce((least, v) => Math.min(least, v), Infinity);
        return range > 0 ? this.overRows(scope, k, (row, step, count) =>
            this.farthest(count, (a, b) => Math.abs(first[row + a * step] - first[row + b * step]) / range)) : 0;
    }

    farthest(count, between) {
        let most = 0;
        for (let a = 1; a < count; ++a) for (let b = 0; b < a; ++b) most = Math.max(most, between(a, b));
        return most;
    }

    /** The largest over the combinations of the other parents' states. */
    overRows(parents, k, of) {
        const count = this.net.cards[parents[k]], step = sizeOf(parents.slice(k + 1), this.net.cards);
        let most = 0;
        for (let row = 0; row < sizeOf(parents, this.net.cards); ++row)
            if (Math.floor(row / step) % count === 0) most = Math.max(most, of(row, step, count));
        return most;
    }
}
