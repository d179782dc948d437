#!/usr/bin/env python3
"""Draws the way of a node through an animation: path.py MODEL ANIMATION NODE OUT

From the side and from the front, with a dot every tenth of a second, against the figure's bones at the start. OUT is a
picture (.png, .svg), or a table (.csv) of times and places, for which matplotlib isn't needed.
"""
import sys

import numpy as np
import zolt

STEPS_PER_SECOND = 120


def follow(model, anim, node):
    """Times, the node's places in the world, and the places of all nodes at the start."""
    figure = model.figure()
    figure.play(anim, loop="clamp")
    figure.step()
    index = model.nodes.index(node)
    start = figure.matrices[:, :3, 3].copy()
    times, places = [], []
    for _ in range(round(model.length(anim) * STEPS_PER_SECOND) + 1):
        times.append(figure.time())
        places.append(figure.matrices[index, :3, 3].copy())
        figure.step(1 / STEPS_PER_SECOND)
    return np.array(times), np.array(places), start


def draw(path, title, model, times, places, start):
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(1, 2, figsize=(7, 4.5), sharey=True, layout="constrained")
    figure.suptitle(title)
    shown_points = np.concatenate([places, start])
    middle = (shown_points.max(axis=0) + shown_points.min(axis=0)) / 2
    reach = np.ptp(shown_points, axis=0)[[0, 2]].max() * 0.55
    for axis, across, name in zip(axes, (2, 0), ("z", "x")):
        for node, parent in enumerate(model.parents):
            if parent >= 0:
                bone = start[[parent, node]]
                axis.plot(bone[:, across], bone[:, 1], color="0.75", linewidth=2, zorder=1)
        axis.plot(places[:, across], places[:, 1], color="tab:blue", zorder=2)
        dots = places[:: STEPS_PER_SECOND // 10]
        shown = axis.scatter(dots[:, across], dots[:, 1], c=times[:: STEPS_PER_SECOND // 10], s=18, zorder=3)
        limits = (middle[across] - reach, middle[across] + reach)
        axis.set(xlabel=name, xlim=limits, ylabel="y", aspect="equal")
    figure.colorbar(shown, label="seconds")
    figure.savefig(path, dpi=100)


def main():
    if len(sys.argv) != 5:
        sys.exit("usage: path.py MODEL ANIMATION NODE OUT")
    path, anim, node, out = sys.argv[1:]
    try:
        model = zolt.load(path)
        if node not in model.nodes:
            sys.exit(f"path.py: {path} has no node {node}")
        times, places, start = follow(model, anim, node)
    except ValueError as error:
        sys.exit(f"path.py: {error}")
    if out.endswith(".csv"):
        np.savetxt(out, np.column_stack([times, places]), "%.6g", ",", header="seconds,x,y,z", comments="")
    else:
        draw(out, f"{node} in {anim}", model, times, places, start)


if __name__ == "__main__":
    main()
