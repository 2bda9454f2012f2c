
// ---- Details of a node, or of the net ------------------------------------------------------

const details = byId('details');
const content = byId('content');
const rowsAtOnce = 50;
const itemsAtOnce = 40;

const statesOf = (node) => (typeof node.states === 'number' ? node.states : node.states.length);
const stateEntry = (node, i) => (typeof node.states === 'number' ? `#${i}` : node.states[i]);
const stateLabel = (node, i) => [].concat(stateEntry(node, i))[0];

function section(title, ...content) {
    return el('section', {'aria-label': title}, el('h3', {text: title}), ...content);
}

function itemList(total, what, item) {
    return paged(total, itemsAtOnce, what, (from, to) => {
        const list = el('ul', {class: 'items'});
        for (let i = from; i < to; ++i) list.append(el('li', {}, item(i)));
        return list;
    });
}

function longText(text) {
    return el('p', {class: 'text', text, tabindex: text.length > 2000 ? '0' : null});
}

function stateTable(node) {
    return paged(statesOf(node), rowsAtOnce, 'States', (from, to) => {
        const body = el('tbody');
        for (let i = from; i < to; ++i) {
            const [label, name, comment] = [].concat(stateEntry(node, i));
            body.append(el('tr', {}, el('th', {scope: 'row', text: label, title: label}),
                el('td', {class: 'words', text: name || ''}), el('td', {class: 'words', text: comment || ''})));
        }
        return el('div', {class: 'scroll'}, el('table', {}, body));
    });
}

// ---- The tables of a node ------------------------------------------------------------------

/** An axis of one head a place. */
function simpleAxis(count, title, label) {
    return {count, titles: [title], digit: (_, i) => i, label: (_, i) => label(i)};
}

/** The combinations of the parents' states; the first parent's change slowest. */
function parentAxis(parents, count) {
    const strides = [];
    parents.reduceRight((stride, parent, i) => {
        strides[i] = stride;
        return stride * Math.max(1, statesOf(parent));
    }, 1);
    const digit = (level, i) => Math.floor(i / strides[level]) % Math.max(1, statesOf(parents[level]));
    const label = (level, i) => (statesOf(parents[level]) > 0 ? stateLabel(parents[level], digit(level, i)) : '');
    return {count, titles: parents.map(titleOf), digit, label};
}

function probabilityModel(node, relation) {
    const {table, experience, kind} = relation;
    const states = Math.max(1, statesOf(node));
    const single = kind === 'deterministic';
    const valued = statesOf(node) === 0 || (kind === 'real' && states === 1);
    const own = single ? 1 : states;
    const most = kind === 'real' ? table.reduce((a, b) => Math.max(a, Math.abs(b)), 0) || 1 : 1;
    const title = (c) => {
        if (c === own) return 'experience';
        if (single) return 'state';
        return valued ? 'value' : stateLabel(node, c);
    };
    const key = (r, c) => {
        if (c === own) return experience[r];
        return single ? table.indexOf(1, r * states) - r * states : table[r * states + c];
    };
    const value = (r, c) => (single && c < own ? stateLabel(node, key(r, c)) : String(key(r, c) ?? ''));
    return {
        rows: parentAxis(node.parents.map((parent) => nodes[parent]), table.length / states), columns: simpleAxis(own + (experience ? 1 : 0), '', title),
        key, value, part: (r, c) => (single || c === own ? NaN : Math.min(1, Math.abs(key(r, c)) / most)),
    };
}

/** The states of the node and of each parent from the weakest up, as noisy-max parameters count them. */
function risingStates(node) {
    const {order} = node.relation;
    let at = 0;
    return [node, ...node.parents.map((parent) => nodes[parent])].map((one) =>
        Array.from({length: statesOf(one)}, (_, s) => (order ? order[at++] : s)));
}

/** Noisy-max: a distribution for every state but the weakest of every parent, and the leak's. */
function parameterModel(node, parameters) {
    const causes = [], [own, ...parents] = risingStates(node);
    parents.forEach((rising, k) => {
        const parent = nodes[node.parents[k]];
        for (const s of rising.slice(1)) causes.push([titleOf(parent), stateLabel(parent, s)]);
    });
    causes.push(['leak', '']);
    const states = statesOf(node);
    const key = (r, c) => parameters[r * states + c];
    return {
        rows: {count: causes.length, titles: ['cause', 'state'], digit: (level, i) => causes[i][level], label: (level, i) => causes[i][level]},
        columns: simpleAxis(states, '', (c) => stateLabel(node, own[c])), key, value: (r, c) => String(key(r, c)), part: key,
    };
}

/** The node's tables of numbers, each with its name. */
function tableModels(node) {
    const {relation} = node;
    const models = [];
    if (relation.parameters) models.push(['Noisy-max parameters', parameterModel(node, relation.parameters)]);
    if (relation.table) models.push(['Table', probabilityModel(node, relation)]);
    return models;
}

function relationSection(node) {
    const relation = node.relation;
    const made = section('Table', el('p', {class: 'faint', text: relationText(relation)}));
    made.classList.add('relation');
    for (const [name, model] of tableModels(node)) made.append(new NumberTable(name, model).box);
    if (relation.leftOut) made.append(el('p', {
        class: 'warning',
        text: `The table's ${count(relation.leftOut, 'number')} are left out here: this page holds at most ${data.mostNumbers.toLocaleString('en')} numbers.`,
    }));
    return made;
}

function relationText(relation) {
    const texts = {
        none: 'No table.', table: 'One distribution a row.', deterministic: 'Deterministic: one state a row.',
        'noisy-max': 'Noisy-max.', real: 'Real values.',
    };
    return texts[relation.kind];
}

function nodeParts(index) {
    const node = nodes[index];
    const own = problemsOf.get(index);
    const kind = node.kind + (node.discrete ? '' : ', continuous');
    const facts = `${kind}, ${count(statesOf(node), 'state')}`;
    return [
        el('h2', {tabindex: '-1', id: 'heading', text: titleOf(node)}),
        el('p', {class: 'faint', text: nameBeside(node) ? `${node.name}: ${facts}` : facts}),
        relationButtons(),
        node.comment ? longText(node.comment) : null,
        own ? section('Problems', problemList(own)) : null,
        section(isValued(node) ? 'Expectation' : 'Distribution', beliefSection(index)),
        likelihoodSection(index),
        relationSection(node),
        questionSection(index),
        node.parents.length ? section('Parents', itemList(node.parents.length, 'Parents', (i) => nodeLink(node.parents[i]))) : null,
        strengthSection(index),
        children[index].length ? section('Children', itemList(children[index].length, 'Children', (i) => nodeLink(children[index][i]))) : null,
        hasStateTexts(node) ? section('States', stateTable(node)) : null,
        node.levels ? section('Levels', itemList(node.levels.length, 'Levels', (i) => String(node.levels[i]))) : null,
        node.groups.length ? section('Groups', itemList(node.groups.length, 'Groups', (i) => groupLink(node.groups[i]))) : null,
        node.fields.length ? section('User fields', ...fieldParts(node.fields)) : null,
    ];
}

/** Whether there is more to say of the states than the distribution shows. */
function hasStateTexts(node) {
    return typeof node.states !== 'number' && (node.states.some(Array.isArray) || isValued(node) || Boolean(plan && plan.failed));
}

function fieldParts(fields) {
    return [paged(fields.length, itemsAtOnce, 'Fields', (from, to) => {
        const body = el('tbody');
        fields.slice(from, to).forEach(([name, value]) =>
            body.append(el('tr', {}, el('th', {scope: 'row', text: name}), el('td', {class: 'words', text: value, title: value}))));
        return el('div', {class: 'scroll'}, el('table', {}, body));
    })];
}

function groupLink(index) {
    const group = data.groups[index];
    const box = el('span', {class: 'swatch', 'aria-hidden': 'true'});
    box.style.backgroundColor = group.color;
    return el('span', {class: 'choices'}, box, ' ', el('button', {
        type: 'button', class: 'link', text: group.name, title: 'Find its nodes',
        onclick: () => searchFor(group.name),
    }), ...groupButtons(index));
}

function netParts() {
    const net = data.net;
    if (!net) return [el('h2', {tabindex: '-1', id: 'heading', text: 'Nothing could be read'})];
    return [
        el('h2', {tabindex: '-1', id: 'heading', text: netTitle()}),
        el('p', {class: 'faint', text: `${net.name}: ${count(nodes.length, 'node')}, ${count(nodes.reduce((sum, node) => sum + node.parents.length, 0), 'link')}` }),
        nodes.length === 0 ? el('p', {text: 'This net has no nodes.'}) : null,
        picture.laidOut && nodes.length > 0 ? el('p', {class: 'faint', text: 'The nodes were placed by the automatic layout.'}) : null,
        net.comment ? longText(net.comment) : null,
        nodes.length ? planParagraphs() : null,
        nodes.length ? questionSection(-1) : null,
        strengthSection(-1),
        data.groups.length ? section('Groups', itemList(data.groups.length, 'Groups', groupLink)) : null,
    ];
}

let cameFrom = null;

/** Moves the focus to the details; Escape takes it back. */
function focusDetails() {
    const active = document.activeElement;
    if (!details.contains(active) && active !== document.body) cameFrom = active;
    goToPanel('details');
    byId('heading').focus();
}

details.addEventListener('keydown', (event) => {
    if (event.key !== 'Escape') return;
    event.preventDefault();
    if (document.body.dataset.panel) return widen('');
    (cameFrom && cameFrom.isConnected && cameFrom.offsetParent ? cameFrom : canvas).focus();
});

function showDetails(index) {
    details.scrollTop = 0;
    content.replaceChildren(...(index < 0 ? netParts() : nodeParts(index)).filter((part) => part !== null));
}
listeners.push(showDetails);

// ---- The panel's width ---------------------------------------------------------------------

const widths = ['', 'wide', 'full'];

/** Makes the panel as wide as told, or a step wider: half of the window, all of it, as it was. */
function widen(width = widths[(widths.indexOf(document.body.dataset.panel || '') + 1) % widths.length]) {
    document.body.dataset.panel = width;
    const next = {'': 'Widen', wide: 'Fill', full: 'Narrow'}[width];
    byId('widen').textContent = next;
    byId('widen').title = `${next} the panel (w)`;
}
byId('widen').addEventListener('click', () => widen());
keyHelp.push(['Details', 'Escape', 'back to where you were']);
