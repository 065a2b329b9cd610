// SPDX-License-Identifier: MIT
// A first-order ascent that maximises the smallest of several functions of a 3-D point,
// inside a box and optionally on an admissible set.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/optim/min_max_params.h>
#include <qvmath/optim/min_max_task.h>
#include <qvmath/platform/export.h>

namespace REmath {

/// Maximises F(x) = minᵢ fᵢ(x) over the functions of a `CMinMaxTask`, starting from its
/// InitApprox, with the settings of a `CMinMaxParams`.
///
/// Method, per iteration (at most MaxIter): the ascent direction d is the forward-difference
/// gradient of the smallest function (lowest index on ties), falling back to the next
/// smallest while |d|² <= 1e-8 (d = 0 when all gradients vanish). The first trial step t is
/// the least of: the step that moves by the box diagonal; the steps where another function's
/// linear model meets the active one's; 0.98 of the step to the box face that d points at.
/// Up to MaxGradientMoveAttempts trials y = x + t·d follow, t shrinking by GradientScale;
/// the projector, if any, moves each y before it is evaluated, and the first y with
/// F(y) > F(x) + Tolerance is taken. Run stops after an iteration without such a gain.
/// This is a cheap local refinement, not a nonsmooth solver: on a kink where the active
/// function is the steeper one, the crossing limit shrinks the step to nothing and the
/// ascent stops there.
///
/// Conventions:
/// - F starts at the largest finite double and takes the minimum in index order, so with no
///   functions F is that value; a NaN value makes F NaN there, and such a trial point is
///   never taken.
/// - Gradients: gₖ = (fᵢ(x + h·eₖ) − fᵢ(x))/h with h = max(GradCalcRelDelta·|LimitMax −
///   LimitMin|², 1e-5). The diagonal enters squared (a long-standing quirk, kept so that
///   results do not change); h is fixed when the optimizer is constructed.
/// - Crossing step of function j (fⱼ(x) > F(x)): the active model is F(x) + t·(d·d) (d is
///   the active gradient), fⱼ's model fⱼ(x) + t·(gⱼ·d); they meet at t = (fⱼ − F)/(d·d −
///   gⱼ·d). A non-positive slope difference means fⱼ rises at least as fast as the active
///   function along d and never meets it ahead: that function is ignored.
/// - Box clip: a start outside the box on the side d points at gives a zero step (then only
///   the projector can move the trials).
/// - Each function is evaluated once at x per iteration; the values of a taken trial point
///   are reused as those of the new x.
///
/// Ownership: the optimizer keeps references to the task and to the parameters (not
/// copies): both must outlive it, and changes to them between runs take effect, except for
/// h. It owns its internal state (allocated in the constructor, freed in the destructor).
/// Copying: copies are independent optimizers bound to the same task and parameters, with
/// the same h; assignment makes the target such a copy (strong guarantee).
/// Thread safety: Run uses scratch storage of the optimizer, so one optimizer must not run
/// on two threads at once; distinct optimizers (copies included) may, if the functions and
/// the projector allow concurrent calls.
class QVMATH_API CMinMaxOptimizer {
 public:
  /// Binds the optimizer to task and params and fixes the difference step h.
  /// @throws std::bad_alloc when the state cannot be allocated (nothing is leaked).
  CMinMaxOptimizer(const CMinMaxTask& task, const CMinMaxParams& params);
  /// An independent optimizer on the same task and parameters, with the same h.
  CMinMaxOptimizer(const CMinMaxOptimizer& other);
  /// Makes *this a copy of other (same task, parameters and h); strong guarantee.
  CMinMaxOptimizer& operator=(const CMinMaxOptimizer& other);
  ~CMinMaxOptimizer();

  /// Runs the ascent from the task's InitApprox and writes the best point found to x.
  /// @param[out] x the result; InitApprox when there are no functions, MaxIter < 1 or no
  ///             step gains more than Tolerance. x is output only.
  /// There are no error results. An exception from a function or the projector passes
  /// through; x then holds the best point accepted so far.
  void Run(Point3D_d& x);

 private:
  class CState;
  CState* m_state;
};

}  // namespace REmath
