#!/usr/bin/env python3
"""Makes the example scene strider.gltf with strider.bin and strider.png beside this script.

A walking figure: 21 joints with a skinned body, a rigid helmet, one texture and two clips. Its node names use the
tokens that the exporter knows:

  strider_zMagScale400   the root: vertices closer than 0.1 / 400 count as one
  helmet_zTex1           the helmet takes texture index 1
  grip_zN                an empty node in the right hand that no vertex follows, kept as an attachment point

Needs nothing but Python 3. Running it again gives the same bytes.
"""
import json
import math
import os
import struct
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
SIDES = 10
KEY_STEP = 0.1  # seconds: three frames at 30 frames per second

# name: (parent, position in the world at rest, radius of the body there). The figure stands on y = 0 and looks at +z.
JOINTS = {
    "hips": (None, (0.0, 1.00, 0.0), 0.15),
    "spine": ("hips", (0.0, 1.15, 0.0), 0.14),
    "chest": ("spine", (0.0, 1.35, 0.01), 0.17),
    "neck": ("chest", (0.0, 1.56, 0.0), 0.06),
    "head": ("neck", (0.0, 1.66, 0.01), 0.09),
}
# Chains of joints that carry a tube, each with the point where the tube ends.
CHAINS = [(list(JOINTS), (0.0, 1.84, 0.01))]
for side, s in (("l", 1.0), ("r", -1.0)):
    ARM = {
        f"clavicle_{side}": ("chest", (0.05 * s, 1.47, 0.0), 0.06),
        f"upperarm_{side}": (f"clavicle_{side}", (0.20 * s, 1.46, 0.0), 0.06),
        f"forearm_{side}": (f"upperarm_{side}", (0.24 * s, 1.18, -0.02), 0.045),
        f"hand_{side}": (f"forearm_{side}", (0.26 * s, 0.93, 0.03), 0.035),
    }
    LEG = {
        f"thigh_{side}": ("hips", (0.10 * s, 0.95, 0.0), 0.09),
        f"shin_{side}": (f"thigh_{side}", (0.11 * s, 0.52, 0.01), 0.06),
        f"foot_{side}": (f"shin_{side}", (0.11 * s, 0.09, -0.03), 0.05),
        f"toe_{side}": (f"foot_{side}", (0.11 * s, 0.03, 0.10), 0.04),
    }
    JOINTS.update(ARM)
    JOINTS.update(LEG)
    CHAINS.append((list(ARM), (0.27 * s, 0.82, 0.05)))
    CHAINS.append((list(LEG), (0.11 * s, 0.02, 0.17)))

NO_INFLUENCE = ((0, 0, 0, 0), (0.0, 0.0, 0.0, 0.0))


def sub(a, b):
    return tuple(x - y for x, y in zip(a, b))


def mix(a, b, t):
    return tuple(x + (y - x) * t for x, y in zip(a, b))


def unit(a):
    n = math.sqrt(sum(x * x for x in a))
    return tuple(x / n for x in a)


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def turn(axis, degrees):
    h = math.radians(degrees) / 2
    return tuple(x * math.sin(h) for x in axis) + (math.cos(h),)


def times_quat(a, b):
    ax, ay, az, aw = a
    bx, by, bz, bw = b
    return (aw * bx + ax * bw + ay * bz - az * by, aw * by - ax * bz + ay * bw + az * bx,
            aw * bz + ax * by - ay * bx + az * bw, aw * bw - ax * bx - ay * by - az * bz)


class Mesh:
    def __init__(self):
        self.positions, self.uvs, self.joints, self.weights, self.indices = [], [], [], [], []

    def vertex(self, position, uv, influence):
        self.positions.append(position)
        self.uvs.append(uv)
        self.joints.append(influence[0])
        self.weights.append(influence[1])
        return len(self.positions) - 1

    def ring(self, center, direction, radius, v, influence):
        """One vertex more than there are sides: the first and the last share a place and differ in u."""
        side = unit(cross(direction, (0.0, 0.0, 1.0) if abs(direction[2]) < 0.9 else (1.0, 0.0, 0.0)))
        up = cross(side, direction)
        first = len(self.positions)
        for i in range(SIDES + 1):
            a = 2 * math.pi * (i % SIDES) / SIDES
            place = tuple(c + radius * (math.cos(a) * s + math.sin(a) * u) for c, s, u in zip(center, side, up))
            self.vertex(place, (i / SIDES, v), influence)
        return first

    def bridge(self, a, b):
        for i in range(SIDES):
            self.indices += [a + i, b + i, a + i + 1, a + i + 1, b + i, b + i + 1]

    def cap(self, ring, center, v, at_start):
        tip = self.vertex(center, (0.5, v), (self.joints[ring], self.weights[ring]))
        for i in range(SIDES):
            self.indices += [tip, ring + i, ring + i + 1] if at_start else [tip, ring + i + 1, ring + i]


def influence_at(chain, i, step, numbers):
    """Around a joint the two bones share the vertices."""
    this = numbers[chain[i]]
    if i > 0 and step < 2:
        share = 0.5 if step == 0 else 0.2
        return (this, numbers[chain[i - 1]], 0, 0), (1 - share, share, 0.0, 0.0)
    if i + 1 < len(chain) and step == 3:
        return (this, numbers[chain[i + 1]], 0, 0), (0.8, 0.2, 0.0, 0.0)
    return (this, 0, 0, 0), (1.0, 0.0, 0.0, 0.0)


def tube(mesh, chain, end, numbers):
    points = [JOINTS[j][1] for j in chain] + [end]
    radii = [JOINTS[j][2] for j in chain] + [JOINTS[chain[-1]][2] * 0.7]
    rings = []
    for i in range(len(chain)):
        for step in range(4):
            t = step / 4
            before = points[i - 1] if step == 0 and i > 0 else points[i]
            rings.append(mesh.ring(mix(points[i], points[i + 1], t), unit(sub(points[i + 1], before)),
                                   radii[i] + (radii[i + 1] - radii[i]) * t, (i + t) / len(chain),
                                   influence_at(chain, i, step, numbers)))
    rings.append(mesh.ring(end, unit(sub(points[-1], points[-2])), radii[-1], 1.0,
                           ((numbers[chain[-1]], 0, 0, 0), (1.0, 0.0, 0.0, 0.0))))
    for a, b in zip(rings, rings[1:]):
        mesh.bridge(a, b)
    mesh.cap(rings[0], points[0], 0.0, True)
    mesh.cap(rings[-1], mix(points[-1], points[-2], -0.1), 1.0, False)


def helmet():
    """A dome in the space of the head joint."""
    mesh = Mesh()
    rings = []
    for i in range(5):
        a = math.pi / 2 * i / 5
        rings.append(mesh.ring((0.0, 0.06 + 0.14 * math.sin(a), 0.0), (0.0, 1.0, 0.0), 0.13 * math.cos(a), i / 5,
                               NO_INFLUENCE))
    for a, b in zip(rings, rings[1:]):
        mesh.bridge(a, b)
    mesh.cap(rings[-1], (0.0, 0.20, 0.0), 1.0, False)
    return mesh


def walk(t):
    """Rotations of joints and the place of the hips at the phase t, 0 to 1."""
    p = 2 * math.pi * t
    x, y = (1.0, 0.0, 0.0), (0.0, 1.0, 0.0)
    pose = {"hips": turn(y, 6 * math.sin(p)), "spine": turn(y, -6 * math.sin(p)), "chest": turn(y, -6 * math.sin(p)),
            "head": turn(y, 6 * math.sin(p))}
    for side, s in (("l", 1.0), ("r", -1.0)):
        pose[f"thigh_{side}"] = turn(x, -28 * s * math.sin(p))
        pose[f"shin_{side}"] = turn(x, 8 + 30 * max(0.0, s * math.cos(p)))
        pose[f"foot_{side}"] = turn(x, 8 * s * math.sin(p))
        pose[f"toe_{side}"] = turn(x, -10 * max(0.0, s * math.sin(p)))
        pose[f"upperarm_{side}"] = turn(x, 24 * s * math.sin(p))
        pose[f"forearm_{side}"] = turn(x, -18 + 10 * s * math.sin(p))
    return pose, (0.02 * math.sin(p), 1.0 - 0.025 * math.cos(2 * p), 0.0)


def wave(t):
    """The right arm goes up, waves and comes down."""
    lift = math.sin(math.pi / 2 * min(1.0, 2.5 * min(t, 1 - t)))
    swing = math.sin(6 * math.pi * t) * lift
    x, y, z = (1.0, 0.0, 0.0), (0.0, 1.0, 0.0), (0.0, 0.0, 1.0)
    return {"clavicle_r": turn(z, -12 * lift), "upperarm_r": turn(z, -130 * lift),
            "forearm_r": times_quat(turn(z, 25 * (swing - lift)), turn(x, -10 * lift)),
            "hand_r": turn(z, 15 * swing), "head": turn(y, -14 * lift), "spine": turn(z, 3 * lift)}, None


def texture_png():
    """64 by 64: a chequered gradient."""
    rows = b""
    for v in range(64):
        rows += b"\0" + b"".join(bytes((60 + 90 * b, 110 + 40 * b, 200 - 2 * v))
                                 for b in ((u // 8 + v // 8) % 2 for u in range(64)))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 64, 64, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


class Document:
    def __init__(self):
        self.data = b""
        self.views, self.accessors = [], []

    def add(self, rows, kind, component, pack, bounds=False):
        packed = [struct.pack("<" + pack, *(r if isinstance(r, tuple) else (r,))) for r in rows]
        self.data += b"\0" * (-len(self.data) % 4)
        self.views.append({"buffer": 0, "byteOffset": len(self.data), "byteLength": sum(map(len, packed))})
        self.data += b"".join(packed)
        entry = {"bufferView": len(self.views) - 1, "componentType": component, "count": len(rows), "type": kind}
        if bounds:
            columns = list(zip(*(struct.unpack("<" + pack, p) for p in packed)))
            entry["min"], entry["max"] = [min(c) for c in columns], [max(c) for c in columns]
        self.accessors.append(entry)
        return len(self.accessors) - 1

    def primitive(self, mesh, skinned):
        attributes = {"POSITION": self.add(mesh.positions, "VEC3", 5126, "3f", True),
                      "TEXCOORD_0": self.add(mesh.uvs, "VEC2", 5126, "2f")}
        if skinned:
            attributes["JOINTS_0"] = self.add(mesh.joints, "VEC4", 5121, "4B")
            attributes["WEIGHTS_0"] = self.add(mesh.weights, "VEC4", 5126, "4f")
        return {"attributes": attributes, "indices": self.add(mesh.indices, "SCALAR", 5123, "H"), "material": 0}

    def clip(self, name, seconds, pose_at, node_of):
        steps = round(seconds / KEY_STEP)
        times = self.add([i * KEY_STEP for i in range(steps + 1)], "SCALAR", 5126, "f", True)
        poses = [pose_at(i / steps) for i in range(steps + 1)]
        samplers, channels = [], []

        def channel(joint, path, values, kind, pack):
            samplers.append({"input": times, "output": self.add(values, kind, 5126, pack), "interpolation": "LINEAR"})
            channels.append({"sampler": len(samplers) - 1, "target": {"node": node_of[joint], "path": path}})

        for joint in poses[0][0]:
            channel(joint, "rotation", [rotations[joint] for rotations, _ in poses], "VEC4", "4f")
        if poses[0][1] is not None:
            channel("hips", "translation", [place for _, place in poses], "VEC3", "3f")
        return {"name": name, "samplers": samplers, "channels": channels}


def main():
    doc = Document()
    nodes = [{"name": "strider_zMagScale400"}]
    node_of = {}

    def attach(node, parent):
        nodes.append(node)
        nodes[parent].setdefault("children", []).append(len(nodes) - 1)
        return len(nodes) - 1

    for joint, (parent, place, _) in JOINTS.items():
        base = JOINTS[parent][1] if parent else (0.0, 0.0, 0.0)
        node_of[joint] = attach({"name": joint, "translation": [round(x, 6) for x in sub(place, base)]},
                                node_of[parent] if parent else 0)
    attach({"name": "helmet_zTex1", "mesh": 1}, node_of["head"])
    attach({"name": "grip_zN", "translation": [0.0, -0.08, 0.03]}, node_of["hand_r"])
    attach({"name": "body", "mesh": 0, "skin": 0}, 0)

    body = Mesh()
    numbers = {joint: i for i, joint in enumerate(JOINTS)}
    for chain, end in CHAINS:
        tube(body, chain, end, numbers)
    binds = [(1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, -x, -y, -z, 1.0)
             for _, (x, y, z), _ in JOINTS.values()]
    gltf = {
        "asset": {"version": "2.0", "generator": "make_strider.py"},
        "scene": 0,
        "scenes": [{"name": "strider", "nodes": [0]}],
        "nodes": nodes,
        "meshes": [{"name": "body", "primitives": [doc.primitive(body, True)]},
                   {"name": "helmet", "primitives": [doc.primitive(helmet(), False)]}],
        "skins": [{"name": "strider", "joints": list(node_of.values()), "skeleton": node_of["hips"],
                   "inverseBindMatrices": doc.add(binds, "MAT4", 5126, "16f")}],
        "materials": [{"name": "strider", "pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}}],
        "textures": [{"source": 0}],
        "images": [{"uri": "strider.png"}],
        "animations": [doc.clip("walk", 1.2, walk, node_of), doc.clip("wave", 2.4, wave, node_of)],
    }
    gltf["accessors"], gltf["bufferViews"] = doc.accessors, doc.views
    gltf["buffers"] = [{"uri": "strider.bin", "byteLength": len(doc.data)}]
    with open(os.path.join(HERE, "strider.gltf"), "w", encoding="utf-8") as f:
        json.dump(gltf, f, separators=(",", ":"))
        f.write("\n")
    with open(os.path.join(HERE, "strider.bin"), "wb") as f:
        f.write(doc.data)
    with open(os.path.join(HERE, "strider.png"), "wb") as f:
        f.write(texture_png())


if __name__ == "__main__":
    main()
