
'use strict';
// The report's page. Everything that comes from the file becomes text nodes or is drawn: no string
// of it is ever parsed as markup.

// What would not be seen or turn the text round is escaped in it, and shown as such, as in diagnostics.
const visible = (json) => json.replace(/\\(?:(u(?!00[0-7])[0-9a-f]{4})|.)/g, (all, hidden) => hidden ? '\\\\' + hidden : all);
const data = JSON.parse(visible(document.getElementById('data').textContent));
const nodes = data.nodes;
// The net as programs read it, which has the tables.
JSON.parse(document.getElementById('net').textContent)?.net.nodes.forEach(({relation}, i) => nodes[i].relation = {...relation, ...nodes[i].relation});
const byId = (id) => document.getElementById(id);
const titleOf = (node) => node.title || node.name;
const nameBeside = (node) => Boolean(node.title) && node.title !== node.name;
const isNamed = (text) => Boolean(text) && !/^(unknown|untitled)$/i.test(text.trim());
/** What the net is called: its title or name where these say anything, else its file. */
const netTitle = () => [data.net?.title, data.net?.name].find(isNamed) || data.file;
const count = (n, word) => `${n.toLocaleString('en')} ${word}${n === 1 ? '' : 's'}`;

/** An element with attributes ('text', 'class' and handlers 'onclick' ... among them) and children. */
function el(tag, attributes = {}, ...children) {
    const made = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (name === 'text') made.textContent = value;
        else if (name.startsWith('on')) made.addEventListener(name.slice(2), value);
        else if (value !== null && value !== false) made.setAttribute(name, value);
    }
    made.append(...children.filter((child) => child !== null));
    return made;
}

/**
 * Items shown in pages, so that the page never holds more than a few of them: a container whose
 * content fill(from, to) makes, and buttons to turn pages when there is more than one.
 */
function paged(total, perPage, what, fill) {
    const box = el('div');
    const show = (from, turned) => {
        const to = Math.min(total, from + perPage);
        box.replaceChildren(fill(from, to));
        if (total <= perPage) return;
        const turn = (label, target, enabled) => el('button', {
            type: 'button', text: label, 'aria-label': `${label} ${what}`,
            disabled: enabled ? null : '', onclick: () => show(target, label),
        });
        const last = Math.floor((total - 1) / perPage) * perPage;
        const place = el('span', {
            role: 'status',
            text: `${what} ${(from + 1).toLocaleString('en')} to ${to.toLocaleString('en')} of ${total.toLocaleString('en')}`,
        });
        const pager = el('div', {class: 'pager'}, turn('First', 0, from > 0),
            turn('Previous', Math.max(0, from - perPage), from > 0), place,
            turn('Next', from + perPage, to < total), turn('Last', last, to < total));
        box.append(pager);
        if (turned) {
            const again = [...pager.querySelectorAll('button')];
            (again.find((b) => b.textContent === turned && !b.disabled) || again.find((b) => !b.disabled)).focus();
        }
    };
    show(0, null);
    return box;
}

/** A button with its text and what it does; more attributes may follow. */
function button(text, onclick, attributes = {}) {
    return el('button', {type: 'button', text, onclick, ...attributes});
}

/** Says a text to those who hear the page. */
function say(text) {
    byId('said').textContent = text;
}

/** What the keys do, as [where, keys, what]; each part of the page adds its own. */
const keyHelp = [];

// ---- What is selected ----------------------------------------------------------------------

const listeners = [];
let selected = -1;
let selectedBy = '';

/**
 * Selects the node of that index (-1: none), shows it everywhere and puts it into the page's
 * address, so that the browser goes back to it; source says who asked. Steps of the keyboard from
 * node to node count as one.
 */
function select(index, source) {
    if (picking && source !== 'address') return pick(index);
    const changed = index !== selected;
    const stepping = source === 'keyboard' && selectedBy === 'keyboard';
    selected = index;
    selectedBy = source;
    for (const listener of listeners) listener(index, source);
    if (changed) stateChanged(stepping);
    say(index < 0 ? 'No node selected' : `${titleOf(nodes[index])} selected`);
}

/** Gives the node to the question that waits for one. */
function pick(index) {
    const take = picking;
    picking = null;
    take(index);
}

/** A button that leads to a node. */
function nodeLink(index) {
    return button(titleOf(nodes[index]), () => { select(index, 'link'); focusDetails(); }, {class: 'link'});
}

// ---- Links and problems by node ------------------------------------------------------------

const children = nodes.map(() => []);
nodes.forEach((node, child) => node.parents.forEach((parent) => children[parent].push(child)));
const problemsOf = new Map();
data.reports.forEach((report, i) => {
    if (report.node === undefined) return;
    if (!problemsOf.has(report.node)) problemsOf.set(report.node, []);
    problemsOf.get(report.node).push(i);
});
/** The kind of a node's worst problem, or null. */
function worstOf(index) {
    const own = problemsOf.get(index);
    if (!own) return null;
    return own.map((i) => data.reports[i]).reduce((a, b) => (b.severity > a.severity ? b : a)).kind;
}

function swatch(node) {
    const box = el('span', {class: `swatch ${node.kind}`, 'aria-hidden': 'true'});
    box.style.backgroundColor = node.fill;
    return box;
}
