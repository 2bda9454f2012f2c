
// ---- Factors of the net --------------------------------------------------------------------

const RowTolerance = 1e-5;  // by which a row's sum may miss one unnoticed
const DenseEntries = 64;  // up to these a noisy-max node has its table

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

/** The place of every state among those from the weakest up. */
function ranksOf(rising) {
    const ranks = [];
    rising.forEach((state, rank) => { ranks[state] = rank; });
    return ranks;
}

/**
 * Noisy-max: the largest of independent draws, one of each parent and the leak's. Its distributions,
 * of every state but the weakest of every parent, then the leak, stand in `parameters`. `rising` has
 * the states from the weakest up, the node's and then each parent's, in which parameters count them.
 */
class NoisyMax {
    constructor({parameters, states, rising: [own, ...parents]}, parentStates, notes) {
        this.states = states;
        this.parentStates = parentStates;
        this.rising = own;
        const draws = normalizedTable(parameters, states, notes);
        const rank = ranksOf(own);
        this.draws = draws.map((_, i) => draws[i - i % states + rank[i % states]]);
        this.starts = [];  // where the draw of a parent's state stands; -1: the weakest draws nothing
        this.leak = 0;
        for (const parent of parents) {
            this.starts.push(ranksOf(parent).map((r) => (r === 0 ? -1 : this.leak + (r - 1) * states)));
            this.leak += (parent.length - 1) * states;
        }
    }

    drawOf(parent, state) { return this.starts[parent][state]; }

    /** The distribution of the larger of a draw and one that is distributed as told, from `at` of result. */
    larger(told, draw, result, at) {
        let upToDraw = 0, upToTold = 0;
        for (const s of this.rising) {
            const p = draw < 0 ? Number(s === this.rising[0]) : this.draws[draw + s];
            upToDraw += p;
            result[at + s] = told[s] * upToDraw + p * upToTold;  // as sums of what is positive: nothing cancels
            upToTold += told[s];
        }
    }

    leakAlone() { return this.draws.slice(this.leak, this.leak + this.states); }

    /** The full table, the last parent's states changing fastest. */
    table() {
        let rows = [this.leakAlone()];
        this.parentStates.forEach((count, parent) => {
            rows = rows.flatMap((row) => Array.from({length: count}, (_, state) => {
                const made = new Float64Array(this.states);
                this.larger(row, this.drawOf(parent, state), made, 0);
                return made;
            }));
        });
        const table = new Float64Array(rows.length * this.states);
        rows.forEach((row, r) => table.set(row, r * this.states));
        return table;
    }

    /** The table of: the largest so far, a parent's state, the largest with it. */
    link(parent) {
        const {states} = this, count = this.parentStates[parent];
        const told = parent === 0 ? [this.leakAlone()] : Array.from({length: states}, (_, s) => {
            const certain = new Float64Array(states);
            certain[s] = 1;
            return certain;
        });
        const table = new Float64Array(told.length * count * states);
        told.forEach((distribution, before) => {
            for (let state = 0; state < count; ++state)
                this.larger(distribution, this.drawOf(parent, state), table, (before * count + state) * states);
        });
        return table;
    }

    /** The node's distribution when its parents are independent and distributed as told. */
    mean(parentBeliefs) {
        let told = this.leakAlone();
        parentBeliefs.forEach((belief, parent) => {
            const mixed = new Float64Array(this.states), one = new Float64Array(this.states);
            for (let state = 0; state < this.parentStates[parent]; ++state) {
                this.larger(told, this.drawOf(parent, state), one, 0);
                for (let s = 0; s < this.states; ++s) mixed[s] += belief[state] * one[s];
            }
            told = mixed;
        });
        return told;
    }
}

/**
 * What the nodes say, as {scope, table, node} each. Behind the nodes' own variables stand those of
 * noisy-max nodes with many parents: the largest of the first draws, a variable for each parent
 * but the last. A node without a table is uniform whatever its parents; a decision is until it has a
 * policy, over `given` and itself. `values` are utilities and other real relations.
 */
class Net {
    constructor(nodes) {
        this.nodes = nodes;
        this.cards = nodes.map((node) => Math.max(1, node.states));
        this.notes = {decisions: 0, withoutTable: 0, withoutStates: 0, scaledRows: 0, emptyRows: 0};
        this.factors = [];  // of chance nodes
        this.values = [];
        this.rules = nodes.map(() => null);  // of noisy-max nodes
        this.tables = nodes.map(() => null);  // of the others
        this.decisions = [];
        nodes.forEach((node, i) => this.add(node, i));
    }

    add(node, i) {
        const {cards, notes} = this, scope = [...node.parents, i];
        const whole = node.table && node.table.length === sizeOf(scope, cards);
        if (node.kind === 'value') {
            if (whole) this.values.push({node: i, scope: node.parents, states: cards[i], table: node.table});
            else if (node.weights) this.values.push({node: i, scope: [], states: 1, parts: node.parents.map((part, k) => [part, node.weights[k] ?? 1])});
            return void this.factors.push({scope: [i], node: i, table: new Float64Array(cards[i]).fill(1 / cards[i])});
        }
        if (node.kind === 'decision' && node.states > 0) return void this.decisions.push(i);
        if (node.states > 0 && node.parameters) return this.addNoisyMax(node, i);
        const told = node.states > 0 && whole;
        if (!told) ++notes[node.states === 0 ? 'withoutStates' : 'withoutTable'];
        const table = told ? normalizedTable(node.table, cards[i], notes) : new Float64Array(cards[i]).fill(1 / cards[i]);
        this.tables[i] = table;
        this.factors.push({scope: told ? scope : [i], node: i, table});
    }

    addNoisyMax(node, i) {
        const parentStates = node.parents.map((p) => this.cards[p]), {cards} = this;
        const rule = new NoisyMax(node, parentStates, this.notes);
        this.rules[i] = rule;
        const links = parentStates.reduce((total, count, k) => total + count * node.states ** (k > 0 ? 2 : 1), 0);
        const dense = product(parentStates) * node.states;
        if (dense <= Math.max(DenseEntries, links) || node.parents.length < 2)
            return void this.factors.push({scope: [...node.parents, i], node: i, table: rule.table()});
        let before = [];
        node.parents.forEach((parent, k) => {
            const last = k === node.parents.length - 1, after = last ? i : cards.length;
            if (!last) cards.push(node.states);
            this.factors.push({scope: [...before, parent, after], node: i, table: rule.link(k)});
            before = [after];
        });
    }

    isHidden(variable) { return variable >= this.nodes.length; }

    /** The factor of a decision that is taken at random, or chosen. */
    openDecision(i, chosen) {
        const table = new Float64Array(this.cards[i]).fill(chosen ? 0 : 1 / this.cards[i]);
        if (chosen) table[chosen.indexOf(1)] = 1;
        return {scope: [i], node: i, table};
    }

    /** The children of every node. */
    get children() {
        const made = this.nodes.map(() => []);
        this.nodes.forEach((node, child) => node.parents.forEach((parent) => made[parent].push(child)));
        return made;
    }
}

/** All that steps lead to from the starts, with them. */
function reached(starts, step) {
    const met = new Set(starts);
    for (const one of met) for (const next of step(one)) met.add(next);
    return met;
}

/** What is said of a node, as weights of its states: evidence comes as [[node, weights]]. */
const isCertain = (weights) => weights.filter((weight) => weight !== 0).length === 1;
const evidenceFactors = (evidence) => [...evidence].map(([v, weights]) => ({scope: [v], node: v, table: Float64Array.from(weights)}));
