// ---- A zip archive of files ----------------------------------------------------------------

const crcTable = Uint32Array.from({length: 256}, (_, n) => {
    for (let bit = 0; bit < 8; ++bit) n = n & 1 ? 0xEDB88320 ^ (n >>> 1) : n >>> 1;
    return n;
});

async function crcOf(blob) {
    const bytes = new Uint8Array(await blob.arrayBuffer());
    let crc = 0xFFFFFFFF;
    for (const byte of bytes) crc = crcTable[(crc ^ byte) & 0xFF] ^ (crc >>> 8);
    return (crc ^ 0xFFFFFFFF) >>> 0;
}

/** Little-endian numbers, each [bytes, value]. */
function fields(...numbers) {
    const bytes = [];
    for (const [size, value] of numbers)
        for (let i = 0; i < size; ++i) bytes.push(Math.floor(value / 2 ** (8 * i)) & 0xFF);
    return new Uint8Array(bytes);
}

/** An archive without ZIP64, which ends at 4 GB and 65535 files. */
class Zip {
    constructor() {
        this.parts = [];
        this.directory = [];
        this.size = 0;
    }

    async add(name, blob) {
        const path = new TextEncoder().encode(name);
        const packed = await new Response(blob.stream().pipeThrough(new CompressionStream('deflate-raw'))).blob();
        const [utf8, deflated, day] = [0x0800, 8, 0x21];  // 1 January 1980: the same files give the same archive
        const common = [[2, 20], [2, utf8], [2, deflated], [2, 0], [2, day], [4, await crcOf(blob)], [4, packed.size], [4, blob.size],
            [2, path.length], [2, 0]];
        this.directory.push(fields([4, 0x02014B50], [2, 20], ...common, [2, 0], [2, 0], [2, 0], [4, 0], [4, this.size]), path);
        this.parts.push(fields([4, 0x04034B50], ...common), path, packed);
        this.size += 30 + path.length + packed.size;
        if (this.size > 0xFFF00000 || this.directory.length / 2 > 0xFFFF) throw new Error('they are too many, or too large, for one archive');
    }

    finish() {
        const count = this.directory.length / 2;
        const length = this.directory.reduce((sum, part) => sum + part.length, 0);
        const end = fields([4, 0x06054B50], [2, 0], [2, 0], [2, count], [2, count], [4, length], [4, this.size], [2, 0]);
        return new Blob([...this.parts, ...this.directory, end], {type: 'application/zip'});
    }
}
