
// ---- Problems ------------------------------------------------------------------------------

const problemsAtOnce = 30;

/** The text as nodes; what stands between backquotes is code. */
function withCode(text) {
    return text.split('`').map((part, i) => (i % 2 ? el('code', {text: part}) : part));
}

function problemItem(report, withNode) {
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
    const cure = data.cures[report.number];
    if (cure) item.append(el('p', {class: 'cure faint'}, ...withCode(cure)));
    return item;
}

function problemList(indices, withNode = false) {
    return paged(indices.length, problemsAtOnce, 'Problems', (from, to) => {
        const list = el('ul', {class: 'problems'});
        indices.slice(from, to).forEach((i) => list.append(problemItem(data.reports[i], withNode)));
        return list;
    });
}

// ---- Start ---------------------------------------------------------------------------------

function isDark() {
    const chosen = document.documentElement.dataset.theme;
    return chosen ? chosen === 'dark' : matchMedia('(prefers-color-scheme: dark)').matches;
}

function recolor() {
    byId('theme').setAttribute('aria-pressed', String(isDark()));
    readColors();
    redraw();
}

function start() {
    byId('title').textContent = data.net ? data.net.title || data.net.name : data.file;
    const status = {
        ok: 'read', warnings: 'read with warnings', errors: 'read with errors', failed: 'nothing could be read',
    }[data.status];
    byId('facts').textContent = [data.file, data.format, status].filter((text) => text).join(', ');
    if (data.reports.length > 0) {
        byId('problems').append(el('h2', {text: count(data.reports.length, 'problem')}),
            problemList(data.reports.map((_, i) => i), true));
    } else {
        byId('problems').append(el('p', {class: 'faint', text: 'No problems.'}));
    }
    byId('theme').addEventListener('click', () => {
        document.documentElement.dataset.theme = isDark() ? 'light' : 'dark';
        recolor();
    });
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', recolor);
    recolor();
    showDetails(-1);
    search();
    fit();
    selectAddressed();
    addEventListener('hashchange', selectAddressed);
}

start();
