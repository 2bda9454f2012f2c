// Reads and writes files beside the page; the library's loader stands before this.

const MostText = 1 << 30;        // bytes that a compressed file may unpack to,
const AnyText = 64 << 20;        // so many of any file,
const MostTimes = 250;           // more as long as they are in proportion to it
const DetectionWindow = 64 << 10;

let lumo = null;
let read = null;     // what the library holds: the page's number of it
let task = null;     // what is done now
let pieces = [];

/** The file's bytes, unpacked, and what there is to say of that. */
async function bytesOf(file) {
    const bytes = new Uint8Array(await file.arrayBuffer());
    if (bytes[0] !== 0x1f || bytes[1] !== 0x8b) return {bytes, damage: ''};
    const limit = Math.min(MostText, Math.max(AnyText, bytes.length * MostTimes));
    const reader = new Blob([bytes]).stream().pipeThrough(new DecompressionStream('gzip')).getReader();
    const parts = [];
    let size = 0;
    let damage = '';
    try {
        for (let part = await reader.read(); !part.done; part = await reader.read()) {
            parts.push(part.value);
            size += part.value.length;
            if (size > limit) throw new Error(`its text has more than ${limit} bytes`);
        }
    } catch (error) {
        if (size > limit) throw error;
        damage = 'it cannot be unpacked to its end';
    }
    return {bytes: new Uint8Array(await new Blob(parts).arrayBuffer()), damage};
}

/** Gives the library bytes, which frees them. */
function place(bytes) {
    const at = lumo._LumoRoom(bytes.length) >>> 0;
    if (at === 0) throw new Error('there is not enough memory');
    lumo.HEAPU8.set(bytes, at);
    return at;
}

async function readFile({number, file, name, format, strict, normalize, certain}) {
    if (certain) {
        const start = (await bytesOf(file.slice(0, DetectionWindow))).bytes.subarray(0, DetectionWindow);
        if (!lumo._LumoIsCertain(place(start), start.length)) return {passedOver: true};
    }
    const {bytes, damage} = await bytesOf(file);
    const at = place(bytes);
    read = null;
    const answer = lumo.ccall('LumoRead', 'string', ['number', 'number', 'string', 'string', 'number', 'number'],
        [at, bytes.length, name, format, strict ? 0 : 1, normalize ? 1 : 0]);
    read = number;
    return {...JSON.parse(answer), damage};
}

async function writeFile(order) {
    if (read !== order.number) await readFile({...order, certain: false});
    pieces = [];
    const answer = JSON.parse(lumo.ccall('LumoWrite', 'string', ['string'], [order.writer]));
    const blob = new Blob(pieces);
    pieces = [];
    return {...answer, blob};
}

const tasks = {
    async start({module}) {
        lumo = await LoadLumo({
            instantiateWasm: (imports, ready) => { WebAssembly.instantiate(module, imports).then((instance) => ready(instance, module)); return {}; },
            progress: (done, total) => postMessage({id: task, progress: done / total}),
            take: (bytes) => pieces.push(new Blob([bytes])),
            print: () => {},
            printErr: () => {},
        });
        return JSON.parse(lumo.ccall('LumoFormats', 'string', [], []));
    },
    read: readFile,
    write: writeFile,
};

onmessage = async ({data}) => {
    task = data.id;
    try {
        postMessage({id: data.id, answer: await tasks[data.task](data)});
    } catch (error) {
        postMessage({id: data.id, error: String(error.message || error)});
    }
};
