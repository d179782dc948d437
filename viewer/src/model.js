import { ArrayReader, bytesFromBase64 } from "./bytes.js";
import { readMesh } from "./mesh.js";

export const FIXED_OFFSET = 2; // flag of a node that stays at its place in its parent

// The floats of a key, a relation or a socket: x, y, z of the translation, x, y, z, w of the rotation.
export const KEY_FLOATS = 7;

// One model as the page holds it. What `info` says comes from the program; the arrays follow it in one block, in the
// order in which they are read here. Matrices are 4 × 4, row after row, for column vectors; everything is in model
// space, which is the scene's mirrored in z.
export class Model {
    constructor(file) {
        this.file = { path: file.file, name: file.name, missing: file.missing };
        this.info = file.info;
        this.nodes = file.info.nodes;
        const reader = new ArrayReader(bytesFromBase64(file.data));
        const nodes = this.nodes.length;
        this.bind = reader.floats(16 * nodes);
        this.offsets = reader.floats(3 * nodes);
        this.parents = Int32Array.from(this.nodes, (node) => node.parent);
        this.fixed = Uint8Array.from(this.nodes, (node) => (node.flags & FIXED_OFFSET ? 1 : 0));
        this.pieces = file.info.pieces.map((piece) => ({
            ...piece,
            meshes: piece.lods.map((counts) => readMesh(reader, counts, this)),
        }));
        this.relations = file.info.childModels.map(() => (reader.words(1)[0] ? reader.floats(KEY_FLOATS * nodes) : null));
        this.anims = file.info.anims.map((anim) => readAnim(reader, anim, nodes));
    }

    // The first of that name, whatever the case of its letters, or none.
    findAnim(name) {
        const wanted = name.toLowerCase();
        return this.anims.find((anim) => anim.name.toLowerCase() === wanted) ?? null;
    }

    // The triangles, vertices and weights of a LOD.
    counts(lod) {
        const sum = { tris: 0, verts: 0, weights: 0 };
        for (const piece of this.pieces) {
            const counts = piece.lods[lod];
            sum.tris += counts?.tris ?? 0;
            sum.verts += counts?.verts ?? 0;
            sum.weights += counts?.weights ?? 0;
        }
        return sum;
    }
}

// A track is where its keys begin in `keys` and how far apart they are: 0 where all are the same one.
function readAnim(reader, info, nodes) {
    const [link, fits] = reader.words(2);
    const anim = { ...info, link, fits: fits !== 0, times: reader.words(info.keys) };
    if (!anim.fits) {
        return anim;
    }
    const constant = reader.bytes(nodes);
    anim.starts = new Uint32Array(nodes);
    anim.steps = new Uint32Array(nodes);
    let size = 0;
    for (let i = 0; i < nodes; ++i) {
        anim.starts[i] = size;
        anim.steps[i] = constant[i] ? 0 : KEY_FLOATS;
        size += KEY_FLOATS * (constant[i] ? 1 : info.keys);
    }
    anim.keys = reader.floats(size);
    anim.count = info.keys;
    return anim;
}
