
// ---- Problems ------------------------------------------------------------------------------

const problemsAtOnce = 30;

/** The text as nodes; what stands between backquotes is code. */
function withCode(text) {
    return text.split('`').map((part, i) => (i % 2 ? el('code', {text: part}) : part));
}

const cureOf = (number) => {
    const cure = data.cures[number];
    return cure ? el('p', {class: 'cure faint'}, ...withCode(cure.text)) : null;
};

function problemItem(report, withNode, withCure) {
    const place = report.line ? `${report.line}:${report.column}` : '';
    const line = el('div', {}, el('strong', {class: report.kind, text: report.kind}), ' ',
        place ? el('span', {class: 'faint', text: `line ${place} `}) : null,
        el('span', {text: report.message}),
        report.number ? el('span', {class: 'faint', text: ` [${report.number}]`}) : null,
        report.context ? el('span', {class: 'faint', text: `, in ${report.context}`}) : null);
    if (withNode && report.node !== undefined) line.append(' ', nodeLink(report.node));
    const item = el('li', {}, line);
    if (report.source) {
        const [before, after] = report.source;
        const caret = ' '.repeat([...before].length) + '^';
        item.append(el('pre', {tabindex: '0', 'aria-label': 'Source line', text: `${before}${after}\n${caret}`}));
    }
    const cure = withCure ? cureOf(report.number) : null;
    if (cure) item.append(cure);
    return item;
}

function problemList(indices, withNode = false, withCure = true) {
    return paged(indices.length, problemsAtOnce, 'Problems', (from, to) => {
        const list = el('ul', {class: 'problems'});
        indices.slice(from, to).forEach((i) => list.append(problemItem(data.reports[i], withNode, withCure)));
        return list;
    });
}

// ---- By kind -------------------------------------------------------------------------------

/** A line to unfold; its content is made when it is. */
function folded(summary, content, open = false) {
    const box = el('details', {open: open ? '' : null}, el('summary', {}, ...summary));
    const fill = () => { if (box.open && box.children.length === 1) box.append(...content()); };
    box.addEventListener('toggle', fill);
    fill();
    return box;
}

/** The reports of one number and severity; the worst kinds first, then the most frequent. */
function problemKinds() {
    const kinds = new Map();
    data.reports.forEach((report, i) => {
        const key = `${report.number} ${report.severity}`;
        if (!kinds.has(key)) kinds.set(key, {first: report, indices: []});
        kinds.get(key).indices.push(i);
    });
    return [...kinds.values()].sort((a, b) =>
        b.first.severity - a.first.severity || b.indices.length - a.indices.length);
}

const isHarmless = (kind) => kind.first.kind === 'notice' || Boolean(data.cures[kind.first.number]?.harmless);

/** What the kind says; where its problems differ, the words that they share. */
function kindText({first, indices}) {
    const same = indices.every((i) => data.reports[i].message === first.message);
    return same ? first.message : data.cures[first.number]?.message ?? first.message;
}

function kindLine(kind) {
    const {first, indices} = kind;
    const single = indices.length === 1 && first.line ? `, line ${first.line}:${first.column}` : '';
    return folded([el('strong', {class: first.kind, text: first.kind}), ' ', el('span', {text: kindText(kind)}),
        el('span', {class: 'faint', text: indices.length > 1 ? `, ${count(indices.length, 'time')}` : single})],
    () => [cureOf(first.number), problemList(indices, true, false)].filter((part) => part !== null));
}

function showProblems() {
    const box = byId('problems');
    const total = data.reports.length;
    const kinds = problemKinds();
    const harmless = kinds.filter(isHarmless);
    const harmlessCount = harmless.reduce((sum, kind) => sum + kind.indices.length, 0);
    const own = total - harmlessCount;
    byId('tab-problems').textContent = own ? `Problems ${own.toLocaleString('en')}` : 'Problems';
    box.append(own ? el('h2', {text: count(own, 'problem')}) : el('p', {class: 'faint', text: 'No problems.'}), ...kinds.filter((kind) => !isHarmless(kind)).map(kindLine));
    if (harmless.length > 0)
        box.append(folded([el('span', {class: 'faint', text: `${harmlessCount.toLocaleString('en')} harmless`})], () => harmless.map(kindLine)));
}
