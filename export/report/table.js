
// ---- Tables of numbers ---------------------------------------------------------------------
// A model has two axes, rows (combinations of the parents' states) and columns (the node's states):
//   {count, titles, digit(level, i), label(level, i)}: so many places, each with a head a level;
//   digit tells equal heads from others. value(row, column) is the text of a cell, part(row, column)
//   the length of the bar behind it (0 to 1, NaN: none).
// Only the cells in view exist: a pane that stays in place is filled anew with every scrolling.

const cellHeight = 24;
const scrollBar = 16;
const mostNumber = 210;  // pixels of its column: one of 17 digits is shown whole
const mostLabels = [[400, 400], [400, 130], [220, 200], [220, 130], [150, 130]];  // pixels of a label before a row and above a column, where there is room
const mostScroll = 12e6;  // pixels that browsers scroll without loss
const measure = document.createElement('canvas').getContext('2d');

function textWidth(text) {
    measure.font = `bold 13px ${getComputedStyle(document.body).fontFamily}`;
    return measure.measureText(text).width + 20;
}

/** The widest of some of the texts, within limits. */
function widest(count, text, least, most) {
    const step = Math.max(1, Math.floor(count / 300));
    let width = least;
    for (let i = 0; i < count && width < most; i += step) width = Math.max(width, textWidth(text(i)));
    return Math.ceil(Math.min(width, most));
}

/** The text as far as it fits: what it shares with the others at both ends goes first. */
function fittingText(text, width, {start, end}) {
    if (textWidth(text) <= width) return text;
    const letters = lettersOf(text), inner = start + end < letters.length ? letters.slice(start, letters.length - end) : letters;
    const [before, after] = inner === letters ? ['', ''] : [start > 0 ? '…' : '', end > 0 ? '…' : ''];
    const cut = (length) => before + inner.slice(0, length).join('') + (length < inner.length ? '…' : after);
    if (textWidth(cut(inner.length)) <= width) return cut(inner.length);
    let fits = 1, tooMany = inner.length;
    while (fits + 1 < tooMany) {
        const middle = (fits + tooMany) >> 1;
        if (textWidth(cut(middle)) <= width) fits = middle;
        else tooMany = middle;
    }
    return cut(fits);
}

/** How many letters the heads of a level share at their start and at their end. */
function sharedLetters(axis, level) {
    const texts = [...new Set(Array.from({length: Math.min(axis.count, 300)}, (_, i) => axis.label(level, i)))].map(lettersOf);
    const least = Math.min(...texts.map((text) => text.length));
    const shared = (of) => {
        let letters = 0;
        while (letters < least && texts.every((text) => of(text, letters) === of(texts[0], letters))) ++letters;
        return letters;
    };
    if (texts.length < 2) return {start: 0, end: 0};
    const start = shared((text, i) => text[i]);
    return {start, end: Math.min(least - start, shared((text, i) => text[text.length - 1 - i]))};
}

/** The widths of the heads made less by so much, of those first that are repeated most. */
function narrowed(heads, excess, least) {
    return heads.map((width, level) => {
        const less = Math.min(excess, Math.max(0, width - (level < heads.length - 1 ? least : least * 2)));
        excess -= less;
        return Math.floor(width - less);
    });
}

/** The axis with all its heads in one, for where they have no room. */
function condensed(axis) {
    return {
        count: axis.count, parts: axis, titles: [axis.titles.join(', ')], digit: (_, i) => i,
        label: (_, i) => axis.titles.map((__, level) => axis.label(level, i)).join(', '),
    };
}

/** The axis in another order of its places, whose heads are all shown. */
function reordered(axis, order) {
    return order && {...axis, digit: (_, i) => i, label: (level, i) => axis.label(level, order[i])};
}

/** What stands above the row heads, beside the column heads. */
function cornerText(rows, columns, level, j) {
    if (columns.titles.length === 1) return rows.titles[j];
    return j === rows.titles.length - 1 ? columns.titles[level] : '';
}

/** Whether the heads up to the level are those of the place before. */
function repeats(axis, level, i) {
    if (i === 0 || axis.titles.length === 1) return false;
    for (let l = 0; l <= level; ++l) if (axis.digit(l, i) !== axis.digit(l, i - 1)) return false;
    return true;
}

class NumberTable {
    constructor(name, model) {
        this.name = name;
        this.model = model;
        this.transposed = model.rows.count === 1 && model.columns.count > 8;  // reads better downwards
        this.sorted = null;  // {column, descending}
        this.order = null;
        this.pane = el('div', {class: 'pane'});
        this.sizer = el('div', {class: 'sizer'}, this.pane);
        this.grid = el('div', {class: 'grid', tabindex: '0', role: 'region', 'aria-label': name}, this.sizer);
        this.grid.addEventListener('scroll', () => this.redraw());
        this.box = el('div', {class: 'numbers'}, this.toolbar(), this.grid);
        new ResizeObserver(() => this.arrange()).observe(this.box);
        new ResizeObserver(() => this.redraw()).observe(this.grid);
    }

    toolbar() {
        const {rows, columns} = this.model;
        const size = `${count(rows.count, 'row')}, ${count(columns.count, 'column')}`;
        const turn = button('Transpose', () => {
            this.transposed = !this.transposed;
            turn.setAttribute('aria-pressed', String(this.transposed));
            this.grid.scrollTo(0, 0);
            this.arrange();
        }, {class: 'transpose', 'aria-pressed': String(this.transposed), title: 'Exchange rows and columns (t)'});
        this.wide = button('Fill the window', () => widen('full'), {hidden: '', title: 'The table in the whole window'});
        return el('div', {class: 'tabletools', role: 'toolbar', 'aria-label': this.name}, el('span', {class: 'faint', text: size}),
            this.wide, turn, button('Copy CSV', () => copyText(this.text(','), 'CSV')), button('Copy TSV', () => copyText(this.text('\t'), 'TSV')),
            button('Download', () => download(new Blob([this.text(',')], {type: 'text/csv'}), `${nodes[selected].name}.csv`),
                {title: 'Save the table as CSV'}));
    }

    /** A row's head as it fits into so many lines; of several in one each gets its share. */
    rowHead(level, r, lines) {
        const {rows, heads, shared} = this.view, {parts} = rows, padding = 16, room = (heads[level] - padding) * lines;
        if (!parts) return fittingText(rows.label(level, r), room + padding + 4, shared[level]);
        const share = room / parts.titles.length + padding;
        return parts.titles.map((_, part) => fittingText(parts.label(part, r), share, shared[part])).join(', ');
    }

    /** The axes as they are shown, and the value at a place. */
    shown() {
        const rows = reordered(this.model.rows, this.order) || this.model.rows;
        const {columns} = this.model;
        const place = (r) => (this.order ? this.order[r] : r);
        const at = (what) => (this.transposed
            ? (r, c) => this.model[what](place(c), r) : (r, c) => this.model[what](place(r), c));
        return {
            rows: this.transposed ? columns : rows, columns: this.transposed ? rows : columns,
            value: at('value'), part: at('part'),
        };
    }

    /** Measures the columns, and gives the pane what it scrolls over. */
    arrange() {
        if (this.box.clientWidth === 0) return;
        const view = this.shown();
        let {rows, columns} = view;
        if (columns.titles.length > 6) columns = condensed(columns);
        const heightOf = (rowHigh, headHigh) => headHigh * columns.titles.length + rowHigh * rows.count;
        let height = heightOf(cellHeight, cellHeight);
        const scrolls = height + 2 > parseFloat(getComputedStyle(this.grid).maxHeight);
        const available = this.box.clientWidth - (scrolls ? scrollBar : 0) - 2;
        const widths = (axis, most) => axis.titles.map((title, level) => Math.max(
            widest(axis.count, (i) => axis.label(level, i), 30, most), widest(1, () => title, 30, most)));
        const sum = (numbers) => numbers.reduce((a, b) => a + b, 0);
        const number = widest(Math.min(rows.count * columns.count, 1e6),
            (i) => view.value(Math.floor(i / columns.count), i % columns.count), 46, mostNumber);
        let heads, cell;
        for (const [most, mostAbove] of mostLabels) {
            heads = widths(rows, most);
            cell = Math.max(...widths(columns, mostAbove), number);
            if (sum(heads) + cell * columns.count <= available) break;
        }
        const beside = available - cell * columns.count;
        const most = columns.count === 1 && beside > 80 ? beside : Math.max(beside, available * (available < 600 ? 0.5 : 0.6));
        const wraps = sum(heads) > most && fingers.matches;
        if (sum(heads) > most) heads = narrowed(heads, sum(heads) - most, 56);
        if (sum(heads) > most) {
            rows = condensed(rows);
            heads = [Math.floor(most)];
        }
        const rowHigh = wraps ? 2 * cellHeight - 6 : cellHeight, headHigh = fingers.matches ? 44 : cellHeight;
        const parts = rows.parts ?? rows, shared = parts.titles.map((_, level) => sharedLetters(parts, level));
        this.view = {...view, rows, columns, heads, cell, head: sum(heads), rowHigh, headHigh, wraps, shared};
        this.wide.hidden = !fingers.matches || document.body.dataset.panel === 'full' || this.view.head + cell * columns.count <= available;
        const width = this.view.head + cell * columns.count;
        height = heightOf(rowHigh, headHigh);
        this.full = {width, height};
        this.pane.style.setProperty('--row', `${rowHigh}px`);
        this.pane.style.setProperty('--head', `${headHigh}px`);
        this.pane.classList.toggle('wraps', wraps);
        this.pane.style.width = this.pane.style.height = '0';  // of before, it would be scrolled over
        this.sizer.style.width = `${Math.min(width, mostScroll)}px`;
        this.sizer.style.height = `${Math.min(height, mostScroll)}px`;
        this.grid.style.height = `${height + (width > available ? scrollBar : 0) + 2}px`;
        this.grid.style.width = `${width + 2}px`;
        this.grid.style.width = `${width + 2 + this.grid.offsetWidth - this.grid.clientWidth}px`;  // and a scroll bar
        this.draw();
    }

    redraw() {
        if (this.drawing) return;
        this.drawing = true;
        requestAnimationFrame(() => { this.drawing = false; this.draw(); });
    }

    /** How far the table is scrolled, in its own pixels. */
    scrolled(at, inView, full) {
        if (full <= mostScroll) return at;
        return at / Math.max(1, mostScroll - inView) * (full - inView);
    }

    draw() {
        if (!this.view) return;
        const {rows, columns, heads, cell, head, rowHigh} = this.view;
        const {clientWidth: width, clientHeight: height, scrollTop, scrollLeft} = this.grid;
        const top = this.scrolled(scrollTop, height, this.full.height);
        const left = this.scrolled(scrollLeft, width, this.full.width);
        const firstRow = Math.floor(top / rowHigh), firstColumn = Math.floor(left / cell);
        const endRow = Math.min(rows.count, Math.ceil((top + height) / rowHigh));
        const endColumn = Math.min(columns.count, Math.max(firstColumn + 1, Math.ceil((left + width - head) / cell)));
        const table = el('table', {'aria-rowcount': rows.count + columns.titles.length, 'aria-colcount': columns.count + heads.length},
            el('colgroup', {}, ...[...heads, ...Array(endColumn - firstColumn).fill(cell)].map((w) => {
                const column = el('col');
                column.style.width = `${w}px`;
                return column;
            })), this.head(firstColumn, endColumn), this.body(firstRow, endRow, firstColumn, endColumn));
        table.style.setProperty('--up', `${firstRow * rowHigh - top}px`);
        table.style.setProperty('--left', `${firstColumn * cell - left}px`);
        table.style.width = `${head + cell * (endColumn - firstColumn)}px`;
        this.pane.style.width = `${width}px`;
        this.pane.style.height = `${height}px`;
        const focused = this.pane.contains(document.activeElement) ? document.activeElement.dataset.sort : undefined;
        this.pane.replaceChildren(table);
        if (focused !== undefined) this.pane.querySelector(`[data-sort="${focused}"]`)?.focus({preventScroll: true});
    }

    head(from, to) {
        const {rows, columns} = this.view;
        return el('thead', {}, ...columns.titles.map((_, level) => {
            const row = el('tr', {'aria-rowindex': level + 1}, ...rows.titles.map((__, j) => {
                const text = cornerText(rows, columns, level, j);
                return el('th', {scope: 'col', class: 'corner', text, title: text});
            }));
            for (let c = from; c < to; ++c) {
                const again = c > from && repeats(columns, level, c) ? ' again' : '';
                const cell = el('th', {scope: 'col', class: `value${again}`, title: columns.label(level, c), 'aria-colindex': rows.titles.length + c + 1});
                row.append(this.named(cell, columns.label(level, c), this.transposed ? -1 : c));
            }
            return row;
        }));
    }

    body(firstRow, endRow, from, to) {
        const {rows, columns, value, part, wraps} = this.view;
        const body = el('tbody');
        for (let r = firstRow; r < endRow; ++r) {
            const starts = r > 0 && !this.order && rows.titles.length > 1 && !repeats(rows, rows.titles.length - 2, r);
            const row = el('tr', {'aria-rowindex': columns.titles.length + r + 1, class: starts ? 'group' : null});
            rows.titles.forEach((_, level) => {
                const again = r > firstRow && repeats(rows, level, r) ? 'again' : null;
                const text = rows.label(level, r);
                row.append(this.named(el('th', {scope: 'row', class: again, title: text}), this.rowHead(level, r, wraps ? 1.7 : 1), this.transposed ? r : -1));
            });
            for (let c = from; c < to; ++c) {
                const cell = el('td', {text: value(r, c), 'aria-colindex': c === from ? rows.titles.length + c + 1 : null});
                const length = part(r, c);
                if (length >= 0) cell.style.setProperty('--part', length);
                row.append(cell);
            }
            body.append(row);
        }
        return body;
    }

    /** Puts the text into a head; that of a state (not -1) sorts when pressed. */
    named(cell, text, state) {
        if (state < 0 || this.model.rows.count < 2) {
            cell.textContent = text;
            return cell;
        }
        const by = this.sorted && this.sorted.column === state ? this.sorted : null;
        if (by) cell.setAttribute('aria-sort', by.descending ? 'descending' : 'ascending');
        const mark = by ? (by.descending ? ' ▼' : ' ▲') : '';
        cell.append(button(text, () => this.sort(state), {class: 'sort', 'data-sort': state, title: `${text}: sort`, 'data-mark': mark}));
        return cell;
    }

    /** Sorts by a state: downwards, upwards, then as it was. */
    sort(column) {
        const same = this.sorted && this.sorted.column === column;
        this.sorted = !same ? {column, descending: true} : this.sorted.descending ? {column, descending: false} : null;
        this.order = null;
        if (this.sorted) {
            const keys = Float64Array.from({length: this.model.rows.count}, (_, r) => this.model.key(r, column));
            const sign = this.sorted.descending ? -1 : 1;
            this.order = Int32Array.from(keys.keys()).sort((a, b) => sign * (keys[a] - keys[b]) || a - b);
        }
        this.arrange();
    }

    /** The whole table as it is shown, with its heads; a text in quotes where it needs them. */
    text(separator) {
        const {rows, columns, value} = this.shown();
        const asText = (text) => (/^[=+\-@\t\r]/.test(text) && !Number.isFinite(Number(text)) ? `'${text}` : text);  // else spreadsheets compute it
        const quoted = (cell) => {
            const text = asText(cell);
            return /[",\t\n\r]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
        };
        const lines = columns.titles.map((_, level) => [
            ...rows.titles.map((__, j) => cornerText(rows, columns, level, j)),
            ...Array.from({length: columns.count}, (__, c) => columns.label(level, c)),
        ]);
        for (let r = 0; r < rows.count; ++r)
            lines.push([...rows.titles.map((_, level) => rows.label(level, r)), ...Array.from({length: columns.count}, (_, c) => value(r, c))]);
        return lines.map((cells) => cells.map(quoted).join(separator)).join('\n') + '\n';
    }
}

async function copyText(text, what) {
    try {
        await navigator.clipboard.writeText(text);
    } catch {  // not allowed here: by hand
        const area = el('textarea', {class: 'unseen', text});
        const before = document.activeElement;
        document.body.append(area);
        area.select();
        document.execCommand('copy');
        area.remove();
        before.focus();
    }
    say(`${what} copied`);
}

keyHelp.push(['Table', 'arrows, Page Up, Page Down', 'scroll'], ['Table', 'Tab to a state, Enter', 'sort by it']);
