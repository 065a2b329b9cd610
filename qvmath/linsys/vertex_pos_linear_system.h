// SPDX-License-Identifier: MIT
// REmath::IVertexPosLinearSystem<T>: the abstract linear system whose unknowns are vertex
// positions: define free and fixed vertices, add one equation per free vertex, solve per axis.
#pragma once

#include <qvmath/linsys/eq_sys_result_reciever.h>
#include <qvmath/linsys/vertex_linear_combination.h>
#include <qvmath/linsys/vertex_pos_informer.h>
#include <qvmath/platform/export.h>

class CProgressCounter;

namespace REmath {

/// A square linear system in the positions of the free vertices. Each equation is a
/// `CVertexLinearCombination<T>` meaning Σ coefficient·position = 0 over free and fixed
/// vertices; the fixed vertices' positions come from informers when solving, and the free
/// positions go to receivers, one informer and one receiver per coordinate axis.
///
/// Calling order: define all free and fixed vertices (in any mixture), then add exactly one
/// equation per free vertex, then solve (as often as wanted, with different informers).
/// Misuse is never thrown or logged: it sets a sticky spoiled flag (`IsSpoiled`), after
/// which nothing more is accepted and solving fails.
///
/// The public non-virtual operations forward to private hooks: `AddEquation` →
/// `OnAddEquation`, `SolveSystem` → `OnSolveSystem`, `IsCorrectlyDefinedSystem` →
/// `OnIsCorrectlyDefinedSystem`, `IsSpoiled` → `OnIsSpoiled`; the virtual
/// `DefineFreeVertex`/`DefineFixedVertex` forward to `OnDefineFreeVertex`/
/// `OnDefineFixedVertex` unless overridden. Virtual operations in slot order: destructor,
/// `DefineFreeVertex`, `DefineFixedVertex`, `Copy`, `OnSolveSystem`, `OnDefineFixedVertex`,
/// `OnDefineFreeVertex`, `OnAddEquation`, `OnIsCorrectlyDefinedSystem`, `OnIsSpoiled`.
/// Instantiated and exported for `float` and `double`. Thread safety: an object is used by
/// one thread at a time; distinct objects are independent.
template <class T>
class IVertexPosLinearSystem {
 public:
  virtual ~IVertexPosLinearSystem() {}

  /// Declares v a free vertex (an unknown). Calls `OnDefineFreeVertex(v)`.
  virtual void DefineFreeVertex(int v) { OnDefineFreeVertex(v); }
  /// Declares v a fixed vertex (a known position). Calls `OnDefineFixedVertex(v)`.
  virtual void DefineFixedVertex(int v) { OnDefineFixedVertex(v); }
  /// @return a new heap copy of the concrete system, owned by the caller (free it with
  ///         delete).
  virtual IVertexPosLinearSystem* Copy() const = 0;

  /// Adds the equation Σ c·x(v) = 0 over the entries (v, c) of lc.
  /// Calls `OnAddEquation(lc)`.
  void AddEquation(const CVertexLinearCombination<T>& lc) { OnAddEquation(lc); }
  /// Solves the system for axes coordinate axes: informers[d] supplies the fixed positions
  /// of axis d and receivers[d] receives the free ones. progress may be null.
  /// Calls `OnSolveSystem`. @return true on success; receivers are called only then.
  bool SolveSystem(int axes, const IVertexPosInformer<T>** informers,
                   IEqSysResultReciever<T>** receivers, CProgressCounter* progress) {
    return OnSolveSystem(axes, informers, receivers, progress);
  }
  /// @return `OnIsCorrectlyDefinedSystem()`: true when the system can be solved.
  bool IsCorrectlyDefinedSystem() const { return OnIsCorrectlyDefinedSystem(); }
  /// @return `OnIsSpoiled()`: true once any misuse has happened.
  bool IsSpoiled() const { return OnIsSpoiled(); }

 protected:
  IVertexPosLinearSystem() {}
  IVertexPosLinearSystem(const IVertexPosLinearSystem&) {}
  IVertexPosLinearSystem& operator=(const IVertexPosLinearSystem&) { return *this; }

 private:
  /// Called by `SolveSystem` with its arguments unchanged.
  virtual bool OnSolveSystem(int axes, const IVertexPosInformer<T>** informers,
                             IEqSysResultReciever<T>** receivers, CProgressCounter* progress) = 0;
  /// Called by `DefineFixedVertex`.
  virtual void OnDefineFixedVertex(int v) = 0;
  /// Called by `DefineFreeVertex`.
  virtual void OnDefineFreeVertex(int v) = 0;
  /// Called by `AddEquation`.
  virtual void OnAddEquation(const CVertexLinearCombination<T>& lc) = 0;
  /// Called by `IsCorrectlyDefinedSystem`.
  virtual bool OnIsCorrectlyDefinedSystem() const = 0;
  /// Called by `IsSpoiled`.
  virtual bool OnIsSpoiled() const = 0;
};

extern template class QVMATH_EXTERN_TEMPLATE IVertexPosLinearSystem<float>;
extern template class QVMATH_EXTERN_TEMPLATE IVertexPosLinearSystem<double>;

}  // namespace REmath
