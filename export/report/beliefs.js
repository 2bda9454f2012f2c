
// ---- Beliefs -------------------------------------------------------------------------------
// The nodes' distributions given the evidence, which a worker computes.

const evidence = new Map();  // node to state
const beliefListeners = [];
let worker = null;
let plan = null;  // what the worker makes of the net; null while it is at it
let beliefs = null;  // its last answer: see inference.js
let expectations = new Map();
let asked = false, outdated = false;
let inPicture = false;  // the picture shows distributions

const isValued = (node) => node.kind === 'utility' || node.relation.kind === 'real';
const factorKind = (node) => (isValued(node) ? 'value' : node.kind === 'decision' ? 'decision' : 'chance');

function startInference() {
    const net = nodes.map((node) => ({
        states: statesOf(node), parents: node.parents, kind: factorKind(node),
        table: node.relation.table ? Float64Array.from(node.relation.table) : null,
        parameters: node.relation.parameters || null,
    }));
    const address = URL.createObjectURL(new Blob([byId('worker').textContent], {type: 'text/javascript'}));
    try {
        worker = new Worker(address);
    } catch {
        return failInference();
    }
    worker.onmessage = ({data: answer}) => {
        if (answer.plan) receivePlan(answer.plan);
        else receive(answer.beliefs);
        beliefListeners.forEach((listener) => listener());
    };
    worker.onerror = failInference;
    worker.postMessage({net}, net.filter((node) => node.table).map((node) => node.table.buffer));
}

function receivePlan(answer) {
    plan = answer;
    if (plan.fits) ask();
    if (!details.contains(document.activeElement)) showDetails(selected);
}

/** There is no memory for it, or the browser allows no worker. */
function failInference() {
    receivePlan({fits: false, failed: true});
    beliefListeners.forEach((listener) => listener());
}

/** Asks for the beliefs; while the worker is busy only the last question counts. */
function ask() {
    outdated = asked;
    if (asked) return;
    asked = true;
    worker.postMessage({evidence: [...evidence]});
}

function receive(answer) {
    asked = false;
    beliefs = answer;
    expectations = new Map(answer.expectations);
    if (outdated) return ask();
    say(answer.possible ? 'Beliefs updated' : 'This evidence is impossible');
}

/** Sets a node's state as evidence, or takes it back when it is. */
function toggleEvidence(index, state) {
    if (!plan || !plan.fits || isValued(nodes[index])) return;
    if (evidence.get(index) === state) evidence.delete(index);
    else evidence.set(index, state);
    evidenceChanged();
}

function clearEvidence() {
    evidence.clear();
    evidenceChanged();
}

function evidenceChanged() {
    ask();
    beliefListeners.forEach((listener) => listener());
}

const beliefOf = (index) => (beliefs && beliefs.possible && !isValued(nodes[index]) ? beliefs.beliefs[index] : null);

/** Shows the distributions in the picture, or no longer. */
function toggleInPicture() {
    if (!plan || !plan.fits) return;
    inPicture = !inPicture;
    byId('beliefs').setAttribute('aria-pressed', String(inPicture));
    spreadPicture();
}

// ---- What the page says about them ---------------------------------------------------------

function percent(p) {
    if (p === 0 || p > 1 - 1e-9) return `${Math.round(100 * p)}%`;
    if (p < 0.00001) return '<0.001%';
    return `${(100 * p).toFixed(p < 0.001 ? 3 : 1)}%`;
}
const shortNumber = (value) => String(Number(value.toPrecision(6)));

function planText() {
    if (!plan || (plan.fits && !beliefs)) return 'The distributions are being computed.';
    if (plan.failed) return 'The distributions could not be computed here.';
    const needed = `${plan.atLeast ? 'more than ' : ''}${plan.largest.toLocaleString('en')}`;
    return plan.fits ? '' : `No distributions: the junction tree of this net needs a table of ${needed} entries; ` +
        `this page computes with at most ${plan.most.toLocaleString('en')}.`;
}

/** What was taken for what in the computation, one text each. */
function planNotes() {
    if (!plan || !plan.fits) return [];
    const {decisions, withoutTable, withoutStates, scaledRows, emptyRows} = plan.notes;
    const is = (n) => (n === 1 ? 'is' : 'are');
    return [
        decisions && `${count(decisions, 'decision')} ${is(decisions)} taken as uniform.`,
        withoutTable && `${count(withoutTable, 'node')} without a table here ${is(withoutTable)} taken as uniform.`,
        withoutStates && `${count(withoutStates, 'node')} without states (continuous) ${is(withoutStates)} left out.`,
        scaledRows && `${count(scaledRows, 'row')} of tables did not sum to one and ${is(scaledRows)} scaled for this.`,
        emptyRows && `${count(emptyRows, 'row')} of zeros ${is(emptyRows)} taken as uniform.`,
    ].filter(Boolean);
}

/** What the net's own page says about the distributions. */
function planParagraphs() {
    const how = 'Select a node to see its distribution; a click on a state sets it as evidence.';
    const texts = planText() ? [planText()] : [...planNotes(), how];
    return el('div', {id: 'distribution'}, ...texts.map((text) => el('p', {class: 'faint', text})));
}

/** A node's distribution: a button a state, which sets it as evidence or takes it back. */
function beliefSection(index) {
    const node = nodes[index];
    const box = el('div', {id: 'distribution'});
    if (planText()) return box.append(el('p', {class: 'faint', text: planText()})), box;
    if (!beliefs.possible) return box.append(impossible()), box;
    if (isValued(node)) {
        const values = expectations.get(index);
        if (values) box.append(el('p', {text: `Expected ${values.length > 1 ? 'values' : 'value'}: ${values.map(shortNumber).join(', ')}`}));
    } else if (statesOf(node) > 0) {
        box.append(paged(statesOf(node), 40, 'States', (from, to) => {
            const bars = el('div', {class: 'bars', role: 'group', 'aria-label': 'Distribution'});
            for (let s = from; s < to; ++s) bars.append(beliefBar(index, s));
            return bars;
        }));
    }
    const {table, parameters} = node.relation;
    if (node.kind === 'decision') box.append(el('p', {class: 'faint', text: 'A decision: taken as uniform.'}));
    else if (!table && !parameters) box.append(el('p', {class: 'faint', text: statesOf(node) > 0 ? 'No table here: taken as uniform.' : 'No states: left out.'}));
    return box;
}

function beliefBar(index, state) {
    const p = beliefOf(index)[state];
    const bar = button('', () => toggleEvidence(index, state), {
        class: 'bar', 'aria-pressed': String(evidence.get(index) === state), 'data-state': state,
        title: 'Set as evidence, or take it back',
    });
    bar.append(el('span', {text: stateLabel(nodes[index], state)}), el('span', {class: 'part', text: percent(p)}));
    bar.style.setProperty('--part', p);
    return bar;
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

/** The evidence as buttons that take it back, and its probability. */
function showEvidence() {
    const usable = Boolean(plan && plan.fits);
    byId('beliefs').disabled = !usable;
    byId('beliefs').title = usable ? 'Show the distributions in the picture (m)' : planText();
    const parts = [...evidence].slice(0, 8).map(([index, state]) => {
        const text = `${titleOf(nodes[index])}: ${stateLabel(nodes[index], state)}`;
        return button(`× ${text}`, () => toggleEvidence(index, state), {class: 'chip', title: 'Take back', 'aria-label': `Take back ${text}`});
    });
    if (evidence.size > 8) parts.push(el('span', {class: 'note', text: `and ${evidence.size - 8} more`}));
    if (evidence.size > 1) parts.push(button('Clear', clearEvidence, {title: 'Take back all evidence (x)'}));
    if (evidence.size > 0 && beliefs && !asked) parts.push(beliefs.possible
        ? el('span', {class: 'note', text: `probability ${Number(Math.exp(beliefs.log).toPrecision(4))}`}) : impossible());
    byId('evidence').replaceChildren(...parts);
}

beliefListeners.push(showEvidence, refreshDistribution, () => redraw());
byId('beliefs').addEventListener('click', toggleInPicture);
