"""Reference linear finite elements in double precision, batched over elements.

Every function takes node coordinates of shape (n, nodes, dim) and returns the
largest circular frequency omega_max of each single, unconstrained element with
row-sum lumped mass (the exception is the ten-node tetrahedron, see tet10).
The exact critical increment of central differences is then 2 / omega_max.

Stiffness and mass come from isoparametric shape functions and Gauss rules;
nothing here shares code or constants with the library.
"""
import numpy as np

# ---------------------------------------------------------------- materials


def lame(E, nu):
    return E * nu / ((1 + nu) * (1 - 2 * nu)), E / (2 * (1 + nu))


def d_solid(E, nu):
    lam, mu = lame(E, nu)
    D = np.zeros((6, 6))
    D[:3, :3] = lam
    D[np.arange(3), np.arange(3)] += 2 * mu
    D[np.arange(3, 6), np.arange(3, 6)] = mu
    return D


def d_plane_stress(E, nu):
    f = E / (1 - nu * nu)
    return f * np.array([[1, nu, 0], [nu, 1, 0], [0, 0, (1 - nu) / 2]])


def d_axisymmetric(E, nu):
    """Strains (rr, zz, hoop, rz)."""
    lam, mu = lame(E, nu)
    D = np.full((4, 4), lam)
    D[np.arange(3), np.arange(3)] += 2 * mu
    D[3, :] = 0
    D[:, 3] = 0
    D[3, 3] = mu
    return D

# ---------------------------------------------------------------- quadrature


def per_element(value, n):
    return np.broadcast_to(np.asarray(value, float), (n,))


def gauss_1d(n):
    x, w = np.polynomial.legendre.leggauss(n)
    return x, w


def gauss_box(n, dim):
    """Tensor Gauss rule on [-1, 1]^dim."""
    x, w = gauss_1d(n)
    grids = np.meshgrid(*([x] * dim), indexing="ij")
    wgrids = np.meshgrid(*([w] * dim), indexing="ij")
    pts = np.stack([g.ravel() for g in grids], axis=1)
    wts = np.prod(np.stack([g.ravel() for g in wgrids], axis=1), axis=1)
    return pts, wts


def gauss_triangle_collapsed(n):
    """Rule on the unit triangle (area 1/2) from a collapsed square."""
    x, w = gauss_1d(n)
    u, wu = (x + 1) / 2, w / 2
    pts, wts = [], []
    for a, wa in zip(u, wu):
        for b, wb in zip(u, wu):
            pts.append((a, b * (1 - a)))
            wts.append(wa * wb * (1 - a))
    return np.array(pts), np.array(wts)


def gauss_tet_collapsed(n):
    """Rule on the unit tetrahedron (volume 1/6) from a collapsed cube."""
    x, w = gauss_1d(n)
    u, wu = (x + 1) / 2, w / 2
    pts, wts = [], []
    for a, wa in zip(u, wu):
        for b, wb in zip(u, wu):
            for c, wc in zip(u, wu):
                pts.append((a, b * (1 - a), c * (1 - a) * (1 - b)))
                wts.append(wa * wb * wc * (1 - a) ** 2 * (1 - b))
    return np.array(pts), np.array(wts)

# ---------------------------------------------------------------- shape functions

QUAD_SIGNS = np.array([[-1, -1], [1, -1], [1, 1], [-1, 1]], float)
HEX_SIGNS = np.array([[-1, -1, -1], [1, -1, -1], [1, 1, -1], [-1, 1, -1],
                      [-1, -1, 1], [1, -1, 1], [1, 1, 1], [-1, 1, 1]], float)


def shape_box(signs, p):
    """Multilinear shape functions and their local derivatives at point p."""
    terms = 1 + signs * p                       # (nodes, dim)
    N = np.prod(terms, axis=1) / 2 ** signs.shape[1]
    dN = np.empty_like(signs)
    for d in range(signs.shape[1]):
        others = np.prod(np.delete(terms, d, axis=1), axis=1)
        dN[:, d] = signs[:, d] * others / 2 ** signs.shape[1]
    return N, dN


def shape_tri3(p):
    a, b = p
    return np.array([1 - a - b, a, b]), np.array([[-1, -1], [1, 0], [0, 1]], float)


def shape_tet4(p):
    a, b, c = p
    return (np.array([1 - a - b - c, a, b, c]),
            np.array([[-1, -1, -1], [1, 0, 0], [0, 1, 0], [0, 0, 1]], float))


TET10_EDGES = [(0, 1), (1, 2), (2, 0), (0, 3), (1, 3), (2, 3)]


def shape_tet10(p):
    L1, dL1 = shape_tet4(p)
    N = np.empty(10)
    dN = np.empty((10, 3))
    N[:4] = L1 * (2 * L1 - 1)
    dN[:4] = (4 * L1 - 1)[:, None] * dL1
    for k, (i, j) in enumerate(TET10_EDGES):
        N[4 + k] = 4 * L1[i] * L1[j]
        dN[4 + k] = 4 * (L1[i] * dL1[j] + L1[j] * dL1[i])
    return N, dN

# ---------------------------------------------------------------- assembly


def gradients(X, dN):
    """Jacobian determinant and global shape derivatives, batched.

    X: (n, nodes, dim); dN: (nodes, dim) local derivatives at one point."""
    J = np.einsum("nid,ie->nde", X, dN)
    det = np.linalg.det(J)
    inv = np.linalg.inv(J)
    return det, np.einsum("ie,ned->nid", dN, inv)


def b_matrix(dNdx):
    """Strain-displacement matrix from global derivatives (n, nodes, dim).

    2D strains (xx, yy, xy), 3D (xx, yy, zz, xy, yz, zx); dofs node-major."""
    n, nn, dim = dNdx.shape
    if dim == 2:
        B = np.zeros((n, 3, 2 * nn))
        B[:, 0, 0::2] = dNdx[:, :, 0]
        B[:, 1, 1::2] = dNdx[:, :, 1]
        B[:, 2, 0::2] = dNdx[:, :, 1]
        B[:, 2, 1::2] = dNdx[:, :, 0]
        return B
    B = np.zeros((n, 6, 3 * nn))
    for d in range(3):
        B[:, d, d::3] = dNdx[:, :, d]
    B[:, 3, 0::3], B[:, 3, 1::3] = dNdx[:, :, 1], dNdx[:, :, 0]
    B[:, 4, 1::3], B[:, 4, 2::3] = dNdx[:, :, 2], dNdx[:, :, 1]
    B[:, 5, 2::3], B[:, 5, 0::3] = dNdx[:, :, 0], dNdx[:, :, 2]
    return B


def omega_max(K, m):
    """Largest circular frequency of K x = omega^2 diag(m) x, batched."""
    s = 1 / np.sqrt(m)
    A = K * s[:, :, None] * s[:, None, :]
    A = 0.5 * (A + np.swapaxes(A, 1, 2))
    return np.sqrt(np.maximum(np.linalg.eigvalsh(A)[:, -1], 0.0))


def isoparametric(X, shape, pts, wts, D, rho, thickness=1.0, rule="full"):
    """Stiffness and row-sum lumped mass of a continuum element.

    rule "full": the Gauss rule as given.  rule "mean": one point with the
    uniform-strain gradient, the volume average of the shape function
    gradients (exact with the given rule), K = V B_mean^T D B_mean.
    Returns K (n, dofs, dofs), lumped mass per dof (n, dofs), min det J."""
    n, nn, dim = X.shape
    rho = per_element(rho, n)
    K = np.zeros((n, dim * nn, dim * nn))
    mass = np.zeros((n, nn))
    grad_sum = np.zeros((n, nn, dim))
    vol = np.zeros(n)
    det_min = np.full(n, np.inf)
    for p, w in zip(pts, wts):
        N, dN = shape(p)
        det, dNdx = gradients(X, dN)
        det_min = np.minimum(det_min, det)
        dv = w * det * thickness
        mass += (rho * dv)[:, None] * N[None, :]
        if rule == "full":
            B = b_matrix(dNdx)
            K += dv[:, None, None] * np.einsum("nsi,st,ntj->nij", B, D, B)
        grad_sum += dv[:, None, None] * dNdx
        vol += dv
    if rule == "mean":
        B = b_matrix(grad_sum / vol[:, None, None])
        K = vol[:, None, None] * np.einsum("nsi,st,ntj->nij", B, D, B)
    return K, np.repeat(mass, dim, axis=1), det_min


def corner_jacobians(X, signs):
    """Smallest Jacobian determinant over the corners of a quadrilateral or hexahedron."""
    return np.min([gradients(X, shape_box(signs, s)[1])[0] for s in signs], axis=0)

# ---------------------------------------------------------------- elements


def truss(X, E, rho):
    """Two-node bar: omega_max = 2 c / L, the only nonzero mode of a lumped bar."""
    L = np.linalg.norm(X[:, 1] - X[:, 0], axis=1)
    k = E / L                            # per unit area
    m = rho * L / 2                      # per node, per unit area
    K = np.zeros((len(L), 2, 2))
    K[:, 0, 0] = K[:, 1, 1] = k
    K[:, 0, 1] = K[:, 1, 0] = -k
    return omega_max(K, np.stack([m, m], axis=1))


def triangle(X, E, nu, rho, thickness=1.0):
    pts, wts = gauss_triangle_collapsed(2)
    K, m, det = isoparametric(X, shape_tri3, pts, wts, d_plane_stress(E, nu), rho, thickness)
    return omega_max(K, m), det


def quad(X, E, nu, rho, rule, thickness=1.0):
    """Plane stress quadrilateral; rule "mean" (one point) or "full" (2x2)."""
    pts, wts = gauss_box(2, 2)
    K, m, _ = isoparametric(X, lambda p: shape_box(QUAD_SIGNS, p), pts, wts,
                            d_plane_stress(E, nu), rho, thickness, rule)
    return omega_max(K, m), corner_jacobians(X, QUAD_SIGNS)


def axisymmetric_quad(X, E, nu, rho, rule):
    """Axisymmetric quadrilateral per radian, X = (r, z); rule "centre" or "full"."""
    D = d_axisymmetric(E, nu)
    pts, wts = (gauss_box(2, 2) if rule == "full"
                else (np.zeros((1, 2)), np.array([4.0])))
    n = len(X)
    rho = per_element(rho, n)
    K = np.zeros((n, 8, 8))
    mass = np.zeros((n, 4))
    for p, w in zip(pts, wts):
        N, dN = shape_box(QUAD_SIGNS, p)
        det, dNdx = gradients(X, dN)
        r = X[:, :, 0] @ N
        B = np.zeros((n, 4, 8))
        B[:, 0, 0::2] = dNdx[:, :, 0]
        B[:, 1, 1::2] = dNdx[:, :, 1]
        B[:, 2, 0::2] = N[None, :] / r[:, None]
        B[:, 3, 0::2] = dNdx[:, :, 1]
        B[:, 3, 1::2] = dNdx[:, :, 0]
        dv = w * det * r
        K += dv[:, None, None] * np.einsum("nsi,st,ntj->nij", B, D, B)
    # the mass always takes the full rule: row sums of the consistent mass
    for p, w in zip(*gauss_box(2, 2)):
        N, dN = shape_box(QUAD_SIGNS, p)
        det, _ = gradients(X, dN)
        mass += (rho * w * det * (X[:, :, 0] @ N))[:, None] * N[None, :]
    return omega_max(K, np.repeat(mass, 2, axis=1)), corner_jacobians(X, QUAD_SIGNS)


def tet4(X, E, nu, rho):
    K, m, det = isoparametric(X, shape_tet4, np.array([[0.25, 0.25, 0.25]]),
                              np.array([1 / 6]), d_solid(E, nu), rho)
    return omega_max(K, m), det


def hexa(X, E, nu, rho, rule):
    """Hexahedron; rule "mean" (one point, uniform strain) or "full" (2x2x2)."""
    pts, wts = gauss_box(2, 3)
    K, m, _ = isoparametric(X, lambda p: shape_box(HEX_SIGNS, p), pts, wts,
                            d_solid(E, nu), rho, rule=rule)
    return omega_max(K, m), corner_jacobians(X, HEX_SIGNS)


TET_4POINT = (np.array([[0.1381966011250105] * 3, [0.5854101966249685, 0.1381966011250105,
                        0.1381966011250105], [0.1381966011250105, 0.5854101966249685,
                        0.1381966011250105], [0.1381966011250105, 0.1381966011250105,
                        0.5854101966249685]]), np.full(4, 1 / 24))


def tet10(X, E, nu, rho):
    """Quadratic tetrahedron.  Stiffness by the four-point rule (exact for
    straight sides, where the strain is linear); the mass by a collapsed Gauss
    rule.  Row sums of its consistent mass are negative at the corners, so the
    mass is lumped by scaling the diagonal of the consistent mass to the
    element's mass (diagonal scaling)."""
    n = len(X)
    K, _, det_min = isoparametric(X, shape_tet10, *TET_4POINT, d_solid(E, nu), rho)
    diag = np.zeros((n, 10))
    vol = np.zeros(n)
    for p, w in zip(*gauss_tet_collapsed(4)):
        N, dN = shape_tet10(p)
        det, _ = gradients(X, dN)
        det_min = np.minimum(det_min, det)
        diag += (w * det)[:, None] * (N * N)[None, :]
        vol += w * det
    mass = (per_element(rho, n) * vol)[:, None] * diag / diag.sum(axis=1, keepdims=True)
    return omega_max(K, np.repeat(mass, 3, axis=1)), det_min


def acoustic_hexa(X, bulk, rho, rule):
    """Acoustic hexahedron, pressure unknowns: H p + Q p'' = 0 with
    H = int grad N . grad N / rho and Q = lumped int N / bulk."""
    pts, wts = gauss_box(2, 3)
    n = len(X)
    rho = per_element(rho, n)[:, None, None]
    H = np.zeros((n, 8, 8))
    q = np.zeros((n, 8))
    grad_sum = np.zeros((n, 8, 3))
    vol = np.zeros(n)
    for p, w in zip(pts, wts):
        N, dN = shape_box(HEX_SIGNS, p)
        det, dNdx = gradients(X, dN)
        dv = w * det
        if rule == "full":
            H += dv[:, None, None] * np.einsum("nid,njd->nij", dNdx, dNdx) / rho
        q += dv[:, None] * N[None, :] / bulk
        grad_sum += dv[:, None, None] * dNdx
        vol += dv
    if rule == "mean":
        g = grad_sum / vol[:, None, None]
        H = vol[:, None, None] * np.einsum("nid,njd->nij", g, g) / rho
    return omega_max(H, q), corner_jacobians(X, HEX_SIGNS)


def timoshenko_beam(L, E, nu, rho, A, dim, rotary=True, shear_factor=None):
    """Two-node beam with linear interpolation and one-point shear (the linear
    Timoshenko beam) in its local frame, solid circular section of area A:
    I = A^2 / (4 pi), J = 2 I.  Lumped mass: rho A L / 2 per translation and,
    with rotary=True, rho I L / 2 per bending rotation and rho J L / 2 for the
    twist (row sums of the linear element's consistent mass).  With
    rotary=False only the axial and torsion modes are kept (bar reference)."""
    G = E / (2 * (1 + nu))
    k = 6 * (1 + nu) / (7 + 6 * nu) if shear_factor is None else shear_factor
    I = A * A / (4 * np.pi)
    J = 2 * I
    n = len(L)
    if not rotary:
        w_axial = 2 * np.sqrt(E / rho) / L
        w_twist = 2 * np.sqrt(G / rho) / L
        return np.maximum(w_axial, w_twist)

    def bar(k_, m_):
        Kb = np.zeros((n, 2, 2))
        Kb[:, 0, 0] = Kb[:, 1, 1] = k_
        Kb[:, 0, 1] = Kb[:, 1, 0] = -k_
        return omega_max(Kb, np.stack([m_, m_], axis=1))

    w_axial = bar(E * A / L, rho * A * L / 2)
    w_twist = bar(G * J / L, rho * J * L / 2)
    # bending in one plane: dofs (w1, th1, w2, th2); shear strain at the centre
    # gamma = (w2 - w1) / L - (th1 + th2) / 2, curvature (th2 - th1) / L
    Bs = np.stack([-1 / L, -0.5 * np.ones(n), 1 / L, -0.5 * np.ones(n)], axis=1)
    Bb = np.stack([np.zeros(n), -1 / L, np.zeros(n), 1 / L], axis=1)
    Kb = (k * G * A * L)[:, None, None] * Bs[:, :, None] * Bs[:, None, :] \
        + (E * I * L)[:, None, None] * Bb[:, :, None] * Bb[:, None, :]
    mb = np.stack([rho * A * L / 2, rho * I * L / 2] * 2, axis=1)
    w_bend = omega_max(Kb, mb)
    return np.maximum(np.maximum(w_axial, w_twist), w_bend)
