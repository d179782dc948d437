import { KEY_FLOATS } from "./model.js";

// Evaluates poses by the engine's rules, in double precision. A pose in parents' spaces ("local") is KEY_FLOATS numbers
// a node, the relation of a child model included; node matrices are the upper three rows, 12 numbers a node.

// Where a time lies among key times: two keys and the fraction from one to the other. It is clamped; of several keys at
// one time the last holds.
export function findTime(times, time) {
    const count = times.length;
    time = Math.max(time, times[0]);
    let low = 0;
    let high = count;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (time < times[middle]) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    const prev = low === 0 ? 0 : low - 1;
    const next = Math.min(prev + 1, count - 1);
    let fraction = 0;
    if (time > times[prev] && times[next] > times[prev]) {
        fraction = Math.min((time - times[prev]) / (times[next] - times[prev]), 1);
    }
    return { prev, next, fraction };
}

// The short way on the sphere, from four numbers in `a` to four in `b`.
function slerp(out, o, a, i, b, j, t) {
    let cosine = a[i] * b[j] + a[i + 1] * b[j + 1] + a[i + 2] * b[j + 2] + a[i + 3] * b[j + 3];
    const sign = cosine < 0 ? -1 : 1;
    cosine *= sign;
    let s0 = 1 - t;
    let s1 = t;
    if (1 - cosine > 0.00001) {
        const omega = Math.acos(cosine);
        const sine = Math.sin(omega);
        s0 = Math.sin((1 - t) * omega) / sine;
        s1 = Math.sin(t * omega) / sine;
    }
    s1 *= sign;
    for (let k = 0; k < 4; ++k) {
        out[o + k] = s0 * a[i + k] + s1 * b[j + k];
    }
}

function interpolate(out, o, a, i, b, j, t) {
    for (let k = 0; k < 3; ++k) {
        out[o + k] = a[i + k] + (b[j + k] - a[i + k]) * t;
    }
    slerp(out, o + 3, a, i + 3, b, j + 3, t);
}

// The rotation of four numbers from q[i] on, as 3 × 3 numbers; they needn't be of unit length.
function rotationOf(r, q, i) {
    const [x, y, z, w] = [q[i], q[i + 1], q[i + 2], q[i + 3]];
    const s = 2 / (x * x + y * y + z * z + w * w);
    r[0] = 1 - s * (y * y + z * z);
    r[1] = s * (x * y - w * z);
    r[2] = s * (x * z + w * y);
    r[3] = s * (x * y + w * z);
    r[4] = 1 - s * (x * x + z * z);
    r[5] = s * (y * z - w * x);
    r[6] = s * (x * z - w * y);
    r[7] = s * (y * z + w * x);
    r[8] = 1 - s * (x * x + y * y);
}

const rotation = new Float64Array(9);

// pose × relation, in place.
function relate(pose, o, relation, i) {
    rotationOf(rotation, pose, o + 3);
    const [tx, ty, tz] = [relation[i], relation[i + 1], relation[i + 2]];
    for (let k = 0; k < 3; ++k) {
        pose[o + k] += rotation[3 * k] * tx + rotation[3 * k + 1] * ty + rotation[3 * k + 2] * tz;
    }
    const [ax, ay, az, aw] = [pose[o + 3], pose[o + 4], pose[o + 5], pose[o + 6]];
    const [bx, by, bz, bw] = [relation[i + 3], relation[i + 4], relation[i + 5], relation[i + 6]];
    pose[o + 3] = aw * bx + ax * bw + ay * bz - az * by;
    pose[o + 4] = aw * by - ax * bz + ay * bw + az * bx;
    pose[o + 5] = aw * bz + ax * by - ay * bx + az * bw;
    pose[o + 6] = aw * bw - ax * bx - ay * by - az * bz;
}

export function newLocals(model) {
    return new Float64Array(KEY_FLOATS * model.nodes.length);
}

export function newMatrices(model) {
    return new Float64Array(12 * model.nodes.length);
}

export function evaluateLocals(model, anim, time, out) {
    const { prev, next, fraction } = findTime(anim.times, time);
    const relations = model.relations[anim.link];
    for (let i = 0; i < model.nodes.length; ++i) {
        const o = KEY_FLOATS * i;
        const start = anim.starts[i];
        const step = anim.steps[i];
        interpolate(out, o, anim.keys, start + step * prev, anim.keys, start + step * next, fraction);
        for (let k = 0; k < 3; ++k) {
            if (model.fixed[i]) {
                out[o + k] = model.offsets[3 * i + k];
            } else if (i === 0) {
                out[o + k] += anim.offset[k];
            }
        }
        if (relations) {
            relate(out, o, relations, o);
        }
    }
}

// Goes from `locals` to `other` by the weight; the result is in `locals`.
export function blendLocals(locals, other, weight) {
    for (let o = 0; o < locals.length; o += KEY_FLOATS) {
        interpolate(locals, o, locals, o, other, o, weight);
    }
}

export function composeMatrices(model, locals, out) {
    for (let i = 0; i < model.nodes.length; ++i) {
        const o = KEY_FLOATS * i;
        const m = 12 * i;
        rotationOf(rotation, locals, o + 3);
        const parent = model.parents[i];
        if (parent < 0) {
            for (let row = 0; row < 3; ++row) {
                out[m + 4 * row] = rotation[3 * row];
                out[m + 4 * row + 1] = rotation[3 * row + 1];
                out[m + 4 * row + 2] = rotation[3 * row + 2];
                out[m + 4 * row + 3] = locals[o + row];
            }
            continue;
        }
        for (let row = 0; row < 3; ++row) {
            const p = 12 * parent + 4 * row;
            const [a, b, c] = [out[p], out[p + 1], out[p + 2]];
            const to = m + 4 * row;
            out[to] = a * rotation[0] + b * rotation[3] + c * rotation[6];
            out[to + 1] = a * rotation[1] + b * rotation[4] + c * rotation[7];
            out[to + 2] = a * rotation[2] + b * rotation[5] + c * rotation[8];
            out[to + 3] = a * locals[o] + b * locals[o + 1] + c * locals[o + 2] + out[p + 3];
        }
    }
}

export function bindMatrices(model, out) {
    for (let i = 0; i < model.nodes.length; ++i) {
        for (let k = 0; k < 12; ++k) {
            out[12 * i + k] = model.bind[16 * i + k];
        }
    }
}
