"""The Python module, on the model of tests/install; what it does is told there."""

import gc
import os
import pathlib

import numpy as np
import pytest
import zolt

PATH = os.environ["ZOLT_TEST_MODEL"]


def hand_heights(path):
    model = zolt.load(path)
    figure = model.figure()
    figure.play("wave", loop="clamp")
    heights = []
    while not figure.is_finished():
        figure.step(1 / 60)
        heights.append(figure.socket_matrix("grip")[1, 3])
    return np.array(heights)


def test_plays_and_shows_its_memory():
    model = zolt.load_bytes(pathlib.Path(PATH).read_bytes())
    assert model.anims == ["wave", "rest", "nod"] and model.parents == [-1, 0, 1]
    assert len(hand_heights(PATH)) == 12 and abs(hand_heights(PATH)[-1] - 16) < 1e-3
    figure = model.figure()
    matrices = figure.matrices
    figure.play("wave", loop="clamp")
    figure.step(0.1)
    # The hips at 1, the arm 10 above them and turned by 45 degrees, the hand 5 along it, the socket 1 further.
    grip = figure.socket_matrix("grip")[:3, 3]
    assert np.allclose(grip, [1 + 6 * 0.5**0.5, 10 + 6 * 0.5**0.5, 0], atol=1e-3)
    assert np.shares_memory(matrices, figure.matrices) and matrices[0, 0, 3] == 1
    out = np.full((3, 5), 7, dtype=np.float32)
    assert np.shares_memory(figure.positions(out=out[:, 1:4]), out)
    assert np.allclose(out[0], [7, *grip, 7], atol=1e-3)
    assert np.array_equal(figure.positions(), out[:, 1:4])

    # A vertex shader's work.
    mesh = model.mesh("glove", shares=8)
    records = mesh.vertices
    skin = figure.skin_matrices()[records["nodes"]]
    points = np.concatenate([records["position"], np.ones((len(records), 1))], axis=1)
    skinned = np.einsum("vs,vsij,vj->vi", records["shares"], skin, points)[:, :3]
    assert np.allclose(skinned, figure.positions()[mesh.source_vertices], atol=1e-4)
    indices = mesh.indices
    del mesh, model, figure
    gc.collect()
    assert indices.tolist() == [[0, 1, 2]] and matrices[0, 0, 3] == 1
    with pytest.raises(ValueError):
        matrices[0] = 0


def test_crowd_events_and_refusals():
    model = zolt.load(PATH)
    figures = [model.figure() for _ in range(20)]
    for i, figure in enumerate(figures):
        figure.play(i % 3, start=0.01 * i)
        figure.set_layer(1, kind="add", mask=[0, 1, 1], weight=0.5)
        figure.play("nod", layer=1)
    zolt.step_many(figures, 0.05, zolt.Pool(2))
    for i, figure in enumerate(figures):
        alone = model.figure()
        alone.play(i % 3, start=0.01 * i)
        alone.set_layer(1, kind="add", mask=[0, 1, 1], weight=0.5)
        alone.play("nod", layer=1)
        alone.step(0.05)
        assert np.array_equal(alone.matrices, figure.matrices)
    for refused in (
        lambda: zolt.load("nowhere.abc"),
        lambda: zolt.load_bytes(b"none"),
        lambda: figure.play("jump"),
        lambda: figure.step(float("nan")),
        lambda: figure.positions(out=np.zeros((3, 3))),
        lambda: figure.positions(out=np.zeros((2, 3), dtype=np.float32)),
        lambda: figure.set_layer(1, mask=[0, 1]),
        lambda: figure.set_world(np.eye(3)),
        lambda: model.mesh(1),
    ):
        with pytest.raises(ValueError, match="."):
            refused()
