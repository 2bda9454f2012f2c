// ---- The page ------------------------------------------------------------------------------

const byId = (id) => document.getElementById(id);

/** An element with attributes, its text under "text", and children. */
function el(tag, attributes = {}, ...children) {
    const made = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (name === 'text') made.textContent = value;
        else if (typeof value === 'function') made.addEventListener(name, value);
        else if (value !== null && value !== false) made.setAttribute(name, value === true ? '' : value);
    }
    made.append(...children.filter((child) => child !== null));
    return made;
}

const plural = (count, one) => `${count.toLocaleString('en')} ${one}${count === 1 ? '' : 's'}`;

// ---- The worker ----------------------------------------------------------------------------

let library = null;   // its code, compiled once
let formats = {read: [], written: []};
let worker = null;
let waiting = null;   // for what the worker does: {id, onProgress, resolve, reject}
let ready = null;     // the start of the present worker
let lastId = 0;

async function compiled() {
    const packed = Uint8Array.from(atob(byId('module').textContent), (c) => c.charCodeAt(0));
    const plain = new Blob([packed]).stream().pipeThrough(new DecompressionStream('gzip'));
    return WebAssembly.compile(await new Response(plain).arrayBuffer());
}

/** Has the worker do a task; one at a time. */
function order(task, data = {}, onProgress = () => {}) {
    return new Promise((resolve, reject) => {
        const id = ++lastId;
        waiting = {id, onProgress, resolve, reject};
        worker.postMessage({id, task, ...data});
    });
}

function hear({data}) {
    if (waiting === null || data.id !== waiting.id) return;
    if ('progress' in data) return waiting.onProgress(data.progress);
    const {resolve, reject} = waiting;
    waiting = null;
    return 'error' in data ? reject(new Error(data.error)) : resolve(data.answer);
}

async function startWorker() {
    library ??= await compiled();
    const address = URL.createObjectURL(new Blob([byId('worker').textContent], {type: 'text/javascript'}));
    worker = new Worker(address);
    URL.revokeObjectURL(address);
    worker.onmessage = hear;
    worker.onerror = (event) => stopWorker(event.message || 'the worker ended');
    return order('start', {module: library});
}

/** Ends what the worker does; the next task starts another. */
function stopWorker(why) {
    worker?.terminate();
    worker = ready = null;
    waiting?.reject(new Error(why));
    waiting = null;
}

/** A task for the worker. What fails may have left it broken. */
async function ask(task, data, onProgress) {
    try {
        ready ??= startWorker();
        await ready;
        return await order(task, data, onProgress);
    } catch (error) {
        stopWorker('');
        throw error;
    }
}

// ---- The list ------------------------------------------------------------------------------

const entries = [];     // every file: {number, file, name, certain, body, result, error, done}
let working = false;
let cancelled = false;

const cancelText = 'cancelled';

function settings() {
    return {format: byId('format').value, strict: byId('strict').checked, normalize: byId('normalize').checked};
}

function orderFor({number, file, name, certain}) {
    return {number, file, name, certain, ...settings()};
}

function showWork(text, part) {
    byId('work').hidden = text === null;
    byId('doing').textContent = text ?? '';
    byId('bar').value = part ?? 0;
}

/** Does something that may be cancelled, alone. */
async function busy(work) {
    if (working) return;
    working = true;
    cancelled = false;
    byId('said').textContent = '';
    for (const control of document.querySelectorAll('#actions button, #actions select')) control.disabled = true;
    try {
        await work();
    } catch (error) {
        if (error.message !== cancelText) byId('said').textContent = error.message;
    }
    for (const control of document.querySelectorAll('#actions button, #actions select')) control.disabled = false;
    showWork(null);
    working = false;
    showCounts();
}

/** Reads every file that is not read, those too that come meanwhile. */
function readAll() {
    return busy(async () => {
        for (let at = nextEntry(); at >= 0; at = nextEntry()) {
            const entry = entries[at];
            const told = (part) => showWork(`${at + 1} of ${entries.length}: ${entry.name}`, (at + part) / entries.length);
            told(0);
            try {
                if (cancelled) throw new Error(cancelText);
                entry.result = await ask('read', orderFor(entry), told);
                entry.error = null;
            } catch (error) {
                entry.error = error.message;
            }
            entry.done = true;
            if (entry.result?.passedOver) entries.splice(at, 1), ++passedOver;
            else showEntry(entry);
            showCounts();
        }
    });
}

let passedOver = 0;
let firstToRead = 0;

function nextEntry() {
    while (firstToRead > 0 && !entries[firstToRead - 1]?.done) --firstToRead;
    while (firstToRead < entries.length && entries[firstToRead].done) ++firstToRead;
    return firstToRead < entries.length ? firstToRead : -1;
}

function readAgain() {
    for (const entry of entries) entry.done = false;
    firstToRead = 0;
    readAll();
}

function showCounts() {
    byId('results').hidden = entries.length === 0;
    const done = entries.filter((entry) => entry.done);
    const nets = done.filter((entry) => entry.result && entry.result.nodes !== null && !entry.error).length;
    byId('counts').textContent = `${plural(done.length, 'file')}, ${plural(nets, 'net')}` +
        (passedOver > 0 ? `; ${plural(passedOver, 'file')} passed over, of no known format` : '');
    byId('all').disabled = working || nets === 0;
}

// ---- A file of the list --------------------------------------------------------------------

const titleOf = (name) => formats.read.find((format) => format.name === name)?.title ?? '';

function showEntry(entry) {
    const {result, error} = entry;
    const row = el('tr', {},
        el('td', {class: 'name'}, error || result.status === 'failed' ? el('span', {text: entry.name})
            : el('button', {class: 'link', type: 'button', text: entry.name, title: 'Show the report', click: () => openReport(entry)})),
        el('td', {text: error ? '' : titleOf(result.format)}),
        el('td', {class: 'count', text: error || result.nodes === null ? '' : result.nodes.toLocaleString('en')}),
        problemsCell(entry),
        el('td', {class: 'save'}, error ? null : saveControl(entry)));
    const body = el('tbody', {}, row);
    if (entry.body) entry.body.replaceWith(body);
    else byId('results').querySelector('table').append(body);
    entry.body = body;
}

function countsText(result) {
    const counts = new Map();
    for (const {severity} of result.problems) counts.set(severity, (counts.get(severity) ?? 0) + 1);
    const more = result.count - result.problems.length;
    return ['fatal', 'error', 'warning', 'notice'].filter((kind) => counts.has(kind))
        .map((kind) => [kind, (kind === 'fatal' ? `${counts.get(kind)} fatal` : plural(counts.get(kind), kind))])
        .concat(more > 0 ? [['faint', `${more.toLocaleString('en')} more`]] : []);
}

function problemsCell(entry) {
    const {result, error} = entry;
    if (error) return el('td', {class: error === cancelText ? 'faint' : 'error', text: error === cancelText ? 'not read: cancelled' : `not read: ${error}`});
    const cell = el('td');
    const counts = countsText(result);
    if (result.damage) cell.append(el('span', {class: 'error', text: `${result.damage}. `}));
    if (result.status === 'failed') cell.append(el('span', {class: 'failed', text: 'nothing could be read. '}));
    if (counts.length === 0) {
        cell.append('none');
        return cell;
    }
    const toggle = el('button', {class: 'link', type: 'button', 'aria-expanded': 'false', title: 'Show the problems', click: () => toggleProblems(entry, toggle)});
    counts.forEach(([kind, text], i) => toggle.append(i > 0 ? ', ' : '', el('span', {class: kind, text})));
    cell.append(toggle);
    return cell;
}

function toggleProblems(entry, toggle) {
    const open = toggle.getAttribute('aria-expanded') === 'true';
    toggle.setAttribute('aria-expanded', String(!open));
    if (open) return entry.body.lastElementChild.remove();
    const list = el('ol', {}, ...entry.result.problems.map(problemItem));
    if (entry.result.count > entry.result.problems.length) list.append(el('li', {text: 'The report file has the others.'}));
    return entry.body.append(el('tr', {}, el('td', {class: 'details', colspan: 5}, list)));
}

/** Cures are Markdown, of which they use code alone. */
function inMarkdown(text) {
    return text.split('`').map((part, i) => (i % 2 ? el('code', {text: part}) : part));
}

function problemItem(problem) {
    const item = el('li', {}, el('span', {class: problem.severity, text: `${problem.severity}: `}),
        (problem.line > 0 ? `line ${problem.line}, column ${problem.column}: ` : '') + problem.message,
        problem.number !== 0 ? el('span', {class: 'faint', text: ` [${problem.number}]`}) : null);
    if (problem.before || problem.behind)
        item.append(el('pre', {text: `${problem.before}${problem.behind}\n${problem.before.replace(/[^\t]/gu, ' ')}^`}));
    if (problem.cure) item.append(el('p', {class: 'cure'}, ...inMarkdown(problem.cure)));
    return item;
}

// ---- Saving --------------------------------------------------------------------------------

function saveControl(entry) {
    const choices = writersFor(entry).map((writer) => el('option', {value: writer.name, text: writer.title}));
    const select = el('select', {'aria-label': `Save ${entry.name} as`}, el('option', {value: '', text: 'Save as'}), ...choices);
    select.addEventListener('change', () => {
        const writer = formats.written.find(({name}) => name === select.value);
        select.value = '';
        busy(() => saveOne(entry, writer));
    });
    return select;
}

const writersFor = (entry) => formats.written.filter((writer) => writer.withoutNet || entry.result.nodes !== null);

/** The file's name without folders, ".gz" and, unless it is kept, its extension. */
function stem(name, keepsExtension) {
    const plain = name.replace(/\.gz$/i, '');
    const dot = plain.lastIndexOf('.');
    return keepsExtension || dot <= plain.lastIndexOf('/') + 1 ? plain : plain.slice(0, dot);
}

function save(blob, name) {
    const address = URL.createObjectURL(blob);
    el('a', {href: address, download: name}).click();
    setTimeout(() => URL.revokeObjectURL(address), 60000);
}

/** What the writer makes of a file; loses are told. */
async function written(entry, writer, part = 0) {
    const answer = await ask('write', {...orderFor(entry), writer: writer.name}, () => {});
    showWork(`writing ${entry.name}`, part);
    if (answer.error) throw new Error(`${entry.name}: ${answer.error}`);
    return answer;
}

async function saveOne(entry, writer) {
    showWork(`writing ${entry.name}`, 0);
    const {blob, notes} = await written(entry, writer);
    save(blob, stem(entry.name.split('/').pop(), false) + writer.extension);
    byId('said').textContent = notes.join('; ');
}

async function saveAll() {
    const writer = formats.written.find(({name}) => name === byId('all-as').value);
    const chosen = entries.filter((entry) => entry.done && !entry.error && (writer.withoutNet || entry.result.nodes !== null));
    const stems = new Map();
    for (const {name} of chosen) stems.set(stem(name, false), (stems.get(stem(name, false)) ?? 0) + 1);
    const used = new Map();
    const zip = new Zip();
    const notes = new Set();
    for (const [i, entry] of chosen.entries()) {
        if (cancelled) throw new Error(cancelText);
        const answer = await written(entry, writer, i / chosen.length);
        const base = stem(entry.name, stems.get(stem(entry.name, false)) > 1);
        const times = used.get(base) ?? 0;
        used.set(base, times + 1);
        await zip.add(base + (times > 0 ? ` (${times + 1})` : '') + writer.extension, answer.blob);
        for (const note of answer.notes) notes.add(`${entry.name}: ${note}`);
    }
    save(zip.finish(), `nets-${writer.name}.zip`);
    byId('said').textContent = notes.size > 0 ? `${[...notes].slice(0, 5).join('; ')}${notes.size > 5 ? `; and ${notes.size - 5} more` : ''}` : '';
}

// ---- The report ----------------------------------------------------------------------------

let reportAddress = null;

function openReport(entry) {
    return busy(async () => {
        showWork(`writing the report of ${entry.name}`, 0);
        const {blob} = await written(entry, formats.written.find(({name}) => name === 'html'));
        closeReport();
        reportAddress = URL.createObjectURL(new Blob([blob], {type: 'text/html;charset=utf-8'}));
        byId('report').append(el('iframe', {src: reportAddress, title: `Report of ${entry.name}`, sandbox: 'allow-scripts allow-downloads allow-modals'}));
        byId('reported').textContent = entry.name;
        byId('report').hidden = false;
        document.body.classList.add('reporting');
        byId('back').focus();
    });
}

function closeReport() {
    byId('report').querySelector('iframe')?.remove();
    byId('report').hidden = true;
    document.body.classList.remove('reporting');
    if (reportAddress !== null) URL.revokeObjectURL(reportAddress);
    reportAddress = null;
}

// ---- Files ---------------------------------------------------------------------------------

function add(files) {
    for (const {file, name, certain} of files) entries.push({number: entries.length + 1, file, name, certain, done: false});
    showCounts();
    readAll();
}

const endings = () => formats.read.flatMap(({extensions}) => extensions.split(' '));

/** A file of a folder is read when its name or its start say that it is one. */
function ofFolder(file, name) {
    const plain = name.toLowerCase().replace(/\.gz$/, '');
    return {file, name, certain: !endings().some((ending) => plain.endsWith(ending))};
}

const isHidden = (name) => name.split('/').some((part) => part.startsWith('.'));

/** The files below a dropped folder. */
async function walk(entry, found) {
    if (isHidden(entry.name)) return;
    if (entry.isFile) {
        const file = await new Promise((resolve, reject) => { entry.file(resolve, reject); });
        found.push(ofFolder(file, entry.fullPath.replace(/^\//, '')));
        return;
    }
    const reader = entry.createReader();
    for (;;) {
        const some = await new Promise((resolve, reject) => { reader.readEntries(resolve, reject); });
        if (some.length === 0) return;
        for (const inner of some) await walk(inner, found);
    }
}

async function dropped(items, files) {
    const roots = [...items].map((item) => item.webkitGetAsEntry?.() ?? null);
    const found = [];
    for (const [i, root] of roots.entries()) {
        if (root?.isDirectory) await walk(root, found);
        else if (files[i]) found.push({file: files[i], name: files[i].name, certain: false});
    }
    found.sort((a, b) => (a.name < b.name ? -1 : a.name > b.name ? 1 : 0));
    add(found);
}

// ---- Start ---------------------------------------------------------------------------------

byId('files').addEventListener('change', ({target}) => {
    add([...target.files].map((file) => ({file, name: file.name, certain: false})));
    target.value = '';
});
byId('folder').addEventListener('change', ({target}) => {
    const names = [...target.files].map((file) => [file, file.webkitRelativePath || file.name]).filter(([, name]) => !isHidden(name));
    names.sort(([, a], [, b]) => (a < b ? -1 : a > b ? 1 : 0));
    add(names.map(([file, name]) => ofFolder(file, name)));
    target.value = '';
});
let over = 0;
addEventListener('dragenter', (event) => { event.preventDefault(); ++over; document.body.classList.add('over'); });
addEventListener('dragleave', () => { if (--over <= 0) document.body.classList.remove('over'); });
addEventListener('dragover', (event) => event.preventDefault());
addEventListener('drop', (event) => {
    event.preventDefault();
    over = 0;
    document.body.classList.remove('over');
    dropped(event.dataTransfer.items, event.dataTransfer.files).catch((error) => { byId('said').textContent = error.message; });
});
for (const id of ['format', 'strict', 'normalize']) byId(id).addEventListener('change', readAgain);
byId('cancel').addEventListener('click', () => { cancelled = true; stopWorker(cancelText); });
byId('all').addEventListener('click', () => busy(saveAll));
byId('clear').addEventListener('click', () => {
    for (const {body} of entries.splice(0)) body?.remove();
    passedOver = firstToRead = 0;
    byId('said').textContent = '';
    showCounts();
});
byId('back').addEventListener('click', closeReport);
addEventListener('keydown', (event) => { if (event.key === 'Escape') closeReport(); });

async function start() {
    try {
        ready = startWorker();
        formats = await ready;
    } catch (error) {
        byId('known').textContent = `This browser cannot run the page: ${error.message}`;
        byId('known').className = 'error';
        return;
    }
    byId('known').textContent = formats.read.map(({title, extensions}) => `${title} (${extensions})`).join(', ') + '; also packed as .gz';
    byId('format').append(...formats.read.map(({name, title}) => el('option', {value: name, text: title})));
    byId('all-as').append(...formats.written.map(({name, title}) => el('option', {value: name, text: name === 'html' ? 'report files (HTML)' : title})));
    document.body.dataset.ready = 'yes';
}

start();
