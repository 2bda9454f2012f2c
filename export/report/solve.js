
// ---- One question at a time ----------------------------------------------------------------

const MostBytes = 2 ** 28;  // of tables that must be there at the same time
const MostSteps = 2 ** 29;  // numbers made on the way

class DoesNotFit extends Error {}

/** Takes observed variables out of a factor: the part of its table where they have their states. */
function sliced(factor, observed, cards) {
    if (!factor.scope.some((v) => observed.has(v))) return factor;
    const scope = factor.scope.filter((v) => !observed.has(v));
    const table = new Float64Array(sizeOf(scope, cards));
    const strides = stridesIn(factor.scope, cards, factor.scope);
    const start = factor.scope.reduce((at, v, d) => at + (observed.get(v) ?? 0) * strides[d], 0);
    const kept = factor.scope.map((v, d) => [v, strides[d]]).filter(([v]) => !observed.has(v));
    walk({cards: [1, ...kept.map(([v]) => cards[v])], strides: [0, ...kept.map(([, stride]) => stride)]}, start,
        (from, at, step, length) => { for (let i = 0; i < length; ++i) table[from + i] = factor.table[at + i * step]; });
    return {...factor, scope, table};
}

/** The factors that bear on the wanted variables: connected with them through variables left. */
function connectedWith(wanted, factors) {
    const at = new Map();
    factors.forEach((factor, i) => factor.scope.forEach((v) => {
        if (!at.has(v)) at.set(v, []);
        at.get(v).push(i);
    }));
    const met = reached(wanted, (v) => (at.get(v) ?? []).flatMap((i) => factors[i].scope));
    return factors.filter((factor) => factor.scope.some((v) => met.has(v)));
}

/** Variables by number from 0, for the search of an order. */
function renumbered(factors, more) {
    const variables = [...new Set([...factors.flatMap((factor) => factor.scope), ...more])];
    return {variables, places: new Map(variables.map((v, i) => [v, i]))};
}

/**
 * The product of the factors summed over all but the wanted variables: {scope, table, log}.
 * Throws DoesNotFit when the best order needs too much. into: by variable how it is summed out (or the
 * largest taken); variables of a lower stage go first; buckets: takes what was multiplied for each.
 */
function eliminateTo(factors, wanted, cards, {into = () => sumInto, stage = () => 0, buckets = null} = {}) {
    const used = connectedWith(wanted, factors), rest = factors.filter((factor) => !used.includes(factor));
    const apart = wanted.length > 0 && rest.length > 0 ? eliminateTo(rest, [], cards) : {table: [1], log: 0};
    const all = wanted.length > 0 ? used : factors;
    const {variables, places} = renumbered(all, wanted);
    const local = (scope) => scope.map((v) => places.get(v));
    const best = bestElimination(variables.map((v) => cards[v]), [...all.map((factor) => local(factor.scope)), local(wanted)],
        variables.map((v) => (wanted.includes(v) ? 9 : stage(v))));
    if (best.stopped || best.entries > MostSteps || best.bytes > MostBytes) throw new DoesNotFit();
    const left = new Set(all);
    let {log} = apart;
    const byVariable = variables.map(() => new Set());
    const put = (factor) => { left.add(factor); factor.scope.forEach((v) => byVariable[places.get(v)].add(factor)); };
    all.forEach(put);
    for (const clique of best.cliques) {
        const [own] = clique;
        if (wanted.includes(variables[own])) continue;
        const bucket = [...byVariable[own]];
        for (const factor of bucket) {
            left.delete(factor);
            factor.scope.forEach((v) => byVariable[places.get(v)].delete(factor));
        }
        const scope = [variables[own], ...new Set(bucket.flatMap((factor) => factor.scope).filter((v) => v !== variables[own]))];
        const made = summedProduct(scope, cards, bucket, scope.slice(1), into(variables[own]));
        buckets?.push({variable: variables[own], bucket});
        log += made.log;
        put(made);
    }
    const end = summedProduct(wanted, cards, [...left], wanted);
    return {scope: wanted, table: scale(end.table, apart.table[0]), log: log + end.log};
}
