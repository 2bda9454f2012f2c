
// ---- The junction tree: all nodes at once --------------------------------------------------

/**
 * The tree of the elimination's cliques, without those that another contains. Cliques come before
 * their parents. homeOf: the clique that holds all variables of a factor's scope.
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
        const up = parents[last.get(h)];
        return {
            scope: cliques[h], children: [], parent: up === Infinity ? -1 : index.get(host[up]),
            separator: cliques[last.get(h)].slice(1), factors: [], values: [], variables: [],
        };
    });
    const home = new Int32Array(cards.length);
    cliques.forEach(([v], i) => {
        home[v] = index.get(host[i]);
        tree[home[v]].variables.push(v);
    });
    // What goes to the parent lies behind the rest and in the parent's order: in long runs.
    for (let i = tree.length - 1; i >= 0; --i) {
        const clique = tree[i], above = tree[clique.parent];
        if (above) {
            const places = new Map(above.scope.map((v, d) => [v, d]));
            clique.separator.sort((a, b) => places.get(a) - places.get(b));
            above.children.push(i);
        }
        const rest = clique.scope.filter((v) => !clique.separator.includes(v)).sort((a, b) => cards[a] - cards[b]);
        clique.scope = [...rest, ...clique.separator];
    }
    const homeOf = (scope) => {
        const varying = scope.filter((v) => cards[v] > 1);
        return tree[home[varying.reduce((least, v) => (place[v] < place[least] ? v : least), varying[0] ?? scope[0])]];
    };
    return {tree, homeOf};
}

class Tree {
    constructor(cards, factors, values, elimination) {
        const {tree, homeOf} = junctionTree(elimination, cards);
        this.cards = cards;
        this.tree = tree;
        this.homeOf = homeOf;
        this.constants = values.filter((value) => value.table && value.scope.length === 0);
        for (const factor of factors) homeOf(factor.scope).factors.push(factor);
        for (const value of values) if (value.scope.length > 0) homeOf(value.scope).values.push(value);
    }

    /** What the tables between cliques take, all at the same time. */
    get bytes() {
        return this.tree.reduce((total, clique) => total + 8 * sizeOf(clique.separator, this.cards), 0);
    }

    /** What the clique knows: factors, evidence, its children's messages and its parent's. */
    inputs(clique, messages, fromParent) {
        const told = clique.children.map((child) => ({scope: this.tree[child].separator, table: messages[child]}));
        if (fromParent) told.push({scope: clique.separator, table: fromParent});
        return [...clique.factors, ...clique.evidence, ...told];
    }

    takeEvidence(factors) {
        for (const clique of this.tree) clique.evidence = [];
        for (const factor of factors) this.homeOf(factor.scope).evidence.push(factor);
    }

    /** Messages to the parents; the logarithm of the evidence's probability, or null: impossible. */
    collect() {
        const messages = [];
        let log = 0;
        for (const clique of this.tree) {
            const made = summedProduct(clique.scope, this.cards, this.inputs(clique, messages, null), clique.separator);
            if (!(made.log > -Infinity)) return {messages, log: null};
            messages.push(made.table);
            log += made.log;
        }
        return {messages, log};
    }

    /** The nodes' distributions, and the rows of the values, given the evidence. Messages go as they are used. */
    distribute(messages, beliefs, expectations) {
        const down = [], {cards} = this;
        for (let i = this.tree.length - 1; i >= 0; --i) {
            const clique = this.tree[i];
            const output = (scope) => ({scope, table: new Float64Array(sizeOf(scope, cards))});
            const own = clique.variables.map((v) => output([v]));
            const rows = clique.values.map((value) => output(value.scope));
            const below = clique.children.map((child) => output(this.tree[child].separator));
            combine(clique.scope, cards, this.inputs(clique, messages, down[i]), [...own, ...rows, ...below]);
            down[i] = null;
            for (const {scope, table} of own) beliefs[scope[0]] = scale(table, 1 / sum(table));
            rows.forEach(({table}, k) => {
                const value = clique.values[k];
                expectations.set(value.node, expectation(value, scale(table, 1 / sum(table))));
            });
            clique.children.forEach((child, k) => {
                const {table} = below[k], up = messages[child];
                for (let j = 0; j < table.length; ++j) table[j] = up[j] > 0 ? table[j] / up[j] : 0;
                down[child] = scale(table, 1 / largest(table));
                messages[child] = null;
            });
        }
    }

    propagate(evidence) {
        this.takeEvidence(evidenceFactors(evidence));
        const {messages, log} = this.collect();
        const beliefs = [], expectations = new Map(this.constants.map((value) => [value.node, expectation(value, [1])]));
        if (log !== null) this.distribute(messages, beliefs, expectations);
        return {possible: log !== null, log, beliefs, expectations};
    }
}

/** The mean over the rows, one number a state of the utility (or one in all). */
function expectation(value, rows) {
    return Array.from({length: value.states}, (_, s) =>
        rows.reduce((total, p, row) => total + (p > 0 ? p * value.table[row * value.states + s] : 0), 0));
}
