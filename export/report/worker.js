
// ---- The worker ----------------------------------------------------------------------------
// In:  {net: [{states, parents, kind, table, parameters, rising, utility, weights}]}, once (kind: chance, decision or value), then
//      {evidence: [[node, weights of its states]], target: a node or -1}, or {question, evidence, ...}
// Out: {plan}, then {beliefs} for every evidence (again and better while it samples), {answer} for every question.

class Engine {
    constructor(nodes) {
        const started = performance.now();
        const net = this.net = new Net(nodes);
        this.decisions = new Decisions(net);
        this.policies = this.decisions.scopes().map((scope) => ({scope, node: scope[scope.length - 1], table: null}));
        this.parents = nodes.map((_, v) => this.decisions.parentsOf(v));
        const values = net.values.filter((value) => value.table);
        const scopes = [...net.factors, ...this.policies, ...values].map((part) => part.scope);
        const best = bestElimination(net.cards, scopes);
        this.fits = !best.stopped && best.entries <= MostSteps;
        if (this.fits) this.tree = new Tree(net.cards, [...net.factors, ...this.policies], values, best);
        const bytes = this.tree ? this.tree.bytes : best.bytes;
        this.fits &&= bytes <= MostBytes;
        const {open, order} = this.decisions;
        this.plan = {
            fits: this.fits, largest: Math.round(2 ** best.bits), atLeast: best.stopped, total: best.entries, bytes,
            most: MostSteps, notes: net.notes, order, open, milliseconds: performance.now() - started,
        };
    }

    /** Sets the decisions' tables as the evidence wants them: their policies, or what is chosen. */
    decide(evidence) {
        const chosen = new Map(evidence);
        try {
            this.solution = this.decisions.solve(evidence);
        } catch (error) {
            if (!(error instanceof DoesNotFit)) throw error;
            this.solution = {policies: new Map(), late: [], rounds: 0, tooLarge: true};
        }
        for (const factor of this.policies) {
            const one = chosen.get(factor.node), made = this.solution.policies.get(factor.node);
            const states = this.net.cards[factor.node], rows = sizeOf(factor.scope, this.net.cards) / states;
            const row = this.net.openDecision(factor.node, one).table;
            factor.table = made && !one ? made.table : Float64Array.from({length: rows * states}, (_, i) => row[i % states]);
        }
    }

    observations(evidence) {
        return evidence.filter(([v]) => !this.net.decisions.includes(v));
    }

    /** The distributions and what the net is worth, given the evidence. */
    answer(evidence) {
        const started = performance.now();
        this.decide(evidence);
        const seen = this.observations(evidence);
        const made = this.fits ? this.tree.propagate(seen) : this.sampled(evidence);
        return {...this.completed(made), milliseconds: performance.now() - started};
    }

    completed(made) {
        const {net, decisions, solution} = this, {expectations} = made;
        const whole = (node) => {
            const value = net.values.find((one) => one.node === node);
            if (value?.parts && !expectations.has(node)) {
                expectations.set(node, [0]);  // no part of itself
                expectations.set(node, [value.parts.reduce((total, [part, weight]) => total + weight * (whole(part)?.[0] ?? 0), 0)]);
            }
            return expectations.get(node);
        };
        if (made.possible) net.values.forEach(({node}) => whole(node));
        const utilities = [...decisions.weights].filter(([node]) => expectations.has(node));
        return {
            ...made, beliefs: made.beliefs.slice(0, net.nodes.length), expectations: [...expectations],
            utility: utilities.length > 0 ? utilities.reduce((total, [node, weight]) => total + weight * expectations.get(node)[0], 0) : null,
            policies: [...solution.policies.values()], late: solution.late, rounds: solution.rounds, unsolved: Boolean(solution.tooLarge),
        };
    }

    sampled(evidence) {
        const tables = new Map(this.policies.map((factor) => [factor.node, factor]));
        this.sampler = new Sampler(this.net, this.parents, tables, this.observations(evidence));
        return this.sampler.run(BatchMilliseconds);
    }

    /** A node's distribution exactly, when what bears on it fits; else null. */
    exactly(target, evidence) {
        try {
            const made = queried(this.net, [...this.net.factors, ...this.policies], this.parents, this.observations(evidence), [target]);
            return made.log > -Infinity ? {node: target, belief: scale(made.table, 1 / sum(made.table))} : null;
        } catch (error) {
            if (error instanceof DoesNotFit) return null;
            throw error;
        }
    }

    // ---- Questions

    explanation({evidence}) {
        this.decide(evidence);
        const seen = this.observations(evidence);
        try {
            const made = mostProbable(this.net, [...this.net.factors, ...this.policies], seen);
            return {...made, total: this.fits ? this.tree.propagate(seen).log : null};
        } catch (error) {
            if (error instanceof DoesNotFit) return {tooLarge: true};
            throw error;
        }
    }

    /** By node what observing it would tell about the target, in bits; and how uncertain that is now. */
    telling({evidence, target}) {
        if (!this.fits) return {tooLarge: true};
        this.decide(evidence);
        const {cards, nodes} = this.net, seen = this.observations(evidence).filter(([v]) => v !== target);
        const now = this.tree.propagate(seen);
        if (!now.possible) return {bits: []};
        const joints = nodes.map((node, v) => new Float64Array(cards[v] * cards[target]));
        now.beliefs[target].forEach((p, state) => {
            if (p === 0) return;
            const weights = Array.from({length: cards[target]}, (_, s) => Number(s === state));
            const {beliefs} = this.tree.propagate([...seen, [target, weights]]);
            joints.forEach((joint, v) => beliefs[v].forEach((q, s) => { joint[state * cards[v] + s] = p * q; }));
        });
        const told = new Set([target, ...seen.filter(([, weights]) => isCertain(weights)).map(([v]) => v)]);
        const can = (v) => !told.has(v) && nodes[v].kind === 'chance' && nodes[v].states > 1;
        return {bits: joints.map((joint, v) => (can(v) ? information(joint, cards[v]) : null)), entropy: information(joints[target], cards[target])};
    }

    trail({evidence, from, to}) {
        const known = new Set(evidence.filter(([, weights]) => isCertain(weights)).map(([v]) => v)), {children} = this.net;
        return {trail: shortestTrail(from, to, known, evidence.map(([v]) => v), (v) => this.net.nodes[v].parents, (v) => children[v])};
    }

    strength({measure, beliefs}) {
        const strengths = new Strengths(this.net, beliefs);
        return {values: this.net.nodes.map((node, child) => strengths.of(child, measure))};
    }
}

let engine = null;
let turn = 0;  // counts what came in: sampling ends when something new does

/** Goes on sampling for what was asked last. */
function refine(own, exact) {
    if (own !== turn) return;
    const made = {...engine.completed(engine.sampler.run(BatchMilliseconds * 2)), exact};
    self.postMessage({beliefs: made});
    if (!made.done) setTimeout(() => refine(own, exact));
}

self.onmessage = ({data}) => {
    const own = data.question ? turn : ++turn;
    if (data.net) {
        engine = new Engine(data.net);
        self.postMessage({plan: engine.plan});
    } else if (data.question) {
        self.postMessage({answer: {...engine[data.question](data), question: data.question, id: data.id}});
    } else {
        self.postMessage({beliefs: engine.answer(data.evidence)});
        if (engine.fits) return;
        setTimeout(() => {
            if (own === turn) refine(own, data.target >= 0 ? engine.exactly(data.target, data.evidence) : null);
        });
    }
};
