// SPDX-License-Identifier: MIT
#include <qvmath/linsys/lin_sys_solver_mkl.h>

#include <Eigen/Dense>
#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "test_util.h"

namespace {

using namespace REmath;

// One call to an informer or a receiver: (axis, vertex, value), logged for all axes.
using Call = std::tuple<int, int, double>;

// One axis: positions from a table (NaN when unknown), results logged; logs shared by axes.
template <class T>
struct AxisLog : IVertexPosInformer<T>, IEqSysResultReciever<T> {
  AxisLog(int axis, std::vector<Call>* asked, std::vector<Call>* received)
      : m_axis(axis), m_asked(asked), m_received(received) {}
  T OnGetVertexPosition(int v) const override {
    const T p = positions.count(v) ? positions.at(v) : std::numeric_limits<T>::quiet_NaN();
    m_asked->emplace_back(m_axis, v, double(p));
    return p;
  }
  void OnSetVertexPosition(int v, T x) override { m_received->emplace_back(m_axis, v, double(x)); }
  std::map<int, T> positions;
  int m_axis;
  std::vector<Call>*m_asked, *m_received;
};

// `axes` axes with their logs, and the arrays that SolveSystem takes.
template <class T>
struct Axes {
  explicit Axes(int axes) {
    for (int d = 0; d < axes; ++d) informers.emplace_back(new AxisLog<T>(d, &asked, &received));
    for (auto& i : informers) ins.push_back(i.get()), outs.push_back(i.get());
  }
  bool Solve(IVertexPosLinearSystem<T>& sys) {
    return sys.SolveSystem(int(informers.size()), ins.data(), outs.data(), nullptr);
  }
  std::vector<std::unique_ptr<AxisLog<T>>> informers;
  std::vector<const IVertexPosInformer<T>*> ins;
  std::vector<IEqSysResultReciever<T>*> outs;
  std::vector<Call> asked, received;
};

const std::vector<std::vector<std::pair<int, int>>> kEquations = {
    {{10, 2}, {20, -1}, {30, -1}},  // 0: worked example, first
    {{10, -1}, {20, 2}},            // 1: worked example, second
    {{10, 1}, {99, 1}},             // 2: names undeclared 99
    {{10, 1}, {99, 0}},             // 3: the same, coefficient 0
    {{30, 1}},                      // 4: a fixed vertex alone
    {},                             // 5: empty
    {{10, 1}, {30, -1}},            // 6: x20 absent
    {{10, -2}, {30, 1}},            // 7: x20 absent
    {{10, 1}, {15, 1}},             // 8: names undeclared 15
};

// A scenario is a list of steps on a system: "F10" defines free vertex 10, "X30" fixed
// vertex 30, "E2" adds equation 2 of kEquations.
template <class T>
void Run(const char* steps, IVertexPosLinearSystem<T>& sys) {
  std::istringstream in(steps);
  for (std::string step; in >> step;) {
    const int arg = std::stoi(step.substr(1));
    CVertexLinearCombination<T> lc;
    for (const auto& [v, c] : step[0] == 'E' ? kEquations[std::size_t(arg)] : kEquations[5])
      lc.AddVertex(v, T(c));
    step[0] == 'F'   ? sys.DefineFreeVertex(arg)
    : step[0] == 'X' ? sys.DefineFixedVertex(arg)
                     : sys.AddEquation(lc);
  }
}

// Free {10, 20}, fixed {30}; 2·x10 − x20 − x30 = 0 and −x10 + 2·x20 = 0.
const char* const kWorkedDefinitions = "F10 X30 F20";
const char* const kWorkedEquations = "E0 E1";

template <class T>
class LinSysSolverMKLTest : public ::testing::Test {};
using ScalarTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(LinSysSolverMKLTest, ScalarTypes);

// Each misuse spoils the system for good: the remaining well-formed calls do not repair it
// and SolveSystem calls nobody. An exactly singular A (LAPACK meets a zero pivot) is not
// misuse: it fails without calling any receiver, and the flag stays clear.
TYPED_TEST(LinSysSolverMKLTest, Degenerate_MisuseSpoilsForGoodSingularFails) {
  using T = TypeParam;
  using Scenario = std::pair<const char*, const char*>;
  const std::vector<Scenario> misuse = {
      {"third equation", "F10 X30 F20 E0 E1 E1"},
      {"fixed vertex declared free", "X30 F30"},
      {"free vertex declared fixed", "F10 X10"},
      {"free vertex twice", "F10 F10"},
      {"free vertex after an equation", "F10 F20 E1 F40"},
      // Undeclared identifiers above, between and (scattered table) among the declared.
      {"undeclared vertex", "F10 F20 E2"},
      {"undeclared vertex in a gap", "F10 F20 E8"},
      {"undeclared scattered vertex", "F10 F20 X2000000000 E2"},
      // Unlike evaluation, a zero term of an undeclared vertex counts here.
      {"undeclared vertex with coefficient 0", "F10 F20 E3"},
      {"equation without free vertices", "X30 E4"},
      {"equation in an empty system", "E5"},
  };
  const std::vector<Scenario> singular = {
      {"identical equations", "E0 E0"},
      {"free vertex in no equation", "E6 E7"},
      {"empty equation", "E0 E5"},
  };
  for (const auto* list : {&misuse, &singular})
    for (const auto& [name, steps] : *list) {
      SCOPED_TRACE(name);
      const bool bad = list == &misuse;
      CLinSysSolverMKL<T> sys;
      if (!bad) Run<T>(kWorkedDefinitions, sys);
      Run<T>(steps, sys);
      if (bad) Run<T>(kWorkedDefinitions, sys), Run<T>(kWorkedEquations, sys);
      EXPECT_TRUE(sys.IsSpoiled() == bad && sys.IsCorrectlyDefinedSystem() == !bad);
      Axes<T> axes(3);
      for (auto& informer : axes.informers) informer->positions[30] = T(1);
      EXPECT_FALSE(axes.Solve(sys));
      EXPECT_TRUE(axes.received.empty() && (!bad || axes.asked.empty()));
    }
}

// Random strictly diagonally dominant systems −(1 + δ)(Σ|w| + 1)·x_i + Σ w_j·x_j = 0 over
// free and fixed neighbours, identifiers compact or scattered over the whole int range,
// definitions interleaved, equations shuffled; oracle: Eigen's full-pivoting LU in double.
TYPED_TEST(LinSysSolverMKLTest, Oracle_RandomLaplacianAgainstEigen) {
  using T = TypeParam;
  qvtest::TestRng rng(62001);
  SCOPED_TRACE(rng.Trace());
  const int kAxes = 3;
  for (int trial = 0; trial < 40; ++trial) {
    const int nFree = rng.Int(1, 60), nFixed = rng.Int(0, 20), n = nFree + nFixed;
    std::vector<int> ids;
    std::map<int, int> slot;  // identifier → index in ids; the extremes are identifiers too
    for (int k = 0; static_cast<int>(ids.size()) < n; ++k) {
      const int id = trial % 2 ? k < 2 ? (k ? INT_MAX : INT_MIN)
                                       : static_cast<int>(rng.Uniform(INT_MIN, INT_MAX))
                               : 5000 + rng.Int(0, 2 * n);
      if (slot.emplace(id, static_cast<int>(ids.size())).second) ids.push_back(id);
    }
    // ids[0..nFree) are free, the rest fixed; the definitions are interleaved at random.
    std::vector<int> order(static_cast<std::size_t>(n)), rows(static_cast<std::size_t>(nFree));
    std::iota(order.begin(), order.end(), 0), std::iota(rows.begin(), rows.end(), 0);
    std::shuffle(order.begin(), order.end(), rng.Engine());
    CLinSysSolverMKL<T> sys;
    std::vector<int> freeByNumber;
    Axes<T> axes(kAxes);
    for (int k : order) {
      k < nFree ? sys.DefineFreeVertex(ids[k]) : sys.DefineFixedVertex(ids[k]);
      if (k < nFree) freeByNumber.push_back(ids[k]);
      for (int d = 0; k >= nFree && d < kAxes; ++d)
        axes.informers[d]->positions[ids[k]] = T(rng.Uniform(-100, 100));
    }

    Eigen::MatrixXd A = Eigen::MatrixXd::Zero(nFree, nFree),
                    B = Eigen::MatrixXd::Zero(nFree, kAxes);
    std::shuffle(rows.begin(), rows.end(), rng.Engine());
    for (int i : rows) {
      CVertexLinearCombination<T> lc;
      T total = T(0);
      for (int k = rng.Int(1, 6); k > 0; --k) {
        const int j = rng.Int(0, n - 1);
        if (j == i) continue;
        const T w = T(rng.Uniform(0.1, 2.0)) * (rng.Int(0, 4) == 0 ? T(-1) : T(1));
        lc.AddVertex(ids[j], w);
        total = T(total + std::fabs(w));
      }
      lc.AddVertex(ids[i], T(-(1 + rng.Uniform(0.1, 1.0)) * (total + T(1))));
      sys.AddEquation(lc);
      for (auto it = lc.begin(); it != lc.end(); ++it) {
        const int j = slot.at(it->GetVertexIdx());
        const double c = it->GetCoeff();
        if (j < nFree) A(i, j) = c;
        for (int d = 0; j >= nFree && d < kAxes; ++d)
          B(i, d) -= c * double(axes.informers[d]->positions.at(ids[j]));
      }
    }
    ASSERT_TRUE(sys.IsCorrectlyDefinedSystem());
    ASSERT_TRUE(axes.Solve(sys));

    const Eigen::FullPivLU<Eigen::MatrixXd> lu(A);
    const Eigen::MatrixXd X = lu.solve(B);
    // Forward error of a backward-stable LU in T: about n·ε·κ(A)·‖x‖, with a factor 8.
    const double tol =
        8.0 * nFree * qvtest::Eps<T>() / lu.rcond() * std::max(1.0, X.cwiseAbs().maxCoeff());
    // Per axis, the free vertices in order of definition.
    ASSERT_EQ(axes.received.size(), static_cast<std::size_t>(kAxes * nFree));
    for (int r = 0; r < kAxes * nFree; ++r) {
      const auto& [axis, vertex, value] = axes.received[static_cast<std::size_t>(r)];
      ASSERT_TRUE(axis == r / nFree && vertex == freeByNumber[r % nFree]);
      EXPECT_NEAR(value, X(slot.at(vertex), axis), tol);
    }
    // Each fixed vertex is asked once per axis, in the order of definition; free never.
    std::vector<Call> expectedAsked;
    for (int d = 0; d < kAxes; ++d)
      for (int k : order)
        if (k >= nFree)
          expectedAsked.emplace_back(d, ids[k], double(axes.informers[d]->positions[ids[k]]));
    EXPECT_EQ(axes.asked, expectedAsked);
  }
}

}  // namespace
