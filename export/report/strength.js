
// ---- Strength of links ---------------------------------------------------------------------
// Shown as width and colour: by mutual information, or by the largest distance between rows.

const strengthClasses = 6;
const measures = {
    information: {
        title: 'Mutual information',
        text: 'A link is as wide as the mutual information of parent and child, in bits, when the parents are independent and distributed as they are now; the widest has',
    },
    distance: {
        title: 'Row distance',
        text: "A link is as wide as the largest total variation distance (0 to 1) between two rows of the child's table that differ in this parent alone (of a utility: the largest change beside its range); the widest has",
    },
};
let strength = '';  // what is shown, by its key in measures
let strengths = null;  // by child a number a parent
let strengthClass = new Map();  // by link
let strongest = 0;

const linkKey = (parent, child) => parent * nodes.length + child;

async function computeStrengths() {
    if (!strength || !isUsable()) return;
    const measure = strength;
    const {values} = await question('strength', {measure, beliefs: beliefs && beliefs.possible ? beliefs.beliefs : null});
    if (measure !== strength) return;
    strengths = values;
    strongest = values.flat().reduce((most, value) => Math.max(most, value ?? 0), 0);
    strengthClass = new Map();
    nodes.forEach((node, child) => node.parents.forEach((parent, k) => {
        const part = values[child][k] === null ? -1 : strongest > 0 ? values[child][k] / strongest : 0;
        strengthClass.set(linkKey(parent, child), part < 0 ? -1 : Math.min(strengthClasses - 1, Math.floor(Math.sqrt(part) * strengthClasses)));
    }));
    redraw();
    refreshStrengths();
}

/** Shows that measure (none: ''), or the next. */
function showStrength(measure = ['', ...Object.keys(measures), ''][['', ...Object.keys(measures)].indexOf(strength) + 1]) {
    if (!isUsable()) return;
    strength = measure;
    strengths = null;
    strengthClass = new Map();
    byId('strength').value = measure;
    computeStrengths();
    redraw();
    refreshStrengths();
    stateChanged();
    say(measure ? `Links by ${measures[measure].title.toLowerCase()}` : 'Plain links');
}

/** How wide a link is, and its colour; null: as all are. */
function strengthStyle(part) {
    if (part < 0) return {width: 0.6, color: colors.link};
    const share = part / (strengthClasses - 1), mixed = colorsBetween(colors.link, colors.strong, share);
    return {width: 0.8 + 5.2 * share, color: mixed};
}

function colorsBetween(a, b, share) {
    const parts = (color) => color.match(/[\d.]+/g).map(Number);
    const from = parts(a), to = parts(b);
    return `rgb(${[0, 1, 2].map((i) => Math.round(from[i] + (to[i] - from[i]) * share)).join(', ')})`;
}

/** What is said of the link from the node's k-th parent. */
const strengthOf = (child, k) => (strengths && strengths[child][k] !== null ? ` ${strengths[child][k].toFixed(3)}` : '');

function strengthParagraph() {
    if (!strength) return null;
    return el('p', {class: 'faint', id: 'strength-text', text: `${measures[strength].text} ${strengths ? strongest.toFixed(3) : '…'}.`});
}

function refreshStrengths() {
    if (!byId('strengths')) return;
    byId('strengths').replaceChildren(...strengthParts(selected));
}

/** The strength of the links into the node, or what the net's widths mean. */
function strengthParts(index) {
    if (!strength) return [];
    const own = index >= 0 && strengths ? strengths[index].map((value, k) => [k, value]).filter(([, value]) => value !== null).sort((a, b) => b[1] - a[1]) : [];
    const list = own.length > 0 ? itemList(own.length, 'Parents', (i) => el('span', {}, nodeLink(nodes[index].parents[own[i][0]]),
        el('span', {class: 'faint', text: strengthOf(index, own[i][0])}))) : null;
    return [el('h3', {text: 'Strength of links'}), strengthParagraph(), list].filter(Boolean);
}
const strengthSection = (index) => el('section', {id: 'strengths', 'aria-label': 'Strength of links'}, ...strengthParts(index));

byId('strength').addEventListener('change', ({target}) => showStrength(target.value));
let strengthFor = null;  // the answer that the strengths were computed with
beliefListeners.push(() => {
    byId('strength').disabled = !isUsable();
    if (strength !== 'information' || !beliefs || strengthFor === beliefs || beliefs.samples > 0) return;
    strengthFor = beliefs;
    computeStrengths();
});
