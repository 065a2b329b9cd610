# SPDX-License-Identifier: MIT
# Tests of the Python module against analytic surfaces, brute force and round trips.
import os
import signal

import numpy as np
import pytest

import qvmath


@pytest.fixture(scope="module")
def torus():
    return qvmath.sample_torus(6000, R=3.0, r=1.0, sigma=0.0, seed=7)


def layouts(p):
    """The same points as float32/float64, C/F order and a strided view."""
    wide = np.zeros((len(p), 7), dtype=np.float64)
    wide[:, 2:5] = p
    return [p, p.astype(np.float64), np.asfortranarray(p), wide[:, 2:5],
            np.repeat(p, 2, axis=0)[::2]]


def test_normals_and_curvature_match_the_torus_in_every_layout(torus):
    ref, valid = qvmath.normals(torus["points"], k=16, orient="mst", threads=1)
    assert valid.all()
    # Oriented outward: the spanning tree turns a closed surface's normals outside.
    assert (ref * torus["normals"]).sum(1).min() > 0.98
    for p in layouts(torus["points"]):
        n, v = qvmath.normals(p, k=16, orient="mst", threads=2)
        np.testing.assert_array_equal(n, ref)
    c = qvmath.curvature(torus["points"], k=30, threads=2)
    assert c["valid"].mean() > 0.99
    ok = c["valid"]
    assert np.median(np.abs(c["k1"][ok] - torus["k1"][ok])) < 0.05
    assert np.median(np.abs(c["k2"][ok] - torus["k2"][ok])) < 0.05
    # Given normals turned inward flip the signs of the curvatures.
    inner = qvmath.curvature(torus["points"], normals=-ref, threads=1)
    np.testing.assert_allclose(inner["k1"][ok], -c["k2"][ok], rtol=1e-4, atol=1e-5)


@pytest.mark.parametrize("orient,sign", [((0, 0, 50), "z"), (("direction", (0, 0, -1)), "-z"),
                                         (("viewpoint", (0, 0, -50)), "-z")])
def test_orientation_rules(torus, orient, sign):
    n, _ = qvmath.normals(torus["points"], orient=orient, threads=1)
    top = torus["points"][:, 2] > 0.9
    assert ((n[top, 2] > 0) == (sign == "z")).all()


@pytest.mark.parametrize("call,message", [
    (lambda: qvmath.normals(np.zeros((10, 2))), r"\(n, 3\).*\(10, 2\)"),
    (lambda: qvmath.normals(np.zeros(9)), r"\(n, 3\)"),
    (lambda: qvmath.normals(np.array([["a", "b", "c"]])), r"real numbers"),
    (lambda: qvmath.normals(np.zeros((0, 3))), r"empty"),
    (lambda: qvmath.normals(np.random.rand(10, 3), k=11), r"11"),
    (lambda: qvmath.normals(np.random.rand(10, 3), k=4, method="svd"), r"pca"),
    (lambda: qvmath.normals(np.random.rand(10, 3), k=4, orient="up"), r"orient"),
    (lambda: qvmath.curvature(np.random.rand(10, 3), normals=np.ones((9, 3))), r"one row"),
    (lambda: qvmath.distance_to_segments(np.zeros((3, 3)), np.zeros((2, 2, 3))), r"length"),
    (lambda: qvmath.distance_to_triangles(np.zeros((1, 3)), np.zeros((2, 2, 3))), r"3, 3"),
    (lambda: qvmath.polygonize(lambda x, y, z: 1.0, (0, 0, 0), 0.1, (5, 5, 5)), r"no surface"),
    (lambda: qvmath.reconstruct(np.zeros((0, 3))), r"fewer than 3"),
    (lambda: qvmath.reconstruct(np.random.rand(50, 3), normals=np.zeros((50, 3))), r"sample"),
    (lambda: qvmath.reconstruct(np.random.rand(50, 3), max_memory=1000), r"memory"),
])
def test_bad_input_raises_value_error(call, message):
    with pytest.raises(ValueError, match=message):
        call()


def test_file_round_trips(tmp_path):
    rng = np.random.default_rng(3)
    p = rng.random((50, 3)).astype(np.float32)
    n = p / np.linalg.norm(p, axis=1, keepdims=True)
    colors = rng.integers(0, 256, (50, 3)).astype(np.uint8)
    label = rng.integers(-300, 300, 50).astype(np.int16)
    for name, kw in [("a.ply", {}), ("b.ply", {"ascii": True})]:
        qvmath.write(str(tmp_path / name), p, normals=n, colors=colors, label=label, **kw)
        d = qvmath.read(str(tmp_path / name))
        np.testing.assert_array_equal(d["points"], p)
        np.testing.assert_array_equal(d["colors"], colors)
        assert d["label"].dtype == np.int16
        np.testing.assert_array_equal(d["label"], label)
    qvmath.write(str(tmp_path / "c.xyz"), p)
    np.testing.assert_allclose(qvmath.read(str(tmp_path / "c.xyz"))["points"], p, rtol=1e-6)
    with pytest.raises(OSError, match="missing.ply"):
        qvmath.read(str(tmp_path / "missing.ply"))


@pytest.mark.parametrize("normals", [None, False])
def test_planes_of_two_walls(normals):
    g = np.stack(np.meshgrid(np.linspace(0, 1, 30), np.linspace(0, 1, 30)), -1).reshape(-1, 2)
    floor = np.c_[g, np.zeros(len(g))]
    wall = np.c_[np.full(len(g), 2.0), g]
    labels, planes, _ = qvmath.planes(np.vstack([floor, wall]), normals, seed=5, threads=2)
    assert len(planes) == 2
    for piece in (labels[:900], labels[900:]):
        assert (piece == piece[0]).all() and piece[0] >= 0
    axes = sorted(int(np.argmax(np.abs(pl["normal"]))) for pl in planes)
    assert axes == [0, 2] and all(pl["rms_error"] < 1e-5 for pl in planes)


def test_polygonize_sphere_and_propagation():
    def sphere(x, y, z):
        return 1.0 - x * x - y * y - z * z
    v, n, t = qvmath.polygonize(sphere, (0, 0, 0), 0.2, (20, 20, 20))
    assert (np.einsum("ij,ij->i", v, n) < -0.99).all()  # toward f > 0: inward
    rows = []

    def batched(q):  # the same operations in the same order as sphere, row by row
        rows.append(len(q))
        return 1.0 - q[:, 0] * q[:, 0] - q[:, 1] * q[:, 1] - q[:, 2] * q[:, 2]
    calls = []
    scalar = qvmath.polygonize(lambda *p: calls.append(p) or sphere(*p), (0, 0, 0), 0.2,
                               (20, 20, 20))
    batch = qvmath.polygonize(batched, (0, 0, 0), 0.2, (20, 20, 20), vectorized=True)
    for a, b in zip(scalar, batch):
        np.testing.assert_array_equal(a, b)
    # The four values of each vertex normal come in one call, and no value is wasted.
    assert sum(rows) == len(calls) and len(calls) - len(rows) == 3 * len(v)

    class Boom(Exception):
        pass

    def failing(x, y, z):
        if abs(z) < 0.3:
            raise Boom("inside f")
        return sphere(x, y, z)
    with pytest.raises(Boom, match="inside f"):
        qvmath.polygonize(failing, (0, 0, 0), 0.2, (20, 20, 20))


def test_distances_of_known_points():
    tri = np.array([[0, 0, 0], [4, 0, 0], [0, 4, 0]])
    q = np.array([[1, 1, 3], [-1, -2, 0], [3, 3, 0]])
    d2, feet, region = qvmath.distance_to_triangles(q, tri)
    np.testing.assert_allclose(d2, [9, 5, 2])
    np.testing.assert_allclose(feet, [[1, 1, 0], [0, 0, 0], [2, 2, 0]])
    assert region[0] == 0 and len(set(region)) == 3
    seg = np.array([[0, 0, 0], [2, 0, 0]], dtype=np.float32)
    # Ends, interior and the tie at equal distance from both ends, which goes to b.
    pts = np.array([[-1, 1, 0], [3, 0, 0], [1, 2, 0], [1, 0, 5]], dtype=np.float32)
    d2, feet, region = qvmath.distance_to_segments(pts, np.stack([seg] * 4)[:, :, :])
    np.testing.assert_array_equal(region, [1, 2, 0, 0])
    np.testing.assert_allclose(d2, [2, 1, 4, 25])


def test_reconstruct_closes_the_torus(torus):
    # Computed normals (oriented by the spanning tree) and the exact ones: a closed torus.
    for normals in (None, torus["normals"]):
        v, t, n, report = qvmath.reconstruct(torus["points"], normals=normals, threads=2)
        assert report["closed"] and report["euler"] == 0 and report["components"] == 1
        assert t.shape[1] == 3 and t.min() >= 0 and t.max() < len(v) == len(n)


@pytest.mark.parametrize("dtype", [np.float32, np.float64])
def test_batched_distances_equal_the_per_pair_ones(dtype):
    # One triangle or segment for all points runs the batched kernel; the same item repeated
    # per point runs the single query, which must give the same bits.
    rng = np.random.default_rng(5)
    p = (rng.normal(size=(1003, 3)) * 2).astype(dtype)
    for fn, item in ((qvmath.distance_to_triangles, rng.normal(size=(3, 3))),
                     (qvmath.distance_to_segments, rng.normal(size=(2, 3)))):
        item = item.astype(dtype)
        batched = fn(p, item)
        single = fn(p, np.repeat(item[None], len(p), axis=0))
        for a, b in zip(batched, single):
            np.testing.assert_array_equal(a, b)
        assert len(set(batched[2])) >= 3


def test_cancellation_by_ctrl_c_and_by_progress(torus):
    seen = []

    def interrupt(pos):
        seen.append(pos)
        os.kill(os.getpid(), signal.SIGINT)
    big = np.tile(torus["points"], (20, 1)) + np.repeat(np.arange(20.0) * 10, 6000)[:, None]
    with pytest.raises(KeyboardInterrupt):
        qvmath.normals(big, k=32, orient="mst", threads=1, progress=interrupt)
    assert len(seen) == 1

    def stop(pos):
        raise RuntimeError("stop at %d" % pos)
    with pytest.raises(RuntimeError, match="stop at"):
        qvmath.planes(big, threads=1, progress=stop)
    # The library is usable again afterwards, and progress ends at 100.
    seen.clear()
    qvmath.normals(torus["points"], threads=1, progress=seen.append)
    assert seen[-1] == 100 and seen == sorted(seen)
