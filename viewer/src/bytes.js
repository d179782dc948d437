// Base64 text to bytes.
export function bytesFromBase64(text) {
    if (Uint8Array.fromBase64) {
        return Uint8Array.fromBase64(text);
    }
    const binary = atob(text);
    const bytes = new Uint8Array(binary.length);
    for (let i = 0; i < binary.length; ++i) {
        bytes[i] = binary.charCodeAt(i);
    }
    return bytes;
}

// Arrays one behind the other, each beginning at a multiple of four bytes.
export class ArrayReader {
    #buffer;
    #position = 0;

    constructor(bytes) {
        this.#buffer = bytes.buffer;
        this.#position = bytes.byteOffset;
    }

    #take(Type, count) {
        const array = new Type(this.#buffer, this.#position, count);
        this.#position += (array.byteLength + 3) & ~3;
        return array;
    }

    bytes(count) {
        return this.#take(Uint8Array, count);
    }

    shorts(count) {
        return this.#take(Uint16Array, count);
    }

    words(count) {
        return this.#take(Uint32Array, count);
    }

    floats(count) {
        return this.#take(Float32Array, count);
    }
}
