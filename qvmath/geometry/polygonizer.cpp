// SPDX-License-Identifier: MIT
#include <qvmath/geometry/polygonizer.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <new>
#include <tuple>
#include <vector>

using REmath::Point3D_d;

namespace {

constexpr int kHashBits = 5;
constexpr int kHashMask = (1 << kHashBits) - 1;
constexpr int kHashSize = 1 << (3 * kHashBits);  // 32768 buckets; edges use twice as many
constexpr int kMaxIndex = 1 << 29;               // keeps i + 1 and sums of indices in int
constexpr int kSeedTries = 10000;
constexpr int kBisections = 10;

// Control flow out of a run: own allocation failure, or the triangle functor said stop.
// Exceptions of the functors are never caught as these.
struct NoMemory {};
struct Stopped {};

// 15-bit bucket of a lattice triple: five low bits of each index.
inline int Hash(int i, int j, int k) {
  return ((((i & kHashMask) << kHashBits) | (j & kHashMask)) << kHashBits) | (k & kHashMask);
}

// The six tetrahedra of a cube: the paths 0 → 0 + e_a → 0 + e_a + e_b → 7 along the
// permutations (a, b, c) of the lattice axes (Kuhn's split: translates of one cube's split
// fit together face to face). Each is listed so that (t1 − t0, t2 − t0, t3 − t0) is
// right-handed in world coordinates, which the case table relies on.
constexpr int kTets[6][4] = {{0, 4, 7, 6}, {0, 4, 5, 7}, {0, 2, 6, 7},
                             {0, 2, 7, 3}, {0, 1, 7, 5}, {0, 1, 3, 7}};

constexpr int Bit(int c, int axis) { return (c >> (2 - axis)) & 1; }
// World offsets are minus the lattice offsets (the lattice runs opposite to the axes), so a
// world-right-handed tetrahedron has a negative determinant of lattice offsets.
constexpr bool WorldRightHanded(const int* t) {
  int m[3][3] = {};
  for (int r = 0; r < 3; ++r)
    for (int a = 0; a < 3; ++a) m[r][a] = Bit(t[r + 1], a) - Bit(t[0], a);
  const int det = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                  m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                  m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
  return det < 0;
}
static_assert(WorldRightHanded(kTets[0]) && WorldRightHanded(kTets[1]) &&
                  WorldRightHanded(kTets[2]) && WorldRightHanded(kTets[3]) &&
                  WorldRightHanded(kTets[4]) && WorldRightHanded(kTets[5]),
              "tetrahedra must be right-handed in world coordinates");

// The faces of a cube: the neighbour's offset, the four corners on the face, and the bit
// that maps a face corner to the same lattice corner in the neighbour.
struct Face {
  int di, dj, dk;
  int c[4];
  int bit;
};
constexpr Face kFaces[6] = {{-1, 0, 0, {0, 1, 2, 3}, 4}, {1, 0, 0, {4, 5, 6, 7}, 4},
                            {0, -1, 0, {0, 1, 4, 5}, 2}, {0, 1, 0, {2, 3, 6, 7}, 2},
                            {0, 0, -1, {0, 2, 4, 6}, 1}, {0, 0, 1, {1, 3, 5, 7}, 1}};

// Fixed-size blocks of plain records, released together; grows with the surface.
template <class T>
class Pool {
 public:
  T* get() {
    if (m_used == kBlock) {
      try {
        m_blocks.emplace_back(new T[kBlock]);
      } catch (const std::bad_alloc&) {
        throw NoMemory();
      }
      m_used = 0;
    }
    return &m_blocks.back()[m_used++];
  }

 private:
  static constexpr int kBlock = 4096;
  std::vector<std::unique_ptr<T[]>> m_blocks;
  int m_used = kBlock;
};

template <class T>
std::unique_ptr<T* []> ZeroTable(int n) {
  std::unique_ptr<T*[]> t(new (std::nothrow) T*[n]());
  if (!t) throw NoMemory();
  return t;
}

int Parity(const int* p) {
  int inv = 0;
  for (int a = 0; a < 4; ++a)
    for (int b = a + 1; b < 4; ++b) inv += p[a] > p[b];
  return inv & 1;
}

bool Finite(const Point3D_d& p) {
  return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

}  // namespace

// ---------------------------------------------------------------------------------------

int pzVertices::add(const pzVertex& v) {
  if (count == max) {
    if (max > (1 << 29)) return -1;
    const int cap = max == 0 ? 10 : 2 * max;
    pzVertex* grown = new (std::nothrow) pzVertex[cap]();
    if (!grown) return -1;
    std::copy(ptr, ptr + count, grown);
    delete[] ptr;
    ptr = grown;
    max = cap;
  }
  ptr[count] = v;
  return count++;
}

void pzVertices::release() {
  delete[] ptr;
  ptr = nullptr;
  count = max = 0;
}

// ---------------------------------------------------------------------------------------

// Everything a run allocates besides the vertex store.
struct pzProcess::Run {
  std::unique_ptr<pzCenterlist*[]> centers = ZeroTable<pzCenterlist>(kHashSize);
  std::unique_ptr<pzCornerlist*[]> corners = ZeroTable<pzCornerlist>(kHashSize);
  std::unique_ptr<pzEdgelist*[]> edges = ZeroTable<pzEdgelist>(2 * kHashSize);
  Pool<pzCenterlist> centerPool;
  Pool<pzCornerlist> cornerPool;
  Pool<pzEdgelist> edgePool;
  Pool<pzCubes> cubePool;
  Pool<pzIntlist> intPool;
  Pool<pzIntlists> listPool;
  pzCubes* stack = nullptr;
  pzCubes* spare = nullptr;  // popped stack entries, reused before the pool grows
  pzIntlists* cases = nullptr;
  pzIntlist* caseOf[16] = {};

  // The sweep of `marchingcubes`: corner planes i = plane and plane + 1, (j, k) at
  // j·(nk + 1) + k, which `setcorner` reads before evaluating f.
  bool sweep = false;
  int plane = 0, nk = 0;
  std::vector<double> value[2];
  std::vector<int> flag[2];

  Run() { buildCases(); }

  void append(pzIntlist**& tail, int v) {
    pzIntlist* e = intPool.get();
    e->i = v;
    e->next = nullptr;
    *tail = e;
    tail = &e->next;
  }

  // Case s (bit 3 − u set when tetrahedron corner u is positive) lists the crossing edges
  // u·4 + v (u the positive end) of its triangles, three per triangle, ordered for a
  // right-handed tetrahedron (t0, t1, t2, t3). With (P, Q, R, X) an even permutation of it:
  // a lone positive X gives (XP, XQ, XR), counter-clockwise seen from X; a lone negative X
  // gives (RX, QX, PX). With positives A, B and negatives C, D and (A, B, C, D) even, the
  // quadrilateral AC, BC, BD, AD is counter-clockwise seen from A and B; it is split along
  // AC–BD.
  void buildCases() {
    pzIntlists** listTail = &cases;
    for (int s = 0; s < 16; ++s) {
      pzIntlists* l = listPool.get();
      l->list = nullptr;
      l->next = nullptr;
      *listTail = l;
      listTail = &l->next;
      pzIntlist** tail = &l->list;
      int pos[4], neg[4], np = 0, nn = 0;
      for (int u = 0; u < 4; ++u) ((s >> (3 - u)) & 1 ? pos[np++] : neg[nn++]) = u;
      if (np == 1 || np == 3) {
        const int x = np == 1 ? pos[0] : neg[0];
        int p[4], n = 0;
        for (int u = 0; u < 4; ++u)
          if (u != x) p[n++] = u;
        p[3] = x;
        if (Parity(p)) std::swap(p[0], p[1]);
        if (np == 1) {
          for (int t = 0; t < 3; ++t) append(tail, x * 4 + p[t]);
        } else {
          for (int t = 2; t >= 0; --t) append(tail, p[t] * 4 + x);
        }
      } else if (np == 2) {
        int p[4] = {pos[0], pos[1], neg[0], neg[1]};
        if (Parity(p)) std::swap(p[2], p[3]);
        const int A = p[0], B = p[1], C = p[2], D = p[3];
        const int tri[6] = {A * 4 + C, B * 4 + C, B * 4 + D, A * 4 + C, B * 4 + D, A * 4 + D};
        for (int e : tri) append(tail, e);
      }
      caseOf[s] = l->list;
    }
  }
};

pzProcess::pzProcess() = default;
pzProcess::~pzProcess() { m_vertices.release(); }

void pzProcess::freeprocess() {
  m_run.reset();
  m_vertices.release();
}

double pzProcess::eval(const Point3D_d& p, int* flag) const {
  *flag = 0;
  return (*m_function)(p, flag);
}

// One guarded run: allocates the run's state, runs body, and releases everything on every
// way out except success (which keeps the vertex store).
int pzProcess::runGuarded(int (pzProcess::*body)()) {
  freeprocess();
  m_triangles = 0;
  try {
    try {
      m_run.reset(new Run);
    } catch (const std::bad_alloc&) {
      throw NoMemory();
    }
    const int r = (this->*body)();
    m_run.reset();
    if (r < 0) m_vertices.release();
    return r;
  } catch (const NoMemory&) {
    freeprocess();
    return kNoMemory;
  } catch (const Stopped&) {
    freeprocess();
    return kStopped;
  } catch (...) {
    freeprocess();
    throw;
  }
}

int pzProcess::polygonize(const SurfaceFunctor& f, double size, const int* bounds, Point3D_d start,
                          const TriangleFunctor& triangle) {
  freeprocess();
  if (!(size > 0) || !std::isfinite(size) || !bounds || !Finite(start)) return kBadArgument;
  for (int a = 0; a < 3; ++a) {
    if (bounds[a] < 0) return kBadArgument;
    m_hi[a] = std::min(bounds[a], kMaxIndex);
    m_lo[a] = -m_hi[a];
  }
  m_function = &f;
  m_triangle = &triangle;
  m_size = size;
  m_delta = size / 100;
  m_start = start;
  return runGuarded(&pzProcess::polygonizeBody);
}

int pzProcess::polygonizeBody() {
  std::srand(1);
  const pzTest in = find(1, m_start);
  if (!in.ok) return kNoSeed;
  const pzTest out = find(0, m_start);
  if (!out.ok) return kNoSeed;
  m_start = converge(in.p, out.p, in.value);

  setcenter(0, 0, 0);
  pzCubes* first = m_run->cubePool.get();
  first->cube.i = first->cube.j = first->cube.k = 0;
  for (int c = 0; c < 8; ++c) {
    pzCornerlist* corner = setcorner(Bit(c, 0), Bit(c, 1), Bit(c, 2));
    if (corner->flag) return 0;
    first->cube.corners[c] = corner;
  }
  first->next = nullptr;
  m_run->stack = first;
  drain();
  return m_triangles;
}

int pzProcess::marchingcubes(const SurfaceFunctor& f, double size, Point3D_d a, Point3D_d b,
                             const TriangleFunctor& triangle) {
  freeprocess();
  if (!(size > 0) || !std::isfinite(size) || !Finite(a) || !Finite(b)) return kBadArgument;
  const double lo[3] = {std::min(a.x(), b.x()), std::min(a.y(), b.y()), std::min(a.z(), b.z())};
  const double hi[3] = {std::max(a.x(), b.x()), std::max(a.y(), b.y()), std::max(a.z(), b.z())};
  for (int k = 0; k < 3; ++k) {
    const double n = std::ceil((hi[k] - lo[k]) / size);
    if (!(n <= kMaxIndex)) return kBadArgument;
    m_lo[k] = 0;
    m_hi[k] = std::max(1, int(n)) - 1;
  }
  m_function = &f;
  m_triangle = &triangle;
  m_size = size;
  m_delta = size / 100;
  // Corner (0, 0, 0) = origin + size/2 on each axis = the box's largest corner.
  m_start = Point3D_d(hi[0] - 0.5 * size, hi[1] - 0.5 * size, hi[2] - 0.5 * size);
  return runGuarded(&pzProcess::marchingcubesBody);
}

int pzProcess::marchingcubesBody() {
  Run& run = *m_run;
  const int ni = m_hi[0] + 1, nj = m_hi[1] + 1, nk = m_hi[2] + 1;
  run.nk = nk;
  const std::size_t planeSize = std::size_t(nj + 1) * std::size_t(nk + 1);
  try {
    for (int h = 0; h < 2; ++h) run.value[h].resize(planeSize), run.flag[h].resize(planeSize);
  } catch (const std::exception&) {  // bad_alloc, or length_error for a huge plane
    throw NoMemory();
  }
  // Fills plane slot h with the corners of lattice plane i, from the corner cache where a
  // continuation has been there already.
  auto fill = [&](int h, int i) {
    for (int j = 0; j <= nj; ++j)
      for (int k = 0; k <= nk; ++k) {
        const std::size_t at = std::size_t(j) * std::size_t(nk + 1) + std::size_t(k);
        const pzCornerlist* c = run.corners[Hash(i, j, k)];
        while (c && !(c->i == i && c->j == j && c->k == k)) c = c->next;
        if (c) {
          run.value[h][at] = c->value, run.flag[h][at] = c->flag;
        } else {
          int flag;
          run.value[h][at] = eval(setpoint(i, j, k), &flag);
          run.flag[h][at] = flag;
        }
      }
  };
  fill(0, 0);
  for (int i = 0; i < ni; ++i) {
    // Slot i & 1 holds plane i, the other slot receives plane i + 1.
    fill((i + 1) & 1, i + 1);
    run.sweep = true;
    run.plane = i;
    for (int j = 0; j < nj; ++j)
      for (int k = 0; k < nk; ++k) {
        int npos = 0;
        bool flagged = false;
        for (int c = 0; c < 8; ++c) {
          const int h = (i + Bit(c, 0)) & 1;
          const std::size_t at =
              std::size_t(j + Bit(c, 1)) * std::size_t(nk + 1) + std::size_t(k + Bit(c, 2));
          npos += run.value[h][at] > 0;
          flagged = flagged || run.flag[h][at] != 0;
        }
        if (npos == 0 || npos == 8 || flagged || setcenter(i, j, k)) continue;
        pzCubes* start = run.spare ? run.spare : run.cubePool.get();
        if (run.spare) run.spare = run.spare->next;
        start->cube.i = i, start->cube.j = j, start->cube.k = k;
        for (int c = 0; c < 8; ++c)
          start->cube.corners[c] = setcorner(i + Bit(c, 0), j + Bit(c, 1), k + Bit(c, 2));
        start->next = nullptr;
        run.stack = start;
        drain();
      }
  }
  return m_triangles;
}

// Triangulates the cubes on the stack and pushes their neighbours until it is empty.
void pzProcess::drain() {
  Run& run = *m_run;
  while (pzCubes* top = run.stack) {
    run.stack = top->next;
    pzCube cube = top->cube;
    top->next = run.spare;
    run.spare = top;
    for (const auto& t : kTets) dotet(&cube, t[0], t[1], t[2], t[3]);
    for (int face = 0; face < 6; ++face) {
      const Face& fc = kFaces[face];
      testface(cube.i + fc.di, cube.j + fc.dj, cube.k + fc.dk, &cube, face, fc.c[0], fc.c[1],
               fc.c[2], fc.c[3]);
    }
  }
}

pzTest pzProcess::find(int sign, Point3D_d p) {
  double range = m_size;
  for (int n = 0; n < kSeedTries; ++n) {
    // Three draws, x then y then z (separate statements fix the order).
    const double rx = (std::rand() & 0x7fff) / 32767.0;
    const double ry = (std::rand() & 0x7fff) / 32767.0;
    const double rz = (std::rand() & 0x7fff) / 32767.0;
    pzTest t;
    t.p = Point3D_d(p.x() + range * (rx - 0.5), p.y() + range * (ry - 0.5),
                    p.z() + range * (rz - 0.5));
    int flag;
    t.value = eval(t.p, &flag);
    if (int(t.value > 0) == sign && flag == 0) {
      t.ok = 1;
      return t;
    }
    range *= 1.0005;
  }
  return pzTest();
}

// Ten bisections; value1 ≥ 0 makes p1 the positive end (callers pass the positive end
// first, so an exact zero there cannot swap the bracket).
Point3D_d pzProcess::converge(Point3D_d p1, Point3D_d p2, double value1) {
  Point3D_d pos = value1 >= 0 ? p1 : p2;
  Point3D_d neg = value1 >= 0 ? p2 : p1;
  auto mid = [&] {
    return Point3D_d(0.5 * (pos.x() + neg.x()), 0.5 * (pos.y() + neg.y()),
                     0.5 * (pos.z() + neg.z()));
  };
  Point3D_d m = mid();
  for (int n = 0; n < kBisections; ++n) {
    int flag;
    (eval(m, &flag) <= 0 ? neg : pos) = m;
    m = mid();
  }
  return m;
}

Point3D_d pzProcess::setpoint(int i, int j, int k) const {
  return Point3D_d(m_start.x() - (i - 0.5) * m_size, m_start.y() - (j - 0.5) * m_size,
                   m_start.z() - (k - 0.5) * m_size);
}

pzCornerlist* pzProcess::setcorner(int i, int j, int k) {
  Run& run = *m_run;
  pzCornerlist*& bucket = run.corners[Hash(i, j, k)];
  for (pzCornerlist* c = bucket; c; c = c->next)
    if (c->i == i && c->j == j && c->k == k) return c;
  pzCornerlist* c = run.cornerPool.get();
  c->i = i, c->j = j, c->k = k;
  if (run.sweep && (i == run.plane || i == run.plane + 1)) {  // already evaluated by the sweep
    const std::size_t at = std::size_t(j) * std::size_t(run.nk + 1) + std::size_t(k);
    c->value = run.value[i & 1][at];
    c->flag = run.flag[i & 1][at];
  } else {
    c->value = eval(setpoint(i, j, k), &c->flag);
  }
  c->next = bucket;
  bucket = c;
  return c;
}

int pzProcess::setcenter(int i, int j, int k) {
  pzCenterlist*& bucket = m_run->centers[Hash(i, j, k)];
  for (const pzCenterlist* c = bucket; c; c = c->next)
    if (c->i == i && c->j == j && c->k == k) return 1;
  pzCenterlist* c = m_run->centerPool.get();
  c->i = i, c->j = j, c->k = k;
  c->next = bucket;
  bucket = c;
  return 0;
}

void pzProcess::setedge(int i1, int j1, int k1, int i2, int j2, int k2, int vid) {
  pzEdgelist*& bucket = m_run->edges[Hash(i1, j1, k1) + Hash(i2, j2, k2)];
  pzEdgelist* e = m_run->edgePool.get();
  *e = pzEdgelist{i1, j1, k1, i2, j2, k2, vid, bucket};
  bucket = e;
}

int pzProcess::getedge(int i1, int j1, int k1, int i2, int j2, int k2) const {
  for (const pzEdgelist* e = m_run->edges[Hash(i1, j1, k1) + Hash(i2, j2, k2)]; e; e = e->next)
    if (e->i1 == i1 && e->j1 == j1 && e->k1 == k1 && e->i2 == i2 && e->j2 == j2 && e->k2 == k2)
      return e->vid;
  return -1;
}

// c1 is the positive corner. The edge is keyed by its corners in lexicographic order.
int pzProcess::vertid(pzCornerlist* c1, pzCornerlist* c2) {
  const bool swap = std::make_tuple(c1->i, c1->j, c1->k) > std::make_tuple(c2->i, c2->j, c2->k);
  const pzCornerlist* a = swap ? c2 : c1;
  const pzCornerlist* b = swap ? c1 : c2;
  const int known = getedge(a->i, a->j, a->k, b->i, b->j, b->k);
  if (known >= 0) return known;
  pzVertex v;
  v.position = converge(setpoint(c1->i, c1->j, c1->k), setpoint(c2->i, c2->j, c2->k), c1->value);
  const Point3D_d& q = v.position;
  int flag;
  const double f0 = eval(q, &flag);
  const double gx = eval(Point3D_d(q.x() + m_delta, q.y(), q.z()), &flag) - f0;
  const double gy = eval(Point3D_d(q.x(), q.y() + m_delta, q.z()), &flag) - f0;
  const double gz = eval(Point3D_d(q.x(), q.y(), q.z() + m_delta), &flag) - f0;
  const double len = std::sqrt(gx * gx + gy * gy + gz * gz);
  if (len > 0 && std::isfinite(len)) v.normal = Point3D_d(gx / len, gy / len, gz / len);
  const int vid = m_vertices.add(v);
  if (vid < 0) throw NoMemory();
  setedge(a->i, a->j, a->k, b->i, b->j, b->k, vid);
  return vid;
}

void pzProcess::testface(int i, int j, int k, pzCube* old, int face, int c1, int c2, int c3,
                         int c4) {
  const bool pos = old->corners[c1]->value > 0;
  if ((old->corners[c2]->value > 0) == pos && (old->corners[c3]->value > 0) == pos &&
      (old->corners[c4]->value > 0) == pos)
    return;
  if (i < m_lo[0] || i > m_hi[0] || j < m_lo[1] || j > m_hi[1] || k < m_lo[2] || k > m_hi[2])
    return;
  if (setcenter(i, j, k)) return;
  Run& run = *m_run;
  pzCube cube;
  cube.i = i, cube.j = j, cube.k = k;
  const int bit = kFaces[face].bit;
  const int shared[4] = {c1, c2, c3, c4};
  for (int c = 0; c < 8; ++c) cube.corners[c] = nullptr;
  for (int c : shared) cube.corners[c ^ bit] = old->corners[c];
  for (int c = 0; c < 8; ++c) {
    if (!cube.corners[c]) cube.corners[c] = setcorner(i + Bit(c, 0), j + Bit(c, 1), k + Bit(c, 2));
  }
  for (int c = 0; c < 8; ++c)
    if (cube.corners[c]->flag) return;
  pzCubes* entry = run.spare ? run.spare : run.cubePool.get();
  if (run.spare) run.spare = run.spare->next;
  entry->cube = cube;
  entry->next = run.stack;
  run.stack = entry;
}

int pzProcess::dotet(pzCube* cube, int c1, int c2, int c3, int c4) {
  pzCornerlist* t[4] = {cube->corners[c1], cube->corners[c2], cube->corners[c3], cube->corners[c4]};
  const int s = (t[0]->value > 0) << 3 | (t[1]->value > 0) << 2 | (t[2]->value > 0) << 1 |
                int(t[3]->value > 0);
  int made = 0;
  for (const pzIntlist* e = m_run->caseOf[s]; e; e = e->next->next->next) {
    const int a = vertid(t[e->i >> 2], t[e->i & 3]);
    const int b = vertid(t[e->next->i >> 2], t[e->next->i & 3]);
    const int c = vertid(t[e->next->next->i >> 2], t[e->next->next->i & 3]);
    ++made;
    ++m_triangles;
    if (!(*m_triangle)(a, b, c, m_vertices)) throw Stopped();
  }
  return made;
}
