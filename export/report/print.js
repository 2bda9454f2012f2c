
// ---- On paper ------------------------------------------------------------------------------
// Made when the page is printed: title, picture, every table of no more than 200 rows, problems.

const mostPrintedRows = 200;
const mostPrintedCells = 100000;
const mostRowsBeside = 30;  // of a table in two columns
const mostDrawnNodes = 3000;  // more are painted
const paperWidth = 1020;  // in letters of the screen's size
const smallLetters = 1.3;  // times as much stands beside each other in them

/** A table too wide for the paper, most of whose cells are 0: every row lists its others. */
function listedTable({rows, columns, value}) {
    const cells = (r) => Array.from({length: columns.count}, (_, c) => [columns.label(0, c), value(r, c)]).filter(([, text]) => text !== '0');
    const listed = Array.from({length: rows.count}, (_, r) => cells(r));
    if (listed.flat().length > rows.count * columns.count / 2) return null;
    const line = (made, heads, text) => el('tr', {}, ...heads.map((head) => el('th', {text: head})), el(made, {class: 'listed', text}));
    return el('table', {}, el('thead', {}, line('th', rows.titles, 'all that is not 0')), el('tbody', {}, ...listed.map((row, r) =>
        line('td', rows.titles.map((_, level) => rows.label(level, r)), row.map((cell) => cell.join('\xa0')).join(', ')))));
}

/** The whole table in parts that are as wide as the paper; each has all row heads. */
function printedTable(model) {
    const {rows, columns, value} = model;
    const heads = rows.titles.map((title, level) => widest(rows.count, (i) => rows.label(level, i), textWidth(title), 190));
    const head = heads.reduce((a, b) => a + b, 0);
    const cell = widest(rows.count * columns.count, (i) => value(Math.floor(i / columns.count), i % columns.count),
        widest(columns.count, (c) => columns.label(0, c), 40, 110), mostNumber);
    const isSmall = head + cell * columns.count > paperWidth;
    const atOnce = Math.max(2, Math.floor((paperWidth * (isSmall ? smallLetters : 1) - head) / cell));
    const parts = [], listed = columns.count > atOnce && listedTable(model);
    if (listed) return Object.assign([listed], {wide: true});
    for (let from = 0; from < columns.count; from += atOnce) {
        const to = Math.min(columns.count, from + atOnce);
        const top = el('tr', {}, ...rows.titles.map((text) => el('th', {text})));
        for (let c = from; c < to; ++c) top.append(el('th', {class: 'value', text: columns.label(0, c)}));
        const body = el('tbody');
        for (let r = 0; r < rows.count; ++r) {
            const row = el('tr', {}, ...rows.titles.map((_, level) => el('th', {text: rows.label(level, r)})));
            for (let c = from; c < to; ++c) row.append(el('td', {text: value(r, c)}));
            body.append(row);
        }
        parts.push(el('table', {class: isSmall ? 'small' : ''}, el('thead', {}, top), body));
    }
    parts.wide = isSmall || head + cell * columns.count > paperWidth * 0.48 || rows.count > mostRowsBeside;
    return parts;
}

function printedNode(index, room) {
    const node = nodes[index], parts = [];
    let wide = false;
    for (const [name, model] of tableModels(node)) {
        const transposed = model.rows.count === 1 && model.columns.count > 8;
        const shown = transposed ? {rows: model.columns, columns: {...model.rows, titles: ['']}, value: (r, c) => model.value(c, r)} : model;
        if (transposed) shown.columns.label = () => 'probability';
        const cells = shown.rows.count * (shown.columns.count + shown.rows.titles.length);
        if (shown.rows.count > mostPrintedRows || cells > room.cells) {
            parts.push(el('p', {class: 'faint', text: `${name}: ${count(shown.rows.count, 'row')}, not printed.`}));
            continue;
        }
        room.cells -= cells;
        const made = printedTable(shown);
        wide ||= made.wide;
        parts.push(...made);
    }
    const believed = printedBelief(index);
    if (believed) parts.unshift(believed);
    if (parts.length === 0) return null;
    const name = nameBeside(node) ? ` (${node.name})` : '';
    return {wide, section: el('section', {}, el('h3', {text: titleOf(node) + name}), ...parts)};
}

const mostPrintedStates = 30;

/** What is believed of the node, in a line. */
function printedBelief(index) {
    const belief = beliefOf(index), values = isValued(nodes[index]) ? expectations.get(index) : null;
    if (values) return el('p', {class: 'told', text: `Expected: ${values.map(shortNumber).join(', ')}`});
    if (!belief || belief.length > mostPrintedStates) return null;
    const errors = beliefs.errors?.[index];
    const share = (p, s) => `${stateLabel(nodes[index], s)} ${percent(p)}${errors ? ` ± ${(100 * errors[s]).toFixed(1)}` : ''}`;
    return el('p', {class: 'told', text: `${evidence.has(index) ? 'Evidence: ' : ''}${Array.from(belief, share).join(', ')}`});
}

/** The nodes' tables, small ones first, in two columns. */
function printedNodes(room) {
    const made = nodes.map((_, index) => printedNode(index, room)).filter(Boolean);
    const sections = (wide) => made.filter((one) => one.wide === wide).map((one) => one.section);
    return [el('div', {class: 'two'}, ...sections(false)), ...sections(true)];
}

/** What the beliefs are given, and what of them is not exact. */
function printedEvidence() {
    if (!beliefs || nodes.length === 0) return [];
    const texts = [...evidence.keys()].map(evidenceText), notes = byId('evidence').querySelectorAll('.note');
    return [
        texts.length > 0 ? el('p', {text: `Evidence: ${texts.join('; ')}. ${[...notes].map((note) => note.textContent).join(', ')}`}) : '',
        beliefs.utility !== null && beliefs.possible && texts.length === 0 ? el('p', {text: `Expected utility: ${shortNumber(beliefs.utility)}`}) : '',
        beliefs.possible ? '' : impossible(), ...planNotes().map((text) => el('p', {class: 'faint', text})),
    ];
}

function preparePrint() {
    const chosen = selected, room = {cells: mostPrintedCells};
    selected = -1;
    const drawn = nodes.length <= mostDrawnNodes ? svgPicture() : paintedPicture();
    selected = chosen;
    const problems = problemKinds().map((kind) => el('li', {}, el('strong', {text: kind.first.kind}), ` ${kindText(kind)}: `,
        el('span', {text: kind.indices.slice(0, 50).map((i) => {
            const {line, column, message} = data.reports[i];
            return line ? `${line}:${column}` : message;
        }).join(', ')}), kind.indices.length > 50 ? ` and ${kind.indices.length - 50} more` : ''));
    byId('print').replaceChildren(el('h1', {text: byId('title').textContent}), el('p', {text: byId('facts').textContent}), drawn,
        data.net && data.net.comment ? el('p', {text: data.net.comment}) : '',
        ...printedEvidence(), ...printedNodes(room),
        el('h2', {text: data.reports.length ? count(data.reports.length, 'problem') : 'No problems.'}), el('ul', {}, ...problems));
}

addEventListener('beforeprint', preparePrint);
addEventListener('afterprint', () => byId('print').replaceChildren());
