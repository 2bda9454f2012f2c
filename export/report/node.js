
// ---- Details of a node, or of the net ------------------------------------------------------

const details = byId('details');
const rowsAtOnce = 50;
const columnsAtOnce = 20;
const parentsAtOnce = 12;
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

/**
 * A table of numbers by rows and columns, in pages both ways. heads: titles of the row heads;
 * rowHead(row): their texts; columns: titles of the value columns; value(row, column): a text.
 */
function numberTable(name, rowCount, heads, rowHead, columnCount, columnTitle, value) {
    return paged(columnCount, columnsAtOnce, `${name}: columns`, (firstColumn, endColumn) =>
        paged(rowCount, rowsAtOnce, `${name}: rows`, (firstRow, endRow) => {
            const top = el('tr', {}, ...heads.map((text) => el('th', {scope: 'col', text, title: text})));
            for (let c = firstColumn; c < endColumn; ++c) {
                const text = columnTitle(c);
                top.append(el('th', {scope: 'col', class: 'value', text, title: text}));
            }
            const body = el('tbody');
            for (let r = firstRow; r < endRow; ++r) {
                const row = el('tr', {}, ...rowHead(r).map((text) => el('th', {scope: 'row', text, title: text})));
                for (let c = firstColumn; c < endColumn; ++c) row.append(el('td', {text: value(r, c)}));
                body.append(row);
            }
            return el('div', {class: 'scroll', tabindex: '0', role: 'region', 'aria-label': name},
                el('table', {}, el('thead', {}, top), body));
        }));
}

/** The parents' states of a row of the table; the first parent's change slowest. */
function rowStates(node, row) {
    const texts = [];
    for (let i = node.parents.length - 1; i >= 0; --i) {
        const parent = nodes[node.parents[i]];
        const states = Math.max(1, statesOf(parent));
        if (i < parentsAtOnce) texts.unshift(statesOf(parent) > 0 ? stateLabel(parent, row % states) : '');
        row = Math.floor(row / states);
    }
    return node.parents.length > parentsAtOnce ? [...texts, '…'] : texts;
}

function parentHeads(node) {
    const heads = node.parents.slice(0, parentsAtOnce).map((parent) => titleOf(nodes[parent]));
    return node.parents.length > parentsAtOnce ? [...heads, '…'] : heads;
}

function probabilityTable(node, relation) {
    const states = Math.max(1, statesOf(node));
    const rowCount = relation.table.length / states;
    const single = relation.kind === 'deterministic';
    const valued = statesOf(node) === 0 || (relation.kind === 'real' && states === 1);
    const columns = single ? 1 : states;
    const experience = relation.experience;
    const title = (c) => {
        if (c === columns) return 'experience';
        if (single) return 'state';
        return valued ? 'value' : stateLabel(node, c);
    };
    const value = (r, c) => {
        if (c === columns) return String(experience[r]);
        if (!single) return String(relation.table[r * states + c]);
        return stateLabel(node, relation.table.indexOf(1, r * states) - r * states);
    };
    // A long single row reads better downwards.
    if (rowCount === 1 && columns > 8 && !experience) {
        return numberTable('Table', columns, ['state'], (row) => [stateLabel(node, row)], 1,
            () => (relation.kind === 'real' ? 'value' : 'probability'), (r) => value(0, r));
    }
    return numberTable('Table', rowCount, parentHeads(node), (row) => rowStates(node, row),
        columns + (experience ? 1 : 0), title, value);
}

/** Noisy-max: a distribution for every state but the first of every parent, and the leak's. */
function parameterTable(node, parameters) {
    const causes = [];
    node.parents.forEach((parent) => {
        for (let s = 1; s < statesOf(nodes[parent]); ++s) causes.push([titleOf(nodes[parent]), stateLabel(nodes[parent], s)]);
    });
    causes.push(['leak', '']);
    const states = statesOf(node);
    return numberTable('Noisy-max parameters', causes.length, ['cause', 'state'], (row) => causes[row],
        states, (c) => stateLabel(node, c), (r, c) => String(parameters[r * states + c]));
}

function relationSection(node) {
    const relation = node.relation;
    const made = section('Table', el('p', {class: 'faint', text: relationText(relation)}));
    if (relation.parameters) made.append(parameterTable(node, relation.parameters));
    if (relation.table) made.append(probabilityTable(node, relation));
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
        node.comment ? longText(node.comment) : null,
        own ? section('Problems', problemList(own)) : null,
        node.parents.length ? section('Parents', itemList(node.parents.length, 'Parents', (i) => nodeLink(node.parents[i]))) : null,
        children[index].length ? section('Children', itemList(children[index].length, 'Children', (i) => nodeLink(children[index][i]))) : null,
        relationSection(node),
        statesOf(node) ? section('States', stateTable(node)) : null,
        node.levels ? section('Levels', itemList(node.levels.length, 'Levels', (i) => String(node.levels[i]))) : null,
        node.groups.length ? section('Groups', itemList(node.groups.length, 'Groups', (i) => groupLink(node.groups[i]))) : null,
        node.fields.length ? section('User fields', ...fieldParts(node.fields)) : null,
    ];
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
    return el('span', {}, box, ' ', el('button', {
        type: 'button', class: 'link', text: group.name, title: 'Find its nodes',
        onclick: () => searchFor(group.name),
    }));
}

function netParts() {
    const net = data.net;
    if (!net) return [el('h2', {tabindex: '-1', id: 'heading', text: 'Nothing could be read'})];
    return [
        el('h2', {tabindex: '-1', id: 'heading', text: net.title || net.name}),
        el('p', {class: 'faint', text: `${net.name}: ${count(nodes.length, 'node')}, ${count(nodes.reduce((sum, node) => sum + node.parents.length, 0), 'link')}` }),
        picture.laidOut ? el('p', {class: 'faint', text: 'The file has no positions that make a drawing; the nodes were placed automatically.'}) : null,
        net.comment ? longText(net.comment) : null,
        data.groups.length ? section('Groups', itemList(data.groups.length, 'Groups', groupLink)) : null,
    ];
}

let cameFrom = null;

/** Moves the focus to the details; Escape takes it back. */
function focusDetails() {
    const active = document.activeElement;
    if (!details.contains(active) && active !== document.body) cameFrom = active;
    byId('heading').focus();
}

details.addEventListener('keydown', (event) => {
    if (event.key !== 'Escape') return;
    event.preventDefault();
    (cameFrom && cameFrom.isConnected ? cameFrom : canvas).focus();
});

function showDetails(index) {
    details.scrollTop = 0;
    details.replaceChildren(...(index < 0 ? netParts() : nodeParts(index)).filter((part) => part !== null));
}
listeners.push(showDetails);
