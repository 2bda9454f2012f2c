
// ---- Beliefs -------------------------------------------------------------------------------
// The nodes' distributions given the evidence, which a worker computes.

const evidence = new Map();  // node to state, or to weights of its states where that is not certain
const beliefListeners = [];
let worker = null;
let plan = null;  // what the worker makes of the net; null while it is at it
let beliefs = null;  // its last answer: see worker.js
let prior = null;  // its answer without evidence
let expectations = new Map();
let policies = new Map();  // of decisions: {given, table, values, options}
let asked = false, askedFor = '';
let inPicture = false;  // the picture shows distributions

const isValued = (node) => node.kind === 'utility' || node.relation.kind === 'real';
const factorKind = (node) => (isValued(node) ? 'value' : node.kind === 'decision' ? 'decision' : 'chance');
const isUsable = () => Boolean(plan && !plan.failed);

/** The weights by which a utility without a table sums others; null where it does not. */
function weightsOf(node) {
    if (node.kind !== 'utility' || node.relation.table || node.parents.length === 0) return null;
    if (!node.parents.every((parent) => nodes[parent].kind === 'utility')) return null;
    const field = node.fields.find(([name]) => name === 'weights');
    const numbers = field ? field[1].split(/[\s,]+/).filter(Boolean).map(Number) : [];
    return node.parents.map((_, i) => (Number.isFinite(numbers[i]) ? numbers[i] : 1));
}

function startInference() {
    const net = nodes.map((node) => ({
        states: statesOf(node), parents: node.parents, kind: factorKind(node), utility: node.kind === 'utility',
        table: node.relation.table ? Float64Array.from(node.relation.table) : null,
        parameters: node.relation.parameters || null, rising: risingStates(node), weights: weightsOf(node),
    }));
    const address = URL.createObjectURL(new Blob([byId('worker').textContent], {type: 'text/javascript'}));
    try {
        worker = new Worker(address);
    } catch {
        return failInference();
    }
    worker.onmessage = ({data: answer}) => {
        if (answer.answer) return receiveAnswer(answer.answer);
        if (answer.plan) receivePlan(answer.plan);
        else receive(answer.beliefs);
        beliefListeners.forEach((listener) => listener());
    };
    worker.onerror = failInference;
    worker.postMessage({net}, net.filter((node) => node.table).map((node) => node.table.buffer));
}

function receivePlan(answer) {
    plan = answer;
    if (isUsable()) restoreLate();
    if (isUsable()) ask();
    if (!details.contains(document.activeElement)) showDetails(selected);
}

/** There is no memory for it, or the browser allows no worker. */
function failInference() {
    receivePlan({fits: false, failed: true});
    beliefListeners.forEach((listener) => listener());
}

/** What is said of a node, as weights of its states. */
function toldOf(index, told = evidence.get(index)) {
    if (Array.isArray(told)) return told;
    return Array.from({length: statesOf(nodes[index])}, (_, state) => Number(state === told));
}
const toldWeights = () => [...evidence.keys()].map((index) => [index, toldOf(index)]);

/** What to ask for: the evidence (none at first, for the prior), and the node that is wanted most where not all is exact. */
const wantedNow = () => ({evidence: prior ? toldWeights() : [], target: plan.fits ? -1 : selected});

/** Asks for the beliefs; while the worker is busy only the last question counts. */
function ask() {
    if (asked || !isUsable()) return;
    asked = true;
    const wanted = wantedNow();
    askedFor = JSON.stringify(wanted);
    worker.postMessage(wanted);
}

function receive(answer) {
    asked = false;
    beliefs = answer;
    expectations = new Map(answer.expectations);
    policies = new Map(answer.policies.map((policy) => [policy.node, policy]));
    if (answer.exact) beliefs.beliefs[answer.exact.node] = answer.exact.belief;
    if (!prior || askedFor.startsWith('{"evidence":[]')) prior = answer;
    if (askedFor !== JSON.stringify(wantedNow())) return ask();
    if (!(answer.samples > 0) || answer.done) say(answer.possible ? 'Beliefs updated' : 'This evidence is impossible');
}

/** Sets a node's state as evidence, or takes it back when it is. */
function toggleEvidence(index, state) {
    if (!isUsable() || isValued(nodes[index])) return;
    if (evidence.get(index) === state) evidence.delete(index);
    else evidence.set(index, state);
    evidenceChanged();
}

/** Says that the node is not in that state, or no longer. */
function toggleNot(index, state) {
    const node = nodes[index];
    if (!isUsable() || isValued(node)) return;
    if (node.kind === 'decision') return say('A decision is chosen, or not');
    const told = evidence.has(index) ? [...toldOf(index)] : Array(statesOf(node)).fill(1);
    told[state] = told[state] > 0 ? 0 : 1;
    setEvidence(index, told);
}

/** Sets weights of the states as evidence; all equal say nothing. */
function setEvidence(index, weights) {
    const left = weights.flatMap((weight, state) => (weight > 0 ? [state] : []));
    if (left.length === 0) return say('Some state must be possible');
    if (weights.every((weight) => weight === weights[0])) evidence.delete(index);
    else evidence.set(index, left.length === 1 ? left[0] : weights);
    evidenceChanged();
}

function clearEvidence() {
    evidence.clear();
    evidenceChanged();
}

function evidenceChanged() {
    ask();
    stateChanged();
    beliefListeners.forEach((listener) => listener());
}

const beliefOf = (index) => (beliefs && beliefs.possible && !isValued(nodes[index]) ? beliefs.beliefs[index] : null);

/** Shows the distributions in the picture, or no longer. */
function toggleInPicture() {
    if (!isUsable()) return;
    inPicture = !inPicture;
    byId('beliefs').setAttribute('aria-pressed', String(inPicture));
    spreadPicture();
    stateChanged();
}

// ---- What the page says about them ---------------------------------------------------------

function percent(p) {
    if (p === 0 || p > 1 - 1e-9) return `${Math.round(100 * p)}%`;
    if (p < 0.00001) return '<0.001%';
    return `${(100 * p).toFixed(p < 0.001 ? 3 : 1)}%`;
}
const shortNumber = (value) => String(Number(value.toPrecision(6)));

function planText() {
    if (plan && plan.failed) return 'The distributions could not be computed here.';
    return !plan || !beliefs ? 'The distributions are being computed.' : '';
}

/** What was taken for what in the computation, one text each. */
function planNotes() {
    if (!isUsable() || !beliefs) return [];
    const {withoutTable, withoutStates, scaledRows, emptyRows} = plan.notes;
    const is = (n) => (n === 1 ? 'is' : 'are');
    const named = (list) => list.map((index) => titleOf(nodes[index])).join(', ');
    const {open, order} = plan, {unsolved, rounds, late, samples} = beliefs;
    return [
        samples > 0 && `These distributions are estimates from ${samples.toLocaleString('en')} samples, with their standard error: exactly they would need ` +
            `${plan.atLeast ? 'more than ' : ''}${plan.total.toLocaleString('en', {maximumSignificantDigits: 3})} numbers. Exact where no error is given.`,
        unsolved && `${count(order.length, 'decision')} ${is(order.length)} taken as uniform: the policies have no room here.`,
        open.length > 0 && !unsolved && `The order of the decisions ${named(open)} is open: each is taken with limited memory, knowing its parents alone. ` +
            `One policy after the other was improved until none got better (${count(rounds, 'round')}); a change of several at once may still be better.`,
        late.length > 0 && `${named(late)} ${is(late.length)} known after a decision that is still open: that evidence does not guide it.`,
        withoutTable && `${count(withoutTable, 'node')} without a table here ${is(withoutTable)} taken as uniform.`,
        withoutStates && `${count(withoutStates, 'node')} without states (continuous) ${is(withoutStates)} left out.`,
        scaledRows && `${count(scaledRows, 'row')} of tables did not sum to one and ${is(scaledRows)} scaled for this.`,
        emptyRows && `${count(emptyRows, 'row')} of zeros ${is(emptyRows)} taken as uniform.`,
    ].filter(Boolean);
}

/** What the net's own page says about the distributions. */
function planParagraphs() {
    const how = 'Select a node to see its distribution; a click on a state sets it as evidence, with Shift it rules the state out.';
    const texts = planText() ? [planText()] : [...planNotes(), how];
    return el('div', {id: 'distribution'}, utilityTable(), ...texts.map((text) => el('p', {class: 'faint', text})), changesPart());
}

/** The expected utility of the net, and what the utilities contribute. */
function utilityTable() {
    if (!beliefs || !beliefs.possible || beliefs.utility === null) return null;
    const parts = [...expectations].filter(([index]) => nodes[index].kind === 'utility');
    return section('Expected utility', el('p', {}, el('strong', {id: 'utility', text: withError(beliefs.utility)})),
        parts.length > 1 ? itemList(parts.length, 'Utilities', (i) => {
            const [index, values] = parts[i];
            return el('span', {}, nodeLink(index), ` ${values.map(shortNumber).join(', ')}`);
        }) : null);
}

const withError = (value, error) => shortNumber(value) + (error > 0 ? ` ± ${shortNumber(Number(error.toPrecision(2)))}` : '');

/** A node's distribution: a button a state, which sets it as evidence or takes it back. */
function beliefSection(index) {
    const node = nodes[index];
    const box = el('div', {id: 'distribution'});
    if (planText()) return box.append(el('p', {class: 'faint', text: planText()})), box;
    if (!beliefs.possible) return box.append(impossible()), box;
    if (isValued(node)) {
        const values = expectations.get(index), error = beliefs.valueErrors?.get(index);
        if (values) box.append(el('p', {text: `Expected ${values.length > 1 ? 'values' : 'value'}: ${values.map((value) => withError(value, error)).join(', ')}`}));
    } else if (statesOf(node) > 0) {
        box.append(paged(statesOf(node), 40, 'States', (from, to) => {
            const bars = el('div', {class: 'bars', role: 'group', 'aria-label': 'Distribution'});
            for (let s = from; s < to; ++s) bars.append(beliefBar(index, s));
            return bars;
        }));
    }
    const {table, parameters} = node.relation;
    if (node.kind === 'decision') box.append(...decisionParts(index));
    else if (!table && !parameters && !weightsOf(node)) box.append(el('p', {class: 'faint', text: statesOf(node) > 0 ? 'No table here: taken as uniform.' : 'No states: left out.'}));
    if (evidence.size > 0) box.append(changesPart() ?? '');
    return box;
}

/** What a decision is worth: the utility of every option, and the policy by what is known then. */
function decisionParts(index) {
    if (evidence.has(index)) return [el('p', {class: 'faint', text: 'A decision: chosen.'})];
    const policy = policies.get(index);
    if (!policy) return [el('p', {class: 'faint', text: 'A decision: taken as uniform.'})];
    if (!policy.options) return [];
    const most = Math.max(...policy.options);
    const rows = policy.options.map((value, state) => el('tr', {class: value === most ? 'best' : null},
        el('th', {scope: 'row', text: stateLabel(nodes[index], state)}), el('td', {text: shortNumber(value)})));
    const parts = [el('h3', {text: 'Expected utility'}), el('table', {id: 'options'}, el('tbody', {}, ...rows))];
    if (policy.given.length > 0) parts.push(el('h3', {text: 'Policy'}), new NumberTable('Policy', policyModel(index, policy)).box);
    return parts;
}

/** By what is known the expected utility of every option, and the best. */
function policyModel(index, {given, values, table}) {
    const node = nodes[index], states = statesOf(node);
    const best = (r) => table.subarray(r * states, (r + 1) * states).indexOf(1);
    const key = (r, c) => (!values[r] ? NaN : c === states ? best(r) : values[r][c]);
    const value = (r, c) => {
        if (!values[r]) return '–';
        return c === states ? stateLabel(node, best(r)) : shortNumber(values[r][c]);
    };
    return {
        rows: parentAxis(given.map((parent) => nodes[parent]), values.length), key, value, part: () => NaN,
        columns: simpleAxis(states + 1, '', (c) => (c === states ? 'best' : stateLabel(node, c))),
    };
}

function beliefBar(index, state) {
    const p = beliefOf(index)[state], error = beliefs.exact?.node === index ? 0 : beliefs.errors?.[index]?.[state];
    const told = evidence.get(index), before = prior && evidence.size > 0 ? prior.beliefs[index]?.[state] : undefined;
    const ruledOut = Array.isArray(told) && told[state] === 0;
    const bar = button('', (event) => (event.shiftKey ? toggleNot : toggleEvidence)(index, state), {
        class: ruledOut ? 'bar not' : 'bar', 'aria-pressed': String(told === state), 'data-state': state,
        title: `Set as evidence, or take it back; with Shift: not this state${before === undefined ? '' : ` (before: ${percent(before)})`}`,
    });
    const weight = Array.isArray(told) && !ruledOut && told[state] !== 1 ? ` × ${shortNumber(told[state])}` : '';
    bar.append(el('span', {text: stateLabel(nodes[index], state) + weight}),
        el('span', {class: 'part', text: percent(p) + (error > 0 ? ` ± ${(100 * error).toFixed(error < 0.001 ? 2 : 1)}` : '')}));
    bar.style.setProperty('--part', p);
    if (before !== undefined) {
        bar.classList.add('compared');
        bar.style.setProperty('--prior', before);
    }
    return bar;
}

// ---- What changed --------------------------------------------------------------------------

/** The Jensen-Shannon distance of two distributions, 0 to 1. */
function distanceOf(p, q) {
    const part = (a, m) => (a > 0 ? a * Math.log2(a / m) : 0);
    const divergence = p.reduce((total, a, i) => total + (part(a, (a + q[i]) / 2) + part(q[i], (a + q[i]) / 2)) / 2, 0);
    return Math.sqrt(Math.max(0, divergence));
}

/** The nodes whose distributions the evidence moved, the farthest first, as [node, distance]. */
function changes() {
    if (!prior || !prior.possible || !beliefs.possible || evidence.size === 0) return [];
    return nodes.flatMap((node, i) => (evidence.has(i) || !beliefOf(i) || !prior.beliefs[i] ? [] : [[i, distanceOf(beliefOf(i), prior.beliefs[i])]]))
        .filter(([, distance]) => distance > 1e-6).sort((a, b) => b[1] - a[1]);
}

function changesPart() {
    const found = beliefs ? changes() : [];
    if (found.length === 0) return null;
    const box = section('What changed most', itemList(found.length, 'Nodes', (i) =>
        el('span', {}, nodeLink(found[i][0]), el('span', {class: 'faint', text: ` ${found[i][1].toFixed(3)}`}))));
    box.id = 'changes';
    box.title = 'By the Jensen-Shannon distance between before and after the evidence, 0 to 1';
    return box;
}

const impossible = () => el('p', {class: 'error', text: 'This evidence is impossible: its probability is zero.'});

/** Draws the bars of the selected node anew; the focus stays at its state. */
function refreshDistribution() {
    const box = byId('distribution');
    if (!box) return;
    const focused = box.contains(document.activeElement) ? document.activeElement.dataset.state : undefined;
    const made = selected < 0 ? planParagraphs() : beliefSection(selected);
    box.replaceWith(made);
    if (focused !== undefined) made.querySelector(`[data-state="${focused}"]`)?.focus();
}

/** What is said of a node, in words. */
function evidenceText(index) {
    const node = nodes[index], told = evidence.get(index);
    if (!Array.isArray(told)) return `${titleOf(node)}${node.kind === 'decision' ? ' := ' : ': '}${stateLabel(node, told)}`;
    const out = told.flatMap((weight, state) => (weight === 0 ? [stateLabel(node, state)] : []));
    const plain = told.every((weight) => weight === 0 || weight === 1);
    return `${titleOf(node)}: ${plain ? `not ${out.join(', ')}` : told.map(shortNumber).join(' : ')}`;
}

/** The evidence as buttons that take it back, and its probability: of observations, not of choices. */
function showEvidence() {
    byId('beliefs').disabled = !isUsable();
    byId('beliefs').title = isUsable() ? 'Show the distributions in the picture (m)' : planText();
    const parts = [...evidence.keys()].slice(0, 8).map((index) => {
        const text = evidenceText(index);
        return button(`× ${text}`, () => { evidence.delete(index); evidenceChanged(); }, {class: 'chip', title: 'Take back', 'aria-label': `Take back ${text}`});
    });
    if (evidence.size > 8) parts.push(el('span', {class: 'note', text: `and ${evidence.size - 8} more`}));
    if (evidence.size > 1) parts.push(button('Clear', clearEvidence, {title: 'Take back all evidence (x)'}));
    const observed = [...evidence.keys()].some((index) => nodes[index].kind !== 'decision');
    if (evidence.size > 0 && beliefs && !asked) {
        if (!beliefs.possible) parts.push(impossible());
        else if (observed) parts.push(el('span', {class: 'note', text: `probability ${Number(Math.exp(beliefs.log).toPrecision(4))}`}));
        if (beliefs.possible && beliefs.utility !== null) parts.push(el('span', {class: 'note', text: `expected utility ${shortNumber(beliefs.utility)}`}));
    }
    byId('evidence').replaceChildren(...parts);
}

listeners.push(() => { if (isUsable() && !plan.fits) ask(); });
beliefListeners.push(showEvidence, refreshDistribution, () => redraw());
byId('beliefs').addEventListener('click', toggleInPicture);
