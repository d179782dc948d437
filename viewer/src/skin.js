// Vertices in a pose. Works on vertices of the model and spreads them over those that are drawn.
export class Skin {
    #model;
    #normalMatrices;
    #positions = new Float32Array(0);
    #normals = new Float32Array(0);

    constructor(model) {
        this.#model = model;
        this.#normalMatrices = new Float32Array(9 * model.nodes.length);
    }

    // What turns the normals of the bind pose into those of the pose, for each node: R(pose) × R(bind) transposed.
    setPose(matrices) {
        const { bind, nodes } = this.#model;
        const out = this.#normalMatrices;
        for (let i = 0; i < nodes.length; ++i) {
            for (let row = 0; row < 3; ++row) {
                const m = 12 * i + 4 * row;
                for (let column = 0; column < 3; ++column) {
                    const b = 16 * i + 4 * column;
                    out[9 * i + 3 * row + column] =
                        matrices[m] * bind[b] + matrices[m + 1] * bind[b + 1] + matrices[m + 2] * bind[b + 2];
                }
            }
        }
    }

    // Fills the arrays of a geometry and widens the box [minX, minY, minZ, maxX, maxY, maxZ].
    deform(mesh, matrices, positions, normals, box) {
        const count = mesh.positions.length / 3;
        if (this.#positions.length < 3 * count) {
            this.#positions = new Float32Array(3 * count);
            this.#normals = new Float32Array(3 * count);
        }
        this.deformPositions(mesh, matrices, this.#positions, box);
        this.#deformNormals(mesh, count);
        spread(mesh.sources, this.#positions, positions);
        spread(mesh.sources, this.#normals, normals);
    }

    // A vertex without weights goes to 0, 0, 0, as in the engine.
    deformPositions(mesh, matrices, out, box) {
        const { first, nodes, vectors } = mesh;
        const count = mesh.positions.length / 3;
        let [minX, minY, minZ, maxX, maxY, maxZ] = box;
        for (let i = 0, o = 0; i < count; ++i, o += 3) {
            let x = 0;
            let y = 0;
            let z = 0;
            let sum = 0;
            for (let k = first[i]; k < first[i + 1]; ++k) {
                const m = 12 * nodes[k];
                const v = 4 * k;
                const vx = vectors[v];
                const vy = vectors[v + 1];
                const vz = vectors[v + 2];
                const share = vectors[v + 3];
                x += matrices[m] * vx + matrices[m + 1] * vy + matrices[m + 2] * vz + matrices[m + 3] * share;
                y += matrices[m + 4] * vx + matrices[m + 5] * vy + matrices[m + 6] * vz + matrices[m + 7] * share;
                z += matrices[m + 8] * vx + matrices[m + 9] * vy + matrices[m + 10] * vz + matrices[m + 11] * share;
                sum += share;
            }
            if (sum === 0) {
                out[o] = out[o + 1] = out[o + 2] = 0;
                continue;
            }
            x /= sum;
            y /= sum;
            z /= sum;
            out[o] = x;
            out[o + 1] = y;
            out[o + 2] = z;
            minX = x < minX ? x : minX;
            minY = y < minY ? y : minY;
            minZ = z < minZ ? z : minZ;
            maxX = x > maxX ? x : maxX;
            maxY = y > maxY ? y : maxY;
            maxZ = z > maxZ ? z : maxZ;
        }
        box[0] = minX;
        box[1] = minY;
        box[2] = minZ;
        box[3] = maxX;
        box[4] = maxY;
        box[5] = maxZ;
    }

    #deformNormals(mesh, count) {
        const { first, nodes, vectors, normals } = mesh;
        const matrices = this.#normalMatrices;
        const out = this.#normals;
        for (let i = 0, o = 0; i < count; ++i, o += 3) {
            const nx = normals[o];
            const ny = normals[o + 1];
            const nz = normals[o + 2];
            let x = 0;
            let y = 0;
            let z = 0;
            for (let k = first[i]; k < first[i + 1]; ++k) {
                const m = 9 * nodes[k];
                const share = vectors[4 * k + 3];
                x += share * (matrices[m] * nx + matrices[m + 1] * ny + matrices[m + 2] * nz);
                y += share * (matrices[m + 3] * nx + matrices[m + 4] * ny + matrices[m + 5] * nz);
                z += share * (matrices[m + 6] * nx + matrices[m + 7] * ny + matrices[m + 8] * nz);
            }
            out[o] = x;
            out[o + 1] = y;
            out[o + 2] = z;
        }
    }
}

export function emptyBox() {
    return [Infinity, Infinity, Infinity, -Infinity, -Infinity, -Infinity];
}

function spread(sources, from, to) {
    for (let i = 0, o = 0; i < sources.length; ++i, o += 3) {
        const s = 3 * sources[i];
        to[o] = from[s];
        to[o + 1] = from[s + 1];
        to[o + 2] = from[s + 2];
    }
}
