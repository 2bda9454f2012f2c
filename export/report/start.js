
// ---- Panels, keys for the whole page, start ------------------------------------------------

/** Goes to a panel: where there is room for one only, that is shown. */
function goToPanel(name) {
    document.querySelector('main').dataset.tab = name;
    for (const tab of document.querySelectorAll('#tabs [role=tab]')) {
        const chosen = tab.id === `tab-${name}`;
        tab.setAttribute('aria-selected', String(chosen));
        tab.tabIndex = chosen ? 0 : -1;
    }
    if (isHidden(byId(name))) widen('');
}

/** Whether the wide details leave no room for it. */
const isHidden = (element) => element.offsetWidth === 0 || getComputedStyle(element).visibility === 'hidden';

function focusPicture() {
    if (isHidden(canvas)) widen('');
    canvas.focus();
}

byId('tabs').addEventListener('click', ({target}) => { if (target.id.startsWith('tab-')) goToPanel(target.id.slice(4)); });
byId('tabs').addEventListener('keydown', (event) => {
    const step = {ArrowRight: 1, ArrowLeft: -1}[event.key];
    if (!step) return;
    const tabs = [...byId('tabs').children];
    const next = tabs[(tabs.indexOf(document.activeElement) + step + tabs.length) % tabs.length];
    goToPanel(next.id.slice(4));
    next.focus();
});

function focusPanel(name) {
    goToPanel(name);
    const target = name === 'nodes' ? byId('list') : byId(name).querySelector('summary, button');
    if (target) target.focus();
}

const pageKeys = [
    ['/', 'search', () => { goToPanel('nodes'); byId('search').focus(); byId('search').select(); }],
    ['1', 'to the list', () => focusPanel('nodes')],
    ['2', 'to the picture', focusPicture],
    ['3', 'to the details', () => focusDetails()],
    ['4', 'to the problems', () => focusPanel('problems')],
    ...relations.map((relation) => [relation.key, `${relation.title}, the rest dimmed`, () => toggleRelation(relation)]),
    ['m', 'distributions in the picture', toggleInPicture],
    ['x', 'take back all evidence', clearEvidenceIfAny],
    ['s', 'links as wide as they are strong: mutual information, row distance, plain', () => showStrength()],
    ['e', 'the most probable explanation', askExplanation],
    ['i', 'what would tell most about the node', askTelling],
    ['o', 'whether the node is separated from another', askTrail],
    ['n', 'what is bright alone, laid out anew; then all again', togglePart],
    ['g', "fold or unfold the node's group, or all groups", toggleFolds],
    ['w', 'widen the details, fill the window, narrow them', () => widen()],
    ['t', 'transpose the table', () => content.querySelector('.transpose')?.click()],
    ['f', 'show the whole net', fit],
    ['l', "the automatic layout, or the file's", switchLayout],
    ['k', 'copy a link, save the page as it is now', showSharing],
    ['?', 'these keys', () => showKeys()],
];

function clearEvidenceIfAny() {
    if (evidence.size > 0) clearEvidence();
}

addEventListener('keydown', (event) => {
    const typing = event.target.matches('input, textarea');
    if (event.ctrlKey || event.metaKey || event.altKey || typing || document.querySelector('dialog[open]') || event.defaultPrevented) return;
    const found = pageKeys.find(([key]) => key === event.key);
    if (!found) return;
    event.preventDefault();
    found[2]();
});

function showKeys() {
    const dialog = byId('keys');
    const all = [...pageKeys.map(([key, what]) => ['Everywhere', key, what]), ['Everywhere', 'Alt and Left, Alt and Right', 'back and forward through what you did'],
        ...keyHelp];
    const body = el('tbody');
    all.forEach(([where, keys, what], i) => {
        if (i === 0 || all[i - 1][0] !== where) body.append(el('tr', {}, el('th', {colspan: 2, scope: 'rowgroup', text: where})));
        body.append(el('tr', {}, el('td', {class: 'words'}, el('kbd', {text: keys})), el('td', {class: 'words', text: what})));
    });
    dialog.replaceChildren(el('h2', {id: 'keys-title', text: 'Keys'}), el('div', {class: 'scroll', tabindex: '0', role: 'region', 'aria-label': 'Keys'},
        el('table', {}, body)), button('Close', () => dialog.close()));
    dialog.showModal();
}

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
    byId('title').textContent = netTitle();
    const status = {
        ok: 'read', warnings: 'read with warnings', errors: 'read with errors', failed: 'nothing could be read',
    }[data.status];
    byId('facts').textContent = [data.file, data.format, status].filter((text) => text).join(', ');
    showProblems();
    byId('theme').addEventListener('click', () => {
        document.documentElement.dataset.theme = isDark() ? 'light' : 'dark';
        recolor();
    });
    byId('help').addEventListener('click', showKeys);
    byId('layout').hidden = !picture.other;
    showScene();
    byId('layout').setAttribute('aria-pressed', String(Boolean(picture.laidOut)));
    byId('layout').addEventListener('click', switchLayout);
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', recolor);
    matchMedia('(forced-colors: active)').addEventListener('change', recolor);
    recolor();
    goToPanel(nodes.length > 0 || data.net ? 'details' : 'problems');
    showDetails(-1);
    search();
    fit();
    if (!location.hash && savedState) history.replaceState(null, '', savedState);
    restoreState();
    addEventListener('hashchange', () => restoreState());
    addEventListener('popstate', () => restoreState());
    if (nodes.length > 0) setTimeout(startInference);
}

start();
