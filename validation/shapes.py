"""Regular element shapes and random distortions of them.

A random shape starts from the regular one and gets, with a distortion level d
drawn uniformly from [0, 1]: node perturbations up to 0.3 d of the element's
size, a stretch of each axis by 10^(d u) (u uniform in [0, 1], so aspect ratios
up to 10), a shear of one coordinate pair by an angle up to 45 d degrees, then a
random rotation, a size factor 10^U(-1, 1) and a translation.
"""
import numpy as np

SQ3 = np.sqrt(3.0)
REGULAR = {
    "line": np.array([[0.0, 0, 0], [1, 0, 0]]),
    "tri": np.array([[0.0, 0], [1, 0], [0.5, SQ3 / 2]]),
    "quad": np.array([[0.0, 0], [1, 0], [1, 1], [0, 1]]),
    "tet": np.array([[0.0, 0, 0], [1, 0, 0], [0.5, SQ3 / 2, 0],
                     [0.5, SQ3 / 6, np.sqrt(2.0 / 3.0)]]),
    "hex": np.array([[0.0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0],
                     [0, 0, 1], [1, 0, 1], [1, 1, 1], [0, 1, 1]]),
}
PERTURB = 0.3
TET10_EDGES = [(0, 1), (1, 2), (2, 0), (0, 3), (1, 3), (2, 3)]


def with_midside(tets):
    """Ten-node tetrahedra with straight sides from four-node ones, (n, 10, 3)."""
    mids = [(tets[:, i] + tets[:, j]) / 2 for i, j in TET10_EDGES]
    return np.concatenate([tets, np.stack(mids, axis=1)], axis=1)


def random_rotation(rng, dim):
    if dim == 2:
        a = rng.uniform(0, 2 * np.pi)
        return np.array([[np.cos(a), -np.sin(a)], [np.sin(a), np.cos(a)]])
    q, r = np.linalg.qr(rng.normal(size=(3, 3)))
    q = q * np.sign(np.diag(r))
    if np.linalg.det(q) < 0:
        q[:, 0] = -q[:, 0]
    return q


def distort(rng, base, count, rotate=True):
    """count random shapes from base (nodes, dim); returns shapes and levels d."""
    nn, dim = base.shape
    d = rng.uniform(0, 1, count)
    out = np.empty((count, nn, dim))
    centre = base.mean(axis=0)
    for s in range(count):
        x = base - centre + PERTURB * d[s] * rng.uniform(-1, 1, size=base.shape)
        stretch = np.diag(10.0 ** (d[s] * rng.uniform(0, 1, dim)))
        shear = np.eye(dim)
        i, j = rng.choice(dim, 2, replace=False)
        shear[i, j] = np.tan(np.radians(45 * d[s] * rng.uniform(0, 1)))
        T = shear @ stretch
        if rotate:
            T = random_rotation(rng, dim) @ T
        size = 10.0 ** rng.uniform(-1, 1)
        out[s] = size * (x @ T.T) + rng.uniform(-10, 10, dim)
    return out, d
