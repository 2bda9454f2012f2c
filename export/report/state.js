
// ---- The page's state in its address -------------------------------------------------------
// #node?evidence=smoke:0;dysp:0.2,1&beliefs&layout=other&strength=distance&view=x,y,zoom
// What a person did can be gone back through, copied as a link, and saved with the page.

const savedState = document.documentElement.dataset.state || '';
const untouched = document.documentElement.cloneNode(true);  // the page as its file has it
const settleView = 300;  // milliseconds until a new view is in the address
let restoring = false, late = null;
let viewChosen = false;  // by a person: else it follows from the rest
let viewTimer = 0;

/** Parts of the state, in order, each with what says it (empty: as at first) and what takes it. */
const stateParts = [
    ['evidence', () => [...evidence].map(([i, told]) => `${encodeURIComponent(nodes[i].name)}:${told}`).join(';'), takeEvidence],
    ['layout', () => (switched ? 'other' : ''), (text) => { if ((text === 'other') !== switched) switchLayout(); }],
    ['folded', () => [...foldedGroups].join(';'), takeFolded],
    ['alone', () => (part ? sceneNames(part) : ''), takePart],
    ['beliefs', () => (inPicture ? 'shown' : ''), (text) => { if (Boolean(text) !== inPicture) toggleInPicture(); }],
    ['strength', () => strength, (text) => { if (text !== strength && (text === '' || Object.hasOwn(measures, text))) showStrength(text); }],
    ['view', () => (viewChosen ? [view.x, view.y, view.zoom].map((v) => Number(v.toPrecision(5))).join(',') : ''), takeView],
];

function takeEvidence(text) {
    evidence.clear();
    for (const one of text.split(';').filter(Boolean)) {
        const [name, told] = one.split(':');
        const index = nodes.findIndex((node) => node.name === decoded(name)), numbers = (told ?? '').split(',').map(Number);
        const states = index < 0 ? 0 : statesOf(nodes[index]);
        const state = numbers.length === 1 && Number.isInteger(numbers[0]) && numbers[0] >= 0 && numbers[0] < states;
        const weights = numbers.length === states && states > 1 && nodes[index].kind !== 'decision' &&
            numbers.every((v) => v >= 0 && v < Infinity) && numbers.some((v) => v > 0);
        if (hasDistribution(index) && (state || weights)) evidence.set(index, state ? numbers[0] : numbers);
    }
    evidenceChanged();
}

function takeView(text) {
    const [x, y, zoom] = text.split(',').map(Number);
    if (text === '' || ![x, y, zoom].every(Number.isFinite) || !(zoom > 0)) {
        if (viewChosen) fit();
        if (viewChosen && selected >= 0) bringIntoView(selected);
        viewChosen = false;
        return;
    }
    moveTo({x, y, zoom});
    viewChosen = true;
}

function decoded(text) {
    try { return decodeURIComponent(text); } catch { return text; }
}

function stateAddress() {
    const told = stateParts.map(([key, say]) => [key, say()]).filter(([, text]) => text !== '').map(([key, text]) => `${key}=${text}`);
    return `#${selected < 0 ? '' : encodeURIComponent(nodes[selected].name)}${told.length > 0 ? `?${told.join('&')}` : ''}`;
}

/** Puts what a person did into the address: as a step to go back from, or in the place of the last. */
function stateChanged(replace = false) {
    const address = stateAddress();
    if (restoring || address === (location.hash || '#')) return;
    if (replace) history.replaceState(null, '', address);
    else history.pushState(null, '', address);
}

/** The view's own changes come many at a time. */
function viewChanged() {
    viewChosen = true;
    clearTimeout(viewTimer);
    viewTimer = setTimeout(() => stateChanged(true), settleView);
}

/** Makes the page what the address says. */
function restoreState(address = location.hash) {
    const [name, told = ''] = address.replace(/^#/, '').split('?');
    const index = name === '' ? -1 : nodes.findIndex((node) => node.name === decoded(name));
    const texts = new Map(told.split('&').map((part) => [part.split('=')[0], part.split('=').slice(1).join('=')]));
    clearTimeout(viewTimer);
    restoring = true;
    if (index !== selected) select(index, 'address');
    for (const [key, now, take] of stateParts) {
        const wanted = texts.get(key) ?? '';
        if (wanted !== now()) take(wanted);
    }
    restoring = false;
    if (!plan) late = texts;
}

/** What the page can be only when it has distributions. */
function restoreLate() {
    restoring = true;
    for (const [key, now, take] of stateParts) {
        const wanted = late?.get(key) ?? '';
        if (wanted !== '' && (now() === '' || take === takeView)) take(wanted);
    }
    late = null;
    restoring = false;
    stateChanged(true);
}

/** The page as a file that opens as it is now. */
function savePage() {
    const made = untouched.cloneNode(true);
    made.dataset.state = stateAddress();
    download(new Blob([`<!DOCTYPE html>\n${made.outerHTML}\n`], {type: 'text/html'}), `${baseName()}.html`);
}

const copyLink = () => copyText(location.href.split('#')[0] + stateAddress(), 'Link');

// ---- What can be shared --------------------------------------------------------------------

function showSharing() {
    const dialog = byId('sharing');
    const row = (title, ...parts) => el('div', {}, el('h3', {text: title}), el('div', {class: 'choices'}, ...parts));
    dialog.replaceChildren(el('h2', {id: 'sharing-title', text: 'Save and share'}),
        row('This page, as it is now', button('Copy link', copyLink), button('Save the page', savePage)),
        row(part ? `The picture, ${part.size} of ${nodes.length} nodes` : 'The picture', button('SVG', saveSvg), button('PNG', savePng),
            button('Print', () => { dialog.close(); print(); })),
        printForm(),
        button('Close', () => dialog.close()));
    dialog.showModal();
}
byId('share').addEventListener('click', showSharing);
