// SPDX-License-Identifier: MIT
// REmath::CLinSysSolverMKL<T>: the vertex-position linear system assembled densely and
// solved for all coordinate axes at once by one LU factorisation through LAPACK.
#pragma once

#include <qvmath/linsys/vertex_pos_linear_system.h>
#include <qvmath/platform/export.h>

namespace REmath {

namespace detail {
template <class T>
struct LinSysSolverState;
}  // namespace detail

/// The dense solver of `IVertexPosLinearSystem<T>`.
///
/// Definition: free vertices are numbered 0, 1, 2, … in the order of `DefineFreeVertex`,
/// fixed vertices likewise in the order of `DefineFixedVertex`. Defining a vertex after the
/// first equation, twice, or as both kinds spoils the system. Once spoiled, every further
/// definition and equation is ignored and the system stays spoiled.
///
/// Assembly: the first `AddEquation` closes the definition (when there is at least one free
/// vertex) and sizes the n × n coefficient matrix A of the n free vertices and the
/// n × (fixed count) matrix F of the fixed ones. Equation r (in the order of addition) is
/// row r: A(r, k) is the coefficient of free vertex k, F(r, j) that of fixed vertex j. An
/// equation beyond the n-th, one naming a vertex that was not declared (it is then not
/// counted), or any equation while there are no free vertices spoils the system. Assembly
/// does no allocation per equation and finds identifiers in a flat table built once.
///
/// `SolveSystem(axes, informers, receivers, progress)`:
/// - false when spoiled or when the number of equations differs from n;
/// - true at once, calling nobody, when n = 0;
/// - false, calling nobody, when axes < 1 or informers, receivers or one of their first
///   axes entries is null;
/// - otherwise the right-hand side R (n × axes) is built in T from the fixed positions:
///   for each axis d and each fixed vertex j in number order informers[d] is asked once for
///   its position p (also when all of its coefficients are 0), and R(r, d) −= F(r, j)·p for
///   each equation r with F(r, j) ≠ 0 (so a non-finite position of a fixed vertex that has
///   only zero coefficients does no harm). A copy of A is LU-factorised with partial pivoting
///   and solved for all columns of R at once (`solveMat`: LAPACK getrf/getrs in T);
/// - false, calling no receiver, when A is singular (LAPACK finds an exactly zero pivot);
/// - true after receivers[d] got `SetVertexPosition(v, x)` for each axis d and each free
///   vertex v in number order.
/// A and F are kept, so `SolveSystem` may be called again with other informers. progress is
/// accepted and not used. Nearly singular systems are not detected: they solve to whatever
/// the factorisation yields. Memory is dense: about 2·n² + n·(fixed count) elements of T
/// while solving.
///
/// Ownership and copies: the object holds one heap state record (the spoiled flag, the
/// vertex numbering, the defining flag, A, F and the equation count), deep-copied by the
/// copy constructor, `operator=` and `Copy()`, freed by the destructor. On the MKL build
/// MKL's default error and progress handlers are installed before each LAPACK call; with
/// another LAPACK there is nothing to install. Instantiated and exported for `float` and
/// `double`. Thread safety: an object is used by one thread at a time; distinct objects
/// are independent (re-entrant, no global state).
template <class T>
class CLinSysSolverMKL : public IVertexPosLinearSystem<T> {
 public:
  /// An empty system, open for definitions.
  CLinSysSolverMKL();
  /// A deep copy of other's state.
  CLinSysSolverMKL(const CLinSysSolverMKL& other);
  /// Replaces the state by a deep copy of other's (strong guarantee; self-assignment does
  /// nothing). @return *this.
  CLinSysSolverMKL& operator=(const CLinSysSolverMKL& other);
  ~CLinSysSolverMKL() override;

  /// @return a new heap deep copy, owned by the caller.
  CLinSysSolverMKL* Copy() const override;

 private:
  bool OnSolveSystem(int axes, const IVertexPosInformer<T>** informers,
                     IEqSysResultReciever<T>** receivers, CProgressCounter* progress) override;
  void OnDefineFixedVertex(int v) override;
  void OnDefineFreeVertex(int v) override;
  void OnAddEquation(const CVertexLinearCombination<T>& lc) override;
  bool OnIsCorrectlyDefinedSystem() const override;
  bool OnIsSpoiled() const override;

  detail::LinSysSolverState<T>* m_state;  ///< never null
};

extern template class QVMATH_EXTERN_TEMPLATE CLinSysSolverMKL<float>;
extern template class QVMATH_EXTERN_TEMPLATE CLinSysSolverMKL<double>;

}  // namespace REmath
