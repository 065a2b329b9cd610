// SPDX-License-Identifier: MIT
// The implicit-surface polygonizer: pzProcess turns the zero set of a function f(p) into a
// triangle mesh, by continuation from a seed on the surface or by a sweep over a box.
#pragma once

#include <qvmath/core/functor.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <memory>

// Conventions of the family.
// - Lattice: cubes of edge `size`; the corner (i, j, k) lies at
//   origin − ((i − 0.5)·size, (j − 0.5)·size, (k − 0.5)·size), so the lattice indices run
//   opposite to the world axes and the cube (0, 0, 0) is centred on the origin. Corner c
//   (0..7) of the cube (i, j, k) is the lattice corner (i + bit2, j + bit1, k + bit0) of c.
// - Sign: a corner is positive when f > 0 and non-positive otherwise (f = 0 and NaN count as
//   non-positive). Each cube is split into six tetrahedra around its diagonal from corner 0
//   to corner 7 (the same split in every cube, so neighbouring cubes agree on their shared
//   faces); a tetrahedron whose corners differ in sign yields one triangle or two.
// - Output: where the surface is closed inside the bounds, the triangles form a closed,
//   consistently oriented 2-manifold: every edge is shared by exactly two triangles, which
//   run along it in opposite directions, and no triangle has zero area. Triangles are
//   counter-clockwise seen from the side where f > 0, i.e. their right-hand normals
//   (b − a) × (c − a) point toward f > 0, as do the vertex normals. Where the lattice is cut
//   by the bounds or by flagged corners the surface stays open along the cut.
// - Vertices: each crossing edge of a tetrahedron carries one vertex, found by ten
//   bisections between its corners (within 2⁻¹¹ of the edge length of the crossing that the
//   bisection brackets). Its normal is the forward-difference gradient of f with the step
//   size / 100 along each world axis, normalised; (0, 0, 0) where that difference vanishes.
// - Cost: f is evaluated once per lattice corner that the run visits, and fourteen times per
//   vertex (ten bisections, four for the normal), plus the seed search of `polygonize`.
//   Memory grows with the surface (visited cubes, their corners and vertices), not with the
//   lattice bounds.

/// A vertex of the output: its position and its unit normal (toward f > 0).
struct pzVertex {
  REmath::Point3D_d position;
  REmath::Point3D_d normal;
};

/// A growable array of vertices: `count` used entries of `max` allocated at `ptr`.
/// A copy shares the entries (it is a view of count, capacity and pointer): the triangle
/// functor receives such a copy and must only read it. The owner frees the entries with
/// `release()`; `pzProcess` owns and releases its own store.
struct QVMATH_API pzVertices {
  int count = 0;
  int max = 0;
  pzVertex* ptr = nullptr;

  /// Appends v. When the array is full, the capacity becomes 10 if it was 0 and doubles
  /// otherwise; the entries move to a new zero-filled block.
  /// @return the index of v; −1 if the larger block cannot be allocated (nothing changes).
  int add(const pzVertex& v);
  /// Frees the entries and empties the array.
  void release();
};

/// The result of the random search of `polygonize`: a point, f there, and 1 in `ok` when
/// the point has the wanted sign (0 when the search gave up).
struct pzTest {
  REmath::Point3D_d p;
  double value = 0;
  int ok = 0;
};

/// A lattice corner of the corner cache: its indices, f and the flag the functor reported
/// there, and the next corner of its hash bucket.
struct pzCornerlist {
  int i, j, k;
  double value;
  int flag;
  pzCornerlist* next;
};

/// A lattice cube: its indices and its eight corners (corner c at (i + bit2, j + bit1,
/// k + bit0) of c).
struct pzCube {
  int i, j, k;
  pzCornerlist* corners[8];
};

/// An entry of the stack of cubes waiting to be triangulated.
struct pzCubes {
  pzCube cube;
  pzCubes* next;
};

/// A visited cube (its indices) in the centre cache, and the next entry of its bucket.
struct pzCenterlist {
  int i, j, k;
  pzCenterlist* next;
};

/// An edge of the vertex cache: its two corners' indices (in lexicographic order), the index
/// of its vertex in the vertex store, and the next entry of its bucket.
struct pzEdgelist {
  int i1, j1, k1, i2, j2, k2;
  int vid;
  pzEdgelist* next;
};

/// A linked list of ints.
struct pzIntlist {
  int i;
  pzIntlist* next;
};

/// A linked list of int lists. The polygonizer keeps its case table in this form: list s
/// holds, for the corner signs s of a tetrahedron, three crossing edges per triangle.
struct pzIntlists {
  pzIntlist* list;
  pzIntlists* next;
};

/// The polygonizer. One object runs one polygonization at a time; between runs it keeps the
/// vertex store of the last successful run (`vertices()`). The functors of a run must not
/// start another run on the same object nor call its `freeprocess()`.
///
/// Functors are taken by const reference (an abstract functor cannot be passed by value);
/// they stay the caller's and must outlive the call. The surface functor
/// f(p, &flag) returns f at p; flag is 0 on entry, and a functor that sets it non-zero at a
/// lattice corner marks the corner unusable: no cube with such a corner is triangulated or
/// entered, so the surface stays open there (flags reported at other points are ignored,
/// except that the seed search only accepts points left unflagged).
///
/// The triangle functor triangle(a, b, c, vertices) receives each triangle as three indices
/// into a read-only view of the vertex store. Its result is the fourth int of its signature:
/// non-zero continues the run, 0 stops it (the run then returns `kStopped`).
///
/// Failures and exceptions: every failure returns a negative code and releases everything
/// the run allocated, vertex store included. An exception thrown by either functor passes
/// through unchanged, after the same release: nothing stays allocated.
///
/// Thread safety: a pzProcess object serves one thread at a time. `polygonize` reseeds the
/// process-wide C random generator with srand(1) at the start of every run and draws from
/// it with rand() (so that runs are repeatable); this is the polygonizer's one piece of
/// global state. It resets the sequence of every other rand() user in the process, and runs
/// that overlap on several threads draw from one shared sequence (C++ does not even promise
/// rand() is free of data races): serialise `polygonize` with other users of rand() when
/// repeatability matters. `marchingcubes` touches no global state.
class QVMATH_API pzProcess {
 public:
  /// The surface function: f(p, &flag).
  using SurfaceFunctor = REmath::Functor2<double, REmath::Point3D_d const&, int*>;
  /// The receiver of the triangles: triangle(a, b, c, vertices) → 0 to stop.
  using TriangleFunctor = REmath::Functor4<int, int, int, int, pzVertices>;

  /// Failure codes of `polygonize` and `marchingcubes` (successful runs return the number
  /// of triangles, ≥ 0).
  static constexpr int kNoSeed = -1;       ///< no positive or no non-positive point found
  static constexpr int kStopped = -2;      ///< the triangle functor returned 0
  static constexpr int kBadArgument = -3;  ///< size, bounds, start or box not usable
  static constexpr int kNoMemory = -4;     ///< tables, lists or vertex store not allocated

  pzProcess();
  ~pzProcess();
  pzProcess(const pzProcess&) = delete;
  pzProcess& operator=(const pzProcess&) = delete;

  /// Triangulates the component of f = 0 through a seed near start, by continuation over
  /// the lattice of cubes of edge size.
  /// The seed: after srand(1), `find` draws up to 10000 points around start (in a cube of
  /// edge size, growing by 0.05% per draw) for a positive point and then for a non-positive
  /// one; ten bisections between them give the seed, which becomes the lattice origin. From
  /// the cube (0, 0, 0) around it, cubes are triangulated and their neighbours entered
  /// across every face whose four corners differ in sign, within
  /// |i| ≤ bounds[0], |j| ≤ bounds[1], |k| ≤ bounds[2] (bounds above 2²⁹ count as 2²⁹).
  /// The surface inside the cube (0, 0, 0) may miss its corners' signs (a small closed
  /// piece): the run then yields 0 triangles.
  /// @param[in] f the surface function.
  /// @param[in] size the cube edge, > 0 and finite.
  /// @param[in] bounds three non-negative lattice bounds.
  /// @param[in] start where the seed search starts (finite).
  /// @param[in] triangle receives the triangles as they are made.
  /// @return the number of triangles; `kNoSeed` (no triangle delivered) when either search
  ///         fails, `kBadArgument` for a size ≤ 0 or not finite, a null or negative bound or
  ///         a start that is not finite, `kStopped`, `kNoMemory`.
  int polygonize(const SurfaceFunctor& f, double size, const int* bounds, REmath::Point3D_d start,
                 const TriangleFunctor& triangle);

  /// Triangulates every component of f = 0 inside the box spanned by the points a and b
  /// (any two opposite corners), over the lattice of cubes of edge size whose corner
  /// (0, 0, 0) is the box's corner of largest coordinates; the lattice covers the box with
  /// n = max(1, ⌈extent / size⌉) cubes per axis (so it may overhang the box's smaller side
  /// by less than one cube). The box is swept one plane of corners at a time; the first
  /// cube of each component met in the sweep starts a continuation that triangulates the
  /// whole component inside the lattice before the sweep goes on. Every lattice corner is
  /// still evaluated once. Besides the caches, the sweep holds two planes of corner values
  /// (16 bytes per corner of a plane). No random search; no global state.
  /// @return the number of triangles; `kBadArgument` for a size ≤ 0 or not finite, a box
  ///         that is not finite or more than 2²⁹ cubes along an axis; `kStopped`,
  ///         `kNoMemory`.
  int marchingcubes(const SurfaceFunctor& f, double size, REmath::Point3D_d a, REmath::Point3D_d b,
                    const TriangleFunctor& triangle);

  /// The vertex store of the last successful run (the one the triangle indices refer to);
  /// empty after a failure, after `freeprocess()` and before the first run.
  const pzVertices& vertices() const { return m_vertices; }

  /// Releases the caches, lists and the vertex store. Runs call it themselves at their
  /// start and on failure, and release all but the vertex store when they succeed.
  void freeprocess();

 private:
  struct Run;

  int runGuarded(int (pzProcess::*body)());
  int polygonizeBody();
  int marchingcubesBody();
  void drain();

  // The steps of a run; they act on the state of the current run.
  pzTest find(int sign, REmath::Point3D_d p);
  REmath::Point3D_d converge(REmath::Point3D_d p1, REmath::Point3D_d p2, double value1);
  REmath::Point3D_d setpoint(int i, int j, int k) const;
  pzCornerlist* setcorner(int i, int j, int k);
  int setcenter(int i, int j, int k);
  void setedge(int i1, int j1, int k1, int i2, int j2, int k2, int vid);
  int getedge(int i1, int j1, int k1, int i2, int j2, int k2) const;
  int vertid(pzCornerlist* c1, pzCornerlist* c2);
  void testface(int i, int j, int k, pzCube* old, int face, int c1, int c2, int c3, int c4);
  int dotet(pzCube* cube, int c1, int c2, int c3, int c4);
  double eval(const REmath::Point3D_d& p, int* flag) const;

  const SurfaceFunctor* m_function = nullptr;
  const TriangleFunctor* m_triangle = nullptr;
  double m_size = 0;
  double m_delta = 0;  // the finite-difference step of the vertex normals, size / 100
  int m_lo[3] = {0, 0, 0}, m_hi[3] = {0, 0, 0};  // cube index range of the run
  REmath::Point3D_d m_start;                     // the lattice origin
  int m_triangles = 0;
  pzVertices m_vertices;
  std::unique_ptr<Run> m_run;  // caches, lists and the cube stack of the current run
};
