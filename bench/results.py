"""Runs the benchmarks of a build and writes results.md: results.py BUILD [PEERS]

PEERS is a folder with two programs that measure a build beside other libraries (see scripts/bench); without it the part
of results.md that comes from them is kept.
"""
import json
import os
import platform
import re
import subprocess
import sys
import tempfile

import growscene

HERE = os.path.dirname(os.path.abspath(__file__))
RESULTS = os.path.join(HERE, "results.md")
COUNTS = [1000 * 2**i for i in range(7)]
GROWING = ["vertices", "triangles", "nodes", "keys", "pieces", "clips"]
# An export of twice the size isn't tried behind one that took so many seconds.
LONG_EXPORT = 20

# Beside others: what `run` calls it, what the ratio was before, what limits the time now.
POSES = [
    ("1 position, played forward", "5.9", "gathering four tracks at a time, then products parent before child"),
    ("1 position, translations constant", "6.7", "the same: constant tracks are gathered like all others"),
    ("1 position, keys equal", "4.9", "the same"),
    ("1 position, time held", "12.4", "the same: nothing is kept from one call to the next"),
    ("2 positions", "6.2", "gathering, and the blend by the nodes' weights"),
    ("8 positions", "6.7", "gathering, and the blend by the nodes' weights"),
    ("skinning, 1 weights", "6.3", "memory: a vertex takes 32 bytes, with the other library 26"),
    ("skinning, 2 weights", "6.2", "the same: 52 bytes, with the other library 32"),
    ("skinning, 3 weights", "6.0", "the same: 72 bytes, with the other library 38"),
    ("skinning, 4 weights", "6.6", "the same: 92 bytes, with the other library 44"),
]
# The same for `exports`, with what twice the scene took before.
EXPORTS = [
    ("fox", "1.7", "", "the start of the process, and the way of the file to the disk"),
    ("sheet", "12 to 14", "", "memory that the kernel clears, the conversion of each key, corners and weights one by one"),
    ("still", "5.1", "", "memory that the kernel clears, reading the mesh through the host's interface, vertex by vertex"),
    ("joints", "1.8", "3.6", "taking out the nodes that nothing needs"),
    ("meshes", "1.3", "3.4", "many small lists, which the memory takes and gives back one by one"),
    ("clips", "8.1", "2.9", "the conversion of each clip"),
]
FILES = [("Load", "load, plain", "0.84 GB/s", "spreading records into memory of their own"),
         ("LoadOneBlock", "load into one block", "0.84 GB/s", "the same"),
         ("LoadMapped", "load from a mapped file", "", "the kernel's faults for pages of the file"),
         ("LoadStdio", "load through `OpenStdioStream`", "0.18 GB/s", "the kernel's copy of the file"),
         ("Save", "save with its proof into a growing stream", "0.2 GB/s, quadratic",
          "two passes that gather records, one load")]

NOTES = """\
- *Loading, saving and evaluating* are in proportion: a node's pose and its load take as many instructions among 64,000
  nodes as among 8,000. Nodes, pieces and clips live in allocations of their own, though. Past some 10,000 of them they
  leave the caches, and each waits for memory a few times more: those are the steps above 2. Evaluating doesn't depend
  on triangles, keys or clips.
- *Exporting pieces*: our host says which joints move a mesh. A host that doesn't is asked about each pair of an
  enveloped mesh and a node, meshes being nodes too, and that grows with the square.
- *Exporting clips*: the table of a model's animations has no room to spare, so each clip that is added copies it. Among
  4,000 clips that is 4 % of the time, among 32,000 a third.
- *Twice of it*, beside others, comes from one run of each size, and the processor's clock, and what memory costs,
  change between them. In instructions it is 1.99 times for the joints, the clips and the meshes.
"""


def output(*command, env=None):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, env=env).stdout


def table(head, rows):
    lines = ["| " + " | ".join(row) + " |" for row in [head, ["---"] * len(head)] + rows]
    return "\n".join(lines) + "\n"


def significant(value):
    """Two digits or all before the point."""
    return f"{value:.0f}" if value >= 10 else f"{value:.1f}" if value >= 1 else f"{value:.2f}"


def machine():
    cpu = re.search(r"model name\s*: (.*)", open("/proc/cpuinfo", encoding="utf-8").read())[1]
    memory = int(re.search(r"MemTotal:\s*(\d+)", open("/proc/meminfo", encoding="utf-8").read())[1]) / 2**20
    compiler = output("c++", "--version").splitlines()[0]
    return (f"{os.cpu_count()} cores of {cpu}, {memory:.0f} GB, {platform.system()} {platform.release()}, {compiler}, "
            f"build `release`. Load average at the end: {os.getloadavg()[2]:.0f}; much above 0 others have had a share of the "
            "caches and cores.")


def benchmarks(build, pattern, *options, clock="cpu_time"):
    """The best processor time, or `real_time`, of each benchmark in microseconds, and the bytes each second."""
    text = output(os.path.join(build, "bin", "bench_model"), "--benchmark_format=json",
                  "--benchmark_filter=" + pattern, *options)
    best = {}
    units = {"ns": 1e-3, "us": 1, "ms": 1e3}
    for run in json.loads(text)["benchmarks"]:
        if run.get("run_type") == "aggregate" or "error_occurred" in run:
            continue
        name = re.sub(r"/(min_time|repeats):[^/]*", "", run["name"])
        time = run[clock] * units[run["time_unit"]]
        if name not in best or time < best[name][0]:
            best[name] = time, run.get("bytes_per_second", 0)
    return best


def files(build):
    best = benchmarks(build, "^Files/", "--benchmark_repetitions=5")
    sizes = [1, 4, 16]
    rows = [["memcpy", ""] + [f"{best[f'Files/Copy/{n}'][1] / 1e9:.1f} GB/s" for n in sizes] + ["the caches"]]
    for name, what, before, limit in FILES:
        speeds = [best[f"Files/{name}/{n}"][1] for n in sizes]
        shares = [speed / best[f"Files/Copy/{n}"][1] for speed, n in zip(speeds, sizes)]
        rows.append([what, before] + [f"{v / 1e9:.1f} GB/s, {s:.2f}" for v, s in zip(speeds, shares)] + [limit])
    return table(["work", "before", "4 MB", "17 MB", "67 MB", "what limits it"], rows)


def figures(build):
    best = benchmarks(build, "Crowd|^SkinMatrices|^RenderMesh", "--benchmark_repetitions=5", clock="real_time")
    one, two = (best[f"EvaluateCrowd/threads:{n}/real_time"][0] for n in (1, 2))
    rows = [["time passes for 1,000 players, and their positions are set", f"{best['PlayCrowd'][0] / 1000:.2f} ms"],
            ["1,000 figures are evaluated by one thread", f"{one / 1000:.2f} ms"],
            ["... by two threads", f"{two / 1000:.2f} ms, {one / two:.2f} times as fast"],
            ["skin matrices of one figure, 4 × 4 by columns", f"{best['SkinMatrices'][0]:.2f} µs"],
            ["a render mesh of 60,000 triangles", f"{best['RenderMesh'][0] / 1000:.1f} ms"]]
    return table(["work", "time"], rows)


def growth(rows):
    """Rows of times by count; missing ones weren't run."""
    cells = []
    for what, times in rows:
        steps = [b / a for a, b in zip(times, times[1:])]
        whole = f"{times[-1] / times[0]:.1f} for {COUNTS[len(times) - 1] // COUNTS[0]}" if len(times) > 1 else ""
        cells.append([what] + [significant(t) for t in times] + ["–"] * (len(COUNTS) - len(times)) +
                     [whole, f"{max(steps):.1f}" if steps else ""])
    return table([""] + [f"{n:,}" for n in COUNTS] + ["times", "largest step"], cells)


def series(build):
    best = benchmarks(build, "^Series/")
    parts = []
    for name, title in (("Load", "Loading from memory"), ("Save", "Saving with the proof"),
                        ("Evaluate", "A pose and its vertices")):
        rows = [(what, [best[f"Series/{name}/{what}/{n}"][0] for n in COUNTS]) for what in GROWING]
        parts.append(f"### {title}, microseconds\n\n" + growth(rows))
    return parts


def processor_time(command, env):
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, env=env)
    message = process.stderr.read()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = status
    if status != 0:
        sys.exit(f"{' '.join(command)}: {message.decode(errors='replace')}")
    return usage.ru_utime + usage.ru_stime


def exports(build):
    rows = []
    with tempfile.TemporaryDirectory() as folder:
        env = dict(os.environ, XDG_CONFIG_HOME=folder, XDG_STATE_HOME=folder)
        stem = os.path.join(folder, "scene")
        for what in GROWING:
            times = []
            for n in COUNTS:
                if times and times[-1] > LONG_EXPORT * 1000:
                    break
                growscene.write(what, n, stem)
                command = [os.path.join(build, "bin", "zoltexport"), stem + ".gltf", "-o", stem + ".abc", "--quiet",
                           "--overwrite"] + (["--all-clips"] if what == "clips" else [])
                times.append(1000 * processor_time(command, env))
                print(f"export {what} {n}: {times[-1]:.0f} ms", file=sys.stderr, flush=True)
            rows.append((what, times))
    return "### A whole export, milliseconds of processor time\n\n" + growth(rows)


def ratio(value):
    return f"{float(value):.2f}"


def beside_others(run, exports_run):
    """From what the two programs have printed."""
    found = {m[1].strip(): m[2] for m in re.finditer(r"^(.{36}) +([\d.]+) +[\d.]+$", run, re.M)}
    rows = [[name.replace("1 weights", "1 weight"), before, ratio(found[name]), limit]
            for name, before, limit in POSES if name in found]
    for name, before, twice, limit in EXPORTS:
        m = re.search(rf"^{name} .*ratio +([\d.]+) +\d+ MB +(.*?)(?:; twice of it: ([\d.]+) times)?$", exports_run, re.M)
        if not m:
            continue
        rows.append([m[2], before, ratio(m[1]), limit])
        if m[3]:
            rows.append([f"{m[2]}: twice of it", f"{twice} times" if twice else "", f"{m[3]} times", ""])
    return ("Our time divided by that of ozz-animation 0.16 (poses of 100 nodes and skinning of 10,000 vertices, interleaved\n"
            "in one process), and of `assimp export` (whole exports, processor time of the process). Lower is better.\n\n" +
            table(["work", "before", "now", "what limits it"], rows))


def kept(heading):
    """A part of results.md as it stands."""
    try:
        text = open(RESULTS, encoding="utf-8").read()
    except FileNotFoundError:
        return "Not measured.\n"
    m = re.search(rf"^## {heading}\n\n(.*?)(?=^## |\Z)", text, re.M | re.S)
    return m[1].rstrip("\n") + "\n" if m else "Not measured.\n"


def main(build, peers=None):
    build = os.path.abspath(build)
    others = (beside_others(*(output(os.path.join(peers, name), build) for name in ("run", "exports"))) if peers else
              kept("Beside others"))
    parts = ["## Beside others\n\n" + others,
             "## Loading and saving\n\n"
             "Figures of three sizes, from and to memory that the process has had before; the best of five. The second\n"
             "number is the share of a memcpy of the same bytes in the same run. 4 MB lie in the cache, where a memcpy is\n"
             "faster than anything that looks at the bytes.\n\n" + files(build),
             "## Figures\n\nOf 60 nodes, with a base and a layer that adds; the best of five.\n\n" + figures(build),
             "## Growth\n\nOne number grows, the others stay small. In proportion is 64 times from the first column to "
             "the last,\nand steps of 2.\n"]
    parts += series(build)
    parts.append(exports(build))
    parts.append("### Where it isn't in proportion\n\n" + NOTES)
    parts.insert(0, "# How fast it is\n\nMeasured and written by `scripts/bench`.\n\n" + machine())
    with open(RESULTS, "w", encoding="utf-8") as file:
        file.write("\n".join(part.rstrip("\n") + "\n" for part in parts))


if __name__ == "__main__":
    main(*sys.argv[1:])
