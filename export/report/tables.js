'use strict';
// Inference. It runs in a worker of its own and knows nothing of the page: worker.js says what goes in and out.

// ---- Tables of numbers over variables ------------------------------------------------------
// The last variable of a table runs fastest. What multiplies tables never holds the whole product:
// it makes a chunk of it at a time and sums that into where it goes.

const ChunkEntries = 2 ** 14;
const FarApart = 200;  // natural logarithm of the factor between two chunks' scales that is bridged

const product = (numbers) => numbers.reduce((a, b) => a * b, 1);
const sizeOf = (scope, cards) => product(scope.map((v) => cards[v]));

/** The stride of each of the variables in a table over the scope, zero for those that are not in it. */
function stridesIn(scope, cards, variables) {
    const strides = new Map();
    for (let i = scope.length - 1, stride = 1; i >= 0; --i) {
        strides.set(scope[i], stride);
        stride *= cards[scope[i]];
    }
    return variables.map((v) => strides.get(v) ?? 0);
}

/** Dimensions that lie behind one another in the table as well become one. */
function joinedDimensions(cards, strides) {
    const joined = {cards: [1], strides: [0]};
    for (let d = 0; d < cards.length; ++d) {
        const last = joined.cards.length - 1;
        const goesOn = joined.strides[last] === strides[d] * cards[d];
        if (cards[d] === 1) continue;
        if (joined.cards[last] === 1 || goesOn) {
            joined.cards[last] *= cards[d];
            joined.strides[last] = strides[d];
        } else {
            joined.cards.push(cards[d]);
            joined.strides.push(strides[d]);
        }
    }
    return joined;
}

/** Walks through a table from `at` by the strides, a run along its last dimension at a time. */
function walk({cards, strides}, at, run) {
    const last = cards.length - 1, length = cards[last], step = strides[last];
    const digits = new Int32Array(last);
    for (let from = 0; ; from += length) {
        run(from, at, step, length);
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

function multiply(buffer, table, inner, start) {
    walk(inner, start, (from, at, step, length) => {
        if (step === 0) {
            const by = table[at];
            if (by !== 1) for (let i = 0; i < length; ++i) buffer[from + i] *= by;
        } else {
            for (let i = 0; i < length; ++i) buffer[from + i] *= table[at + i * step];
        }
    });
}

function sumInto(sums, buffer, inner, start) {
    walk(inner, start, (from, at, step, length) => {
        if (step === 0) {
            let total = 0;
            for (let i = 0; i < length; ++i) total += buffer[from + i];
            sums[at] += total;
        } else {
            for (let i = 0; i < length; ++i) sums[at + i * step] += buffer[from + i];
        }
    });
}

function maxInto(sums, buffer, inner, start) {
    walk(inner, start, (from, at, step, length) => {
        for (let i = 0; i < length; ++i) sums[at + i * step] = Math.max(sums[at + i * step], buffer[from + i]);
    });
}

function scale(values, by) {
    if (by !== 1) for (let i = 0; i < values.length; ++i) values[i] *= by;
    return values;
}
function sum(values) {
    let total = 0;
    for (let i = 0; i < values.length; ++i) total += values[i];
    return total;
}
function largest(values) {
    let most = 0;
    for (let i = 0; i < values.length; ++i) most = Math.max(most, Math.abs(values[i]));
    return most;
}

const chunkSpace = new Float64Array(ChunkEntries);

/**
 * Multiplies the inputs over the scope and adds the product to the outputs, both {scope, table},
 * in chunks. Gives the logarithm by which the outputs are scaled; minus infinity when all is zero.
 * Many small numbers in one product do not vanish: every chunk is scaled as it is made.
 */
function combine(scope, cards, inputs, outputs, into = sumInto) {
    const dimensions = scope.map((v) => cards[v]);
    let outer = Math.max(0, scope.length - 1), size = dimensions[outer] ?? 1;
    while (outer > 0 && size * dimensions[outer - 1] <= ChunkEntries) size *= dimensions[--outer];
    const prepared = ({scope: own, table}) => {
        const strides = stridesIn(own, cards, scope);
        return {table, at: 0, outer: strides.slice(0, outer), inner: joinedDimensions(dimensions.slice(outer), strides.slice(outer))};
    };
    const from = inputs.map(prepared), to = outputs.map(prepared), all = [...from, ...to];
    const buffer = size <= ChunkEntries ? chunkSpace.subarray(0, size) : new Float64Array(size);
    const digits = new Int32Array(outer);
    let log = -Infinity;
    for (;;) {
        buffer.fill(1);
        let own = 0;
        const rescale = () => {
            const most = largest(buffer);
            if (most > 0) scale(buffer, 1 / most);
            own += Math.log(most);
        };
        from.forEach((part, i) => {
            multiply(buffer, part.table, part.inner, part.at);
            if (i % 4 === 3) rescale();
        });
        rescale();
        if (own > -Infinity) {
            if (log === -Infinity) log = own;
            if (own > log + FarApart) {
                for (const part of to) scale(part.table, Math.exp(log - own));
                log = own;
            }
            scale(buffer, Math.exp(own - log));
            for (const part of to) into(part.table, buffer, part.inner, part.at);
        }
        let d = outer - 1;
        for (; d >= 0; --d) {
            const whole = ++digits[d] === dimensions[d];
            for (const part of all) part.at += part.outer[d] * (whole ? 1 - dimensions[d] : 1);
            if (!whole) break;
            digits[d] = 0;
        }
        if (d < 0) return log;
    }
}

/** The product summed over all but the wanted variables: {scope, table, log}; the largest number is one. */
function summedProduct(scope, cards, inputs, wanted, into = sumInto) {
    const table = new Float64Array(sizeOf(wanted, cards));
    const log = combine(scope, cards, inputs, [{scope: wanted, table}], into);
    const most = largest(table);
    if (most > 0) scale(table, 1 / most);
    return {scope: wanted, table, log: log + Math.log(most)};
}
