
// ---- On paper ------------------------------------------------------------------------------
// Made when the page is printed: title, picture, every table of no more than 200 rows, problems.

const mostPrintedRows = 200;
const mostPrintedCells = 100000;
const mostDrawnNodes = 3000;  // more are painted
const paperWidth = 940;  // in letters of the screen's size

/** The whole table in parts that are as wide as the paper; each has all row heads. */
function printedTable({rows, columns, value}) {
    const heads = rows.titles.map((title, level) => widest(rows.count, (i) => rows.label(level, i), textWidth(title), 110));
    const head = heads.reduce((a, b) => a + b, 0);
    const cell = widest(rows.count, (r) => value(r, 0), widest(columns.count, (c) => columns.label(0, c), 40, 110), 110);
    const atOnce = Math.max(2, Math.floor((paperWidth - head) / cell));
    const parts = [];
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
        parts.push(el('table', {}, el('thead', {}, top), body));
    }
    return parts;
}

function printedNode(node, room) {
    const parts = [];
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
        parts.push(...printedTable(shown));
    }
    if (parts.length === 0) return null;
    const name = nameBeside(node) ? ` (${node.name})` : '';
    return el('section', {}, el('h3', {text: titleOf(node) + name}), ...parts);
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
        ...nodes.map((node) => printedNode(node, room)).filter((part) => part !== null),
        el('h2', {text: data.reports.length ? count(data.reports.length, 'problem') : 'No problems.'}), el('ul', {}, ...problems));
}

addEventListener('beforeprint', preparePrint);
addEventListener('afterprint', () => byId('print').replaceChildren());
