
// ---- The list of nodes ---------------------------------------------------------------------
// Only the rows that are in view exist, whatever the number of nodes.

const list = byId('list');
const rows = byId('rows');
const fingers = matchMedia('(pointer: coarse), (max-width: 600px)');
let rowHeight = fingers.matches ? 44 : 28;
let shown = nodes.map((_, i) => i);  // indices of the nodes that match the search
let current = 0;  // place in `shown` that the keyboard is at
let haystacks = null;  // by node what the search looks at: its names, then its states
let wanted = '';

function drawList() {
    const first = Math.max(0, Math.floor(list.scrollTop / rowHeight) - 4);
    const last = Math.min(shown.length, first + Math.ceil(list.clientHeight / rowHeight) + 8);
    rows.style.height = `${shown.length * rowHeight}px`;
    const made = [];
    for (let place = first; place < last; ++place) made.push(listRow(place));
    rows.replaceChildren(...made);
    const there = shown.length > 0 && current >= first && current < last;
    if (there) list.setAttribute('aria-activedescendant', `row-${current}`);
    else list.removeAttribute('aria-activedescendant');
}

function listRow(place) {
    const index = shown[place];
    const node = nodes[index];
    const worst = worstOf(index);
    const row = el('div', {
        id: `row-${place}`, role: 'option', class: place === current ? 'row current' : 'row',
        'aria-selected': String(index === selected), 'aria-setsize': shown.length,
        'aria-posinset': place + 1, title: titleOf(node),
        onclick: () => { current = place; select(index, 'list'); goToPanel('details'); },
    }, swatch(node), el('span', {class: 'title', text: titleOf(node)}),
    besideTitle(index), worst ? el('span', {class: `mark ${worst}`, text: '!', 'aria-label': `has ${worst}s`}) : null);
    row.style.top = `${place * rowHeight}px`;
    row.style.height = `${rowHeight}px`;
    return row;
}

/** The node's name when it has a title; the state that was searched for when only that matches. */
function besideTitle(index) {
    const node = nodes[index];
    const state = wanted && !haystacks[index][0].includes(wanted)
        ? stateNames(node).find((name) => name.toLowerCase().includes(wanted)) : undefined;
    if (state !== undefined) return el('span', {class: 'name', text: `state ${state}`});
    return nameBeside(node) ? el('span', {class: 'name', text: node.name}) : null;
}

/** The labels and names of the states, as far as the file gives any. */
function stateNames(node) {
    if (typeof node.states === 'number') return [];
    return node.states.flatMap((entry) => (typeof entry === 'string' ? entry : entry.slice(0, 2).filter(Boolean)));
}

function goTo(place) {
    if (shown.length === 0) return;
    current = Math.max(0, Math.min(shown.length - 1, place));
    const top = current * rowHeight;
    if (top < list.scrollTop) list.scrollTop = top;
    const bottom = top + rowHeight - list.clientHeight;
    if (bottom > list.scrollTop) list.scrollTop = bottom;
    drawList();
}

function search() {
    haystacks ??= nodes.map((node) => [
        [node.name, node.title || '', ...node.groups.map((g) => data.groups[g].name)],
        stateNames(node),
    ].map((texts) => texts.join('\n').toLowerCase()));
    wanted = byId('search').value.trim().toLowerCase();
    shown = [];
    for (let i = 0; i < nodes.length; ++i)
        if (haystacks[i].some((text) => text.includes(wanted))) shown.push(i);
    const all = shown.length === nodes.length;
    byId('found').textContent = all ? count(nodes.length, 'node') : `${shown.length} of ${count(nodes.length, 'node')}`;
    list.scrollTop = 0;
    goTo(Math.max(0, shown.indexOf(selected)));
    drawList();
}

function searchFor(text) {
    byId('search').value = text;
    search();
    goToPanel('nodes');
    byId('search').focus();
}

const listKeys = {
    ArrowDown: () => goTo(current + 1),
    ArrowUp: () => goTo(current - 1),
    PageDown: () => goTo(current + Math.max(1, Math.floor(list.clientHeight / rowHeight) - 1)),
    PageUp: () => goTo(current - Math.max(1, Math.floor(list.clientHeight / rowHeight) - 1)),
    Home: () => goTo(0),
    End: () => goTo(shown.length - 1),
    ' ': () => select(shown[current], 'list'),
    Enter: () => { select(shown[current], 'list'); focusDetails(); },
    Escape: () => select(-1, 'list'),
};

list.addEventListener('keydown', (event) => {
    const act = listKeys[event.key];
    if (!act || (shown.length === 0 && event.key !== 'Escape')) return;
    event.preventDefault();
    act();
});
list.addEventListener('scroll', drawList);
byId('search').addEventListener('input', search);
byId('search').addEventListener('keydown', (event) => {
    if (event.key === 'Escape') searchFor('');
    if (event.key === 'Enter' && shown.length > 0) select(shown[current], 'list');
    if (event.key !== 'ArrowDown') return;
    event.preventDefault();
    list.focus();
});
new ResizeObserver(drawList).observe(list);
fingers.addEventListener('change', () => {
    rowHeight = fingers.matches ? 44 : 28;
    goTo(current);
});
listeners.push((index, source) => {
    const place = source === 'list' ? -1 : shown.indexOf(index);
    if (place >= 0) goTo(place);
    else drawList();
});

keyHelp.push(['Search', 'Down, Enter, Escape', 'to the list, select, clear'],
    ['List', 'arrows, Page Up, Page Down, Home, End', 'move'],
    ['List', 'Space, Enter, Escape', 'select, select and read, select none']);
