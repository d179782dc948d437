// A piece at a LOD.
//   indices     three vertices a triangle, of those that are drawn
//   sources     for each vertex that is drawn the one of the model: corners with other texture coordinates are apart
//   uvs         by vertex that is drawn
//   positions, normals   by vertex of the model, in the bind pose
//   first       by vertex of the model, and one more: where its weights begin
//   nodes, vectors       by weight: the node, and the vertex in the node's space times the share, with the share
export function readMesh(reader, counts) {
    const corners = reader.shorts(3 * counts.tris);
    const cornerUvs = reader.floats(6 * counts.tris);
    const positions = reader.floats(3 * counts.verts);
    const normals = reader.floats(3 * counts.verts);
    const weightCounts = reader.shorts(counts.verts);
    const mesh = {
        positions,
        normals: completeNormals(corners, positions, normals),
        first: new Uint32Array(counts.verts + 1),
        nodes: reader.shorts(counts.weights),
        vectors: reader.floats(4 * counts.weights),
        ...splitSeams(corners, cornerUvs),
    };
    for (let i = 0; i < counts.verts; ++i) {
        mesh.first[i + 1] = mesh.first[i] + weightCounts[i];
    }
    return mesh;
}

function splitSeams(corners, cornerUvs) {
    const bits = new Uint32Array(cornerUvs.buffer, cornerUvs.byteOffset, cornerUvs.length);
    const known = new Map();
    const indices = new Uint32Array(corners.length);
    const sources = [];
    const uvs = [];
    for (let i = 0; i < corners.length; ++i) {
        const key = `${corners[i]} ${bits[2 * i]} ${bits[2 * i + 1]}`;
        let index = known.get(key);
        if (index === undefined) {
            index = sources.length;
            known.set(key, index);
            sources.push(corners[i]);
            uvs.push(cornerUvs[2 * i], cornerUvs[2 * i + 1]);
        }
        indices[i] = index;
    }
    return { indices, sources: Uint32Array.from(sources), uvs: Float32Array.from(uvs) };
}

// The stored normals, and where there is none the sum of the triangles around.
function completeNormals(corners, positions, stored) {
    const count = stored.length / 3;
    const lacks = new Uint8Array(count);
    let any = false;
    for (let i = 0; i < count; ++i) {
        if (!stored[3 * i] && !stored[3 * i + 1] && !stored[3 * i + 2]) {
            lacks[i] = 1;
            any = true;
        }
    }
    if (!any) {
        return stored;
    }
    const normals = Float32Array.from(stored);
    for (let i = 0; i < corners.length; i += 3) {
        const [a, b, c] = [3 * corners[i], 3 * corners[i + 1], 3 * corners[i + 2]];
        const [ux, uy, uz] = [0, 1, 2].map((k) => positions[b + k] - positions[a + k]);
        const [vx, vy, vz] = [0, 1, 2].map((k) => positions[c + k] - positions[a + k]);
        const cross = [uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx];
        for (const corner of [a, b, c]) {
            for (let k = 0; k < 3 && lacks[corner / 3]; ++k) {
                normals[corner + k] += cross[k];
            }
        }
    }
    return normals;
}
