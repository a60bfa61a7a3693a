#!/usr/bin/python3
"""Generates the bundled example meshes with Gmsh (run once; the files are kept
in the repository). Units: millimetres.

  bracket.msh     an angle bracket with a bolt hole, linear tetrahedra
  plate_hole.msh  a tilted plate with a hole, quadrilaterals (shells)
  block.msh       a block of hexahedra, one interior node pulled towards a
                  corner so that the hexahedra around it are distorted
  truss.msh       a small truss tower of two-node lines, chords and braces
  assembly.msh    two parts: a block of hexahedra ("base") and a block of
                  linear tetrahedra ("cap") with one node moved onto another
                  so that a few tetrahedra are degenerate; and the same mesh
                  split by Gmsh into four partitions, assembly_1.msh to
                  assembly_4.msh, for runs under MPI

  make_meshes.py [NAME ...] makes only the named meshes.
"""
import sys
from pathlib import Path

try:
    import gmsh
except ImportError:  # the constants below stay importable without it
    gmsh = None

HERE = Path(__file__).resolve().parent
# The node of block.msh moved on purpose, and where it goes.
DISTORTED_FROM = (20.0, 20.0, 20.0)
DISTORTED_TO = (17.0, 17.5, 17.8)


def physical(dim, tags, name):
    group = gmsh.model.addPhysicalGroup(dim, tags)
    gmsh.model.setPhysicalName(dim, group, name)


def bracket():
    occ = gmsh.model.occ
    base = occ.addBox(0, 0, 0, 60, 40, 6)
    wall = occ.addBox(0, 0, 0, 6, 40, 50)
    hole = occ.addCylinder(35, 20, -1, 0, 0, 8, 6)
    occ.fuse([(3, base)], [(3, wall)])
    occ.cut(occ.getEntities(3), [(3, hole)])
    occ.synchronize()
    physical(3, [v for _, v in gmsh.model.getEntities(3)], "bracket")
    gmsh.option.setNumber("Mesh.MeshSizeMax", 5.0)
    gmsh.model.mesh.generate(3)


def plate_hole():
    occ = gmsh.model.occ
    plate = occ.addRectangle(0, 0, 0, 100, 60)
    hole = occ.addDisk(50, 30, 0, 12, 12)
    occ.cut([(2, plate)], [(2, hole)])
    occ.rotate(occ.getEntities(2), 0, 0, 0, 1, 0, 0, 0.5)
    occ.synchronize()
    physical(2, [s for _, s in gmsh.model.getEntities(2)], "plate")
    gmsh.option.setNumber("Mesh.MeshSizeMax", 4.0)
    gmsh.option.setNumber("Mesh.RecombineAll", 1)
    gmsh.option.setNumber("Mesh.RecombinationAlgorithm", 1)
    gmsh.model.mesh.generate(2)


def block():
    occ = gmsh.model.occ
    occ.addBox(0, 0, 0, 40, 40, 40)
    occ.synchronize()
    for dim, tag in gmsh.model.getEntities(1):
        gmsh.model.mesh.setTransfiniteCurve(tag, 9)
    for dim, tag in gmsh.model.getEntities(2):
        gmsh.model.mesh.setTransfiniteSurface(tag)
        gmsh.model.mesh.setRecombine(dim, tag)
    gmsh.model.mesh.setTransfiniteVolume(1)
    physical(3, [1], "block")
    gmsh.model.mesh.generate(3)
    tags, coords, _ = gmsh.model.mesh.getNodes(3, 1)
    for i, tag in enumerate(tags):
        if all(abs(coords[3 * i + k] - DISTORTED_FROM[k]) < 1e-6 for k in range(3)):
            gmsh.model.mesh.setNode(int(tag), list(DISTORTED_TO), [])
            break
    else:
        sys.exit("block: node to distort not found")


def truss():
    geo = gmsh.model.geo
    size, height, levels = 1000.0, 1500.0, 4
    corners = [(0, 0), (size, 0), (size, size), (0, size)]
    pts = [[geo.addPoint(x, y, level * height) for x, y in corners] for level in range(levels + 1)]
    chords, braces = [], []
    for level in range(levels):
        for k in range(4):
            chords.append(geo.addLine(pts[level][k], pts[level + 1][k]))
            braces.append(geo.addLine(pts[level][k], pts[level + 1][(k + 1) % 4]))
        for k in range(4):
            braces.append(geo.addLine(pts[level + 1][k], pts[level + 1][(k + 1) % 4]))
    geo.synchronize()
    for tag in chords + braces:
        gmsh.model.mesh.setTransfiniteCurve(tag, 3)
    physical(1, chords, "chords")
    physical(1, braces, "braces")
    gmsh.model.mesh.generate(1)


# The node of assembly.msh moved onto another, and where it goes.
COLLAPSED_FROM = (30.0, 5.0, 5.0)
PARTITIONS = 4


def assembly():
    occ = gmsh.model.occ
    base = occ.addBox(0, 0, 0, 20, 10, 10)
    cap = occ.addBox(25, 0, 0, 10, 10, 10)
    point = occ.addPoint(*COLLAPSED_FROM)
    occ.synchronize()
    gmsh.model.mesh.embed(0, [point], 3, cap)  # an interior node to move
    faces = gmsh.model.getBoundary([(3, base)], combined=False, oriented=False)
    for _, tag in gmsh.model.getBoundary(faces, combined=False, oriented=False):
        gmsh.model.mesh.setTransfiniteCurve(tag, 7)
    for _, tag in faces:
        gmsh.model.mesh.setTransfiniteSurface(tag)
        gmsh.model.mesh.setRecombine(2, tag)
    gmsh.model.mesh.setTransfiniteVolume(base)
    physical(3, [base], "base")
    physical(3, [cap], "cap")
    gmsh.option.setNumber("Mesh.MeshSizeMax", 3.0)
    gmsh.model.mesh.generate(3)
    tags, coords, _ = gmsh.model.mesh.getNodes()
    xyz = [tuple(coords[3 * i:3 * i + 3]) for i in range(len(tags))]
    moved = next(int(t) for t, p in zip(tags, xyz)
                 if max(abs(p[k] - COLLAPSED_FROM[k]) for k in range(3)) < 1e-9)
    # Onto the nearest other node: the tetrahedra holding both lose their volume.
    onto = min((p for t, p in zip(tags, xyz) if int(t) != moved),
               key=lambda p: sum((p[k] - COLLAPSED_FROM[k]) ** 2 for k in range(3)))
    gmsh.model.mesh.setNode(moved, list(onto), [])


def main():
    if gmsh is None:
        sys.exit("make_meshes.py needs Gmsh's Python module (Debian: python3-gmsh)")
    gmsh.initialize(["-noenv"])
    gmsh.option.setNumber("General.Terminal", 0)
    gmsh.option.setNumber("Mesh.MshFileVersion", 4.1)
    gmsh.option.setNumber("Mesh.Binary", 1)
    wanted = sys.argv[1:]
    for name, build in (("bracket", bracket), ("plate_hole", plate_hole), ("block", block),
                        ("truss", truss), ("assembly", assembly)):
        if wanted and name not in wanted:
            continue
        gmsh.model.add(name)
        build()
        gmsh.write(str(HERE / f"{name}.msh"))
        if name == "assembly":
            gmsh.model.mesh.partition(PARTITIONS)
            gmsh.option.setNumber("Mesh.PartitionSplitMeshFiles", 1)
            gmsh.write(str(HERE / f"{name}.msh"))  # assembly_1.msh ... assembly_4.msh
            gmsh.option.setNumber("Mesh.PartitionSplitMeshFiles", 0)
        gmsh.model.remove()
    gmsh.finalize()


if __name__ == "__main__":
    main()
