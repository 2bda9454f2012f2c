
// ---- Which nodes belong to the selected one ------------------------------------------------
// Toggles that show relatives of the selected node in the picture and dim the rest.

const parentsOf = (index) => nodes[index].parents;

/** All that steps lead to from a node, without itself. */
function reach(index, step) {
    const met = new Set([index]);
    for (const node of met) for (const next of step(node)) met.add(next);
    met.delete(index);
    return met;
}

const relations = [
    {key: 'p', title: 'Parents', of: parentsOf},
    {key: 'c', title: 'Children', of: (index) => children[index]},
    {key: 'b', title: 'Markov blanket', of: (index) => [...parentsOf(index), ...children[index], ...children[index].flatMap(parentsOf)]},
    {key: 'a', title: 'Ancestors', of: (index) => reach(index, parentsOf)},
    {key: 'd', title: 'Descendants', of: (index) => reach(index, (node) => children[node])},
];
const toggled = new Set();
let lit = null;  // the nodes that stay bright; null: all

function light() {
    lit = trail && new Set(trail);
    if (!trail && selected >= 0 && toggled.size > 0) {
        lit = new Set([selected]);
        for (const relation of toggled) for (const node of relation.of(selected)) lit.add(node);
    }
    redraw();
}

/** Shows the relatives of that kind, or no longer. */
function toggleRelation(relation) {
    if (!toggled.delete(relation)) toggled.add(relation);
    light();
    document.querySelectorAll('#relations button[aria-pressed]').forEach((made, i) =>
        made.setAttribute('aria-pressed', String(toggled.has(relations[i]))));
    const others = selected < 0 ? 'select a node to see them' : count(lit ? lit.size - 1 : 0, 'node');
    say(`${relation.title} ${toggled.has(relation) ? 'shown' : 'no longer shown'}: ${others}`);
}

function relationButtons() {
    return el('div', {id: 'relations', role: 'group', 'aria-label': 'Show in the picture'},
        ...relations.map((relation) => button(relation.title, () => toggleRelation(relation), {
            'aria-pressed': String(toggled.has(relation)), title: `Show in the picture, dim the rest (${relation.key})`,
        })), button('Alone', togglePart, {title: 'Show what is bright alone, laid out anew; then all again (n)'}));
}

listeners.push(light);
