
// ---- Sampling, where exact does not fit ----------------------------------------------------

const MostSamples = 400000;
const GoodError = 0.0005;
const BatchMilliseconds = 150;

/**
 * Likelihood weighting: nodes are drawn parents first, what is observed counts as the weight of
 * the whole. Noisy-max nodes are drawn by their causes, without their table.
 */
class Sampler {
    constructor(net, parents, policies, evidence) {
        Object.assign(this, {net, parents, evidence: new Map(evidence), random: randomNumbers(7)});
        this.tables = net.tables.map((table, i) => policies.get(i)?.table ?? table);
        this.order = [];
        const met = new Uint8Array(net.nodes.length);
        const visit = (start) => {  // with a stack of its own: chains may be long
            const stack = [start];
            while (stack.length > 0) {
                const v = stack[stack.length - 1], next = met[v] ? undefined : parents[v].find((p) => !met[p]);
                if (next !== undefined) stack.push(next);
                else if (stack.pop() !== undefined && !met[v]) this.order.push(v), met[v] = 1;
            }
        };
        net.nodes.forEach((node, i) => visit(i));
        this.order = this.order.filter((v) => net.nodes[v].kind !== 'value');
        this.states = new Int32Array(net.nodes.length);
        this.sums = net.nodes.map((_, i) => new Float64Array(2 * net.cards[i]));  // weights, and their squares
        this.means = net.values.map(() => ({sum: 0, squares: 0, both: 0}));
        this.total = this.squares = this.samples = 0;
    }

    /** The distribution of a node in the row of its parents' states. */
    distribution(v) {
        const rule = this.net.rules[v], table = this.tables[v], states = this.net.cards[v];
        if (rule) {
            const certain = new Float64Array(states);
            let told = rule.leakAlone();
            this.parents[v].forEach((parent, k) => {
                const draw = rule.drawOf(k, this.states[parent]);
                if (draw < 0) return;
                rule.larger(told, draw, certain, 0);
                told = certain.slice();
            });
            return told;
        }
        if (!table) return new Float64Array(states).fill(1 / states);
        const row = table.length === states ? 0 : this.rowOf(this.parents[v]);
        return table.subarray(row * states, (row + 1) * states);
    }

    rowOf(scope) { return scope.reduce((row, p) => row * this.net.cards[p] + this.states[p], 0); }

    sampleOnce() {
        let weight = 1;
        for (const v of this.order) {
            let told = this.distribution(v);
            const seen = this.evidence.get(v);
            if (seen) {
                told = told.map((p, s) => p * seen[s]);
                const all = sum(told);
                weight *= this.net.nodes[v].kind === 'decision' ? 1 : all;
                if (!(weight > 0)) break;
                scale(told, 1 / all);
            }
            let rest = this.random(), s = 0;
            while (s < told.length - 1 && (rest -= told[s]) >= 0) ++s;
            while (told[s] === 0 && s > 0) --s;
            this.states[v] = s;
        }
        ++this.samples;
        if (!(weight > 0)) return;
        const square = weight * weight;
        this.total += weight;
        this.squares += square;
        for (const v of this.order) {
            this.sums[v][this.states[v]] += weight;
            this.sums[v][this.net.cards[v] + this.states[v]] += square;
        }
        this.net.values.forEach((value, i) => {
            if (!value.table) return;
            const number = value.table[this.rowOf(value.scope) * value.states], mean = this.means[i];
            mean.sum += weight * number;
            mean.both += square * number;
            mean.squares += square * number * number;
        });
    }

    /** Distributions, and the standard error of each number. */
    answer() {
        const {total, squares, net} = this, beliefs = [], errors = [];
        const error = (p, own) => Math.sqrt(Math.max(0, own * (1 - 2 * p) + p * p * squares)) / total;
        for (const v of this.order) {
            const states = net.cards[v], sums = this.sums[v];
            beliefs[v] = sums.slice(0, states).map((weight) => weight / total);
            errors[v] = beliefs[v].map((p, s) => error(p, sums[states + s]));
        }
        const expectations = new Map(), valueErrors = new Map();
        net.values.forEach((value, i) => {
            if (!value.table) return;
            const {sum: own, both, squares: all} = this.means[i], mean = own / total;
            expectations.set(value.node, [mean]);
            valueErrors.set(value.node, Math.sqrt(Math.max(0, all - 2 * mean * both + mean * mean * squares)) / total);
        });
        return {
            possible: total > 0, log: Math.log(total / this.samples), beliefs, errors, expectations, valueErrors, samples: this.samples,
        };
    }

    run(milliseconds) {
        for (const end = performance.now() + milliseconds; performance.now() < end;)
            for (let i = 0; i < 20 && this.samples < MostSamples; ++i) this.sampleOnce();
        const answer = this.answer();
        const worst = answer.errors.reduce((most, list) => (list ? Math.max(most, largest(list)) : most), 0);
        answer.done = this.samples >= MostSamples || (this.total > 0 && this.samples > 2000 && worst < GoodError);
        return answer;
    }
}
