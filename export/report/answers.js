
// ---- Questions -----------------------------------------------------------------------------
// What a person asks beyond the distributions; the worker answers. An answer stands in the details
// until something else is selected or said.

const waiting = new Map();  // by number of a question what takes its answer
let questions = 0;
let picking = null;  // takes the node that is selected next
let trail = null;  // nodes that are lit one after the other

function question(kind, more = {}) {
    return new Promise((resolve) => {
        waiting.set(++questions, resolve);
        worker.postMessage({question: kind, id: questions, evidence: toldWeights(), ...more});
    });
}

function receiveAnswer(answer) {
    waiting.get(answer.id)(answer);
    waiting.delete(answer.id);
}

const given = () => (evidence.size > 0 ? ` given ${[...evidence.keys()].map(evidenceText).join(', ')}` : '');
const hasDistribution = (index) => index >= 0 && !isValued(nodes[index]) && statesOf(nodes[index]) > 0;

/** Shows an answer below the questions' buttons, where it is seen, and says it. */
function showAnswer(...parts) {
    const box = byId('answer'), first = parts[0];
    box?.replaceChildren(...parts);
    if (!box || !first) return;
    for (const part of [box, first]) part.scrollIntoView({block: 'nearest'});
    say(first.textContent);
}
const answerText = (text) => el('p', {text});

/** Asks, and shows what show makes of the answer unless something else is wanted by then. */
async function askAndShow(kind, more, show) {
    if (!isUsable()) return say(planText());
    goToPanel('details');
    showAnswer(el('p', {class: 'faint', text: 'Computing …'}));
    const wantedFor = JSON.stringify([selected, ...toldWeights()]);
    const answer = await question(kind, more);
    if (wantedFor !== JSON.stringify([selected, ...toldWeights()])) return;
    showAnswer(...(answer.tooLarge ? [answerText('This would need more numbers than there is room for.')] : show(answer)));
}

/** The likeliest states of all nodes together. */
function askExplanation() {
    askAndShow('explanation', {}, ({states, log, total}) => {
        if (!states) return [impossible()];
        const share = total === null ? '' : `, ${percent(Math.exp(log - total))} of what is possible${given()}`;
        const told = nodes.map((_, i) => i).filter((i) => hasDistribution(i) && !(evidence.has(i) && !Array.isArray(evidence.get(i))));
        return [
            answerText(`Most probable explanation: probability ${shortNumber(Math.exp(log))}${share}`),
            itemList(told.length, 'Nodes', (i) => el('span', {}, nodeLink(told[i]), ` ${stateLabel(nodes[told[i]], states[told[i]])}`)),
        ];
    });
}

/** Which observation would tell most about the selected node. */
function askTelling() {
    const target = selected;
    if (!hasDistribution(target)) return say('Select a node with states first');
    askAndShow('telling', {target}, ({bits, entropy}) => {
        const found = bits.map((value, i) => [i, value]).filter(([, value]) => value > 1e-9).sort((a, b) => b[1] - a[1]);
        if (found.length === 0) return [answerText(`No observation tells anything about ${titleOf(nodes[target])}${given()}.`)];
        return [
            answerText(`Would tell most about ${titleOf(nodes[target])}${given()}, of its ${entropy.toFixed(3)} bits:`),
            itemList(found.length, 'Nodes', (i) => el('span', {}, nodeLink(found[i][0]), el('span', {class: 'faint', text: ` ${found[i][1].toFixed(4)}`}))),
        ];
    });
}

/** Whether the selected node and another, which is selected next, tell of each other; by what trail. */
function askTrail() {
    const from = selected;
    if (!isUsable() || from < 0) return say('Select a node first');
    showAnswer(answerText('To which other node? Select it in the picture or the list.'));
    picking = (to) => {
        if (to < 0 || to === from) return showAnswer();
        askAndShow('trail', {from, to}, (answer) => [answerText(trailText(from, to, answer.trail))]);
    };
}

function trailText(from, to, found) {
    const names = `${titleOf(nodes[from])} and ${titleOf(nodes[to])}`;
    const told = evidence.size > 0 ? given() : ' without evidence';
    showTrail(found.length > 0 ? found : [from, to]);
    if (found.length === 0) return `${names} are d-separated${told}: neither tells anything about the other.`;
    const steps = found.map((v, i) => (i === 0 ? titleOf(nodes[v]) : `${nodes[v].parents.includes(found[i - 1]) ? ' → ' : ' ← '}${titleOf(nodes[v])}`));
    return `${names} are d-connected${told}, by ${steps.join('')}`;
}

/** Lights the nodes and the links between neighbours of the trail; null: no longer. */
function showTrail(found) {
    trail = found;
    light();
}

const isOnTrail = (a, b) => trail.some((v, i) => i > 0 && ((v === a && trail[i - 1] === b) || (v === b && trail[i - 1] === a)));

function questionSection(index) {
    const about = index < 0 ? [] : [
        hasDistribution(index) ? button('What would tell most?', askTelling, {title: 'Which observation would tell most about this node (i)'}) : null,
        button('Separated from …?', askTrail, {title: 'Whether this node and another are d-separated given the evidence (o)'}),
    ];
    return section('Questions', el('div', {class: 'choices'}, ...about,
        button('Most probable explanation', askExplanation, {title: 'The likeliest states of all nodes together (e)'})), el('div', {id: 'answer'}));
}

// ---- Likelihood evidence -------------------------------------------------------------------

const mostLikelihoods = 40;

/** How likely what was seen is in each state: numbers to fill in; zero rules the state out. */
function likelihoodSection(index) {
    const node = nodes[index], states = statesOf(node);
    if (!hasDistribution(index) || node.kind === 'decision' || states < 2 || states > mostLikelihoods || (plan && plan.failed)) return null;
    return folded(['Likelihood evidence'], () => {
        const told = evidence.has(index) ? toldOf(index) : Array(states).fill(1);
        const inputs = told.map((weight, state) => el('input', {
            type: 'number', min: '0', step: 'any', value: shortNumber(weight), 'aria-label': `Likelihood of ${stateLabel(node, state)}`,
        }));
        const rows = inputs.map((input, state) => el('label', {}, el('span', {text: stateLabel(node, state)}), input));
        const set = () => {
            const weights = inputs.map((input) => Number(input.value));
            if (weights.every((weight) => Number.isFinite(weight) && weight >= 0)) setEvidence(index, weights);
            else say('Likelihoods are numbers from zero');
        };
        return [el('div', {class: 'likelihoods'}, el('p', {class: 'faint', text: 'How likely what was seen is in each state; 0 rules it out.'}),
            ...rows, el('div', {class: 'choices'}, button('Set', set), button('Take back', () => { evidence.delete(index); evidenceChanged(); })))];
    });
}

listeners.push(() => { if (trail) showTrail(null); });
beliefListeners.push(() => {
    if (asked && byId('answer')?.firstChild) byId('answer').replaceChildren();
    if (asked && trail) showTrail(null);
});
