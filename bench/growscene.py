"""A glTF scene of which one number grows: growscene.py vertices|triangles|nodes|keys|pieces|clips N STEM

Writes STEM.gltf and STEM.bin. The other numbers stay small: a strip of 1,000 vertices on 10 joints, one clip of 2 keys.
"""
import array
import json
import math
import sys

FLOAT, USHORT = 5126, 5123
WIDTHS = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4}


class Scene:
    def __init__(self):
        self.buffer = bytearray()
        self.views = []
        self.accessors = []

    def add(self, code, kind, values):
        """An accessor of its own for these numbers."""
        values = array.array(code, values)
        self.buffer.extend(b"\0" * (-len(self.buffer) % 4))
        width = WIDTHS[kind]
        self.views.append({"buffer": 0, "byteOffset": len(self.buffer), "byteLength": len(values) * values.itemsize})
        self.buffer.extend(values.tobytes())
        accessor = {"bufferView": len(self.views) - 1, "componentType": FLOAT if code == "f" else USHORT,
                    "count": len(values) // width, "type": kind}
        if code == "f":
            accessor["min"] = [min(values[k::width]) for k in range(width)]
            accessor["max"] = [max(values[k::width]) for k in range(width)]
        self.accessors.append(accessor)
        return len(self.accessors) - 1

    def strip(self, vertices, triangles, joints, place):
        """A mesh of two rows of vertices, each on two joints; triangles beyond the strip lie anywhere in it."""
        at = range(vertices)
        positions = [c for i in at for c in (i // 2 * 0.01, place, (i % 2) * 0.5 + 0.1 * math.sin(0.05 * i))]
        bound = [c for i in at for c in (i % joints, (i + 1) % joints, 0, 0)]
        indices = []
        for t in range(triangles):
            lap, i = divmod(t, vertices - 2)
            indices += (i, (i + 1 + lap) % vertices, (i + 2 + 2 * lap) % vertices)
        return {"attributes": {"POSITION": self.add("f", "VEC3", positions),
                               "TEXCOORD_0": self.add("f", "VEC2", [c for i in at for c in (i / vertices, i % 2)]),
                               "JOINTS_0": self.add("H", "VEC4", bound),
                               "WEIGHTS_0": self.add("f", "VEC4", [0.75, 0.25, 0.0, 0.0] * vertices)},
                "indices": self.add("H", "SCALAR", indices)}

    def clip(self, name, times, joints, keys):
        """All joints turn, each in its own way."""
        samplers = []
        for j in range(joints):
            angles = [0.2 * math.sin(0.06 * k + 0.7 * j) for k in range(keys)]
            turns = [c for a in angles for c in (math.sin(a), 0.0, 0.0, math.cos(a))]
            samplers.append({"input": times, "output": self.add("f", "VEC4", turns)})
        return {"name": name, "samplers": samplers,
                "channels": [{"sampler": j, "target": {"node": j, "path": "rotation"}} for j in range(joints)]}


def build(what, n):
    count = {"vertices": 1000, "triangles": 998, "nodes": 10, "keys": 2, "pieces": 1, "clips": 1, what: n}
    if what in ("vertices", "nodes"):
        count["vertices"] = max(n, 1000)
        count["triangles"] = count["vertices"] - 2
    if what == "pieces":
        count["vertices"], count["triangles"] = 16, 14
    scene = Scene()
    joints = count["nodes"]
    nodes = [{"name": f"joint{j}", "translation": [0.1, 0.0, 0.02]} for j in range(joints)]
    for j in range(1, joints):
        nodes[(j - 1) // 2].setdefault("children", []).append(j)
    meshes = []
    for p in range(count["pieces"]):
        part = scene.strip(count["vertices"], count["triangles"], joints, 0.01 * p)
        meshes.append({"name": f"piece{p}", "primitives": [part]})
        nodes.append({"name": f"piece{p}", "mesh": p, "skin": 0})
    keys = count["keys"]
    times = scene.add("f", "SCALAR", [k / 30.0 for k in range(keys)])
    clips = [scene.clip(f"clip{c}", times, joints, keys) for c in range(count["clips"])]
    return scene, {"asset": {"version": "2.0"}, "scene": 0,
                   "scenes": [{"nodes": [0] + list(range(joints, len(nodes)))}],
                   "nodes": nodes, "meshes": meshes, "skins": [{"joints": list(range(joints))}], "animations": clips,
                   "accessors": scene.accessors, "bufferViews": scene.views}


def write(what, n, stem):
    scene, document = build(what, n)
    document["buffers"] = [{"uri": stem.rsplit("/", 1)[-1] + ".bin", "byteLength": len(scene.buffer)}]
    with open(stem + ".bin", "wb") as file:
        file.write(scene.buffer)
    with open(stem + ".gltf", "w", encoding="ascii") as file:
        json.dump(document, file)


if __name__ == "__main__":
    write(sys.argv[1], int(sys.argv[2]), sys.argv[3])
