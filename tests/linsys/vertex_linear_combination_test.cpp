// SPDX-License-Identifier: MIT
#include <qvmath/linsys/vertex_linear_combination.h>

#include <climits>
#include <limits>
#include <map>
#include <type_traits>
#include <utility>
#include <vector>

#include "test_util.h"

namespace {

using namespace REmath;

template <class T>
using Entries = std::vector<std::pair<int, T>>;

template <class T>
Entries<T> EntriesOf(const CVertexLinearCombination<T>& lc) {
  Entries<T> out;
  for (auto it = lc.begin(); it != lc.end(); ++it)
    out.emplace_back(it->GetVertexIdx(), (*it).GetCoeff());
  return out;
}

// Positions from a table; counts the queries, answers NaN for unknown identifiers.
template <class T>
class TableInformer : public IVertexPosInformer<T> {
 public:
  explicit TableInformer(std::map<int, T> positions) : m_positions(std::move(positions)) {}
  mutable int queries = 0;

 private:
  T OnGetVertexPosition(int v) const override {
    ++queries;
    return m_positions.count(v) ? m_positions.at(v) : std::numeric_limits<T>::quiet_NaN();
  }
  std::map<int, T> m_positions;
};

template <class T>
class VertexLinearCombinationTest : public ::testing::Test {};
using ScalarTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(VertexLinearCombinationTest, ScalarTypes);

// The entries after random AddVertex, +=, *= agree exactly with a dense accumulation in T
// done in the same order (one rounding per step in both); copies are deep.
TYPED_TEST(VertexLinearCombinationTest, Properties_EntriesMatchDenseAccumulation) {
  using T = TypeParam;
  qvtest::TestRng rng(61001);
  SCOPED_TRACE(rng.Trace());
  const int kRange = 40;
  // A cancelled entry stays with coefficient 0; identifiers run in ascending order.
  CVertexLinearCombination<T> lc;
  lc.AddVertex(5, T(1));
  lc.AddVertex(5, T(-1));  // cancels to an entry (5, 0), which stays; absent 7 reads 0, unstored
  EXPECT_TRUE(lc.VertexCoeff(7) == T(0) && EntriesOf(lc) == (Entries<T>{{5, T(0)}}));
  for (int v : {9, INT_MAX, INT_MIN}) lc.AddVertex(v, T(v % 7));
  lc *= T(0);  // every entry stays, with coefficient 0, and none reaches the informer
  EXPECT_TRUE(EntriesOf(lc) ==
                  (Entries<T>{{INT_MIN, T(0)}, {5, T(0)}, {9, T(0)}, {INT_MAX, T(0)}}) &&
              EvaluateLinCombination(lc, TableInformer<T>({})) == T(0));
  for (int trial = 0; trial < 200; ++trial) {
    auto* a = new CVertexLinearCombination<T>;
    CVertexLinearCombination<T> b;
    std::vector<T> dense[2] = {std::vector<T>(kRange), std::vector<T>(kRange)};
    std::vector<bool> present(kRange);
    for (int k = rng.Int(0, 30); k > 0; --k) {
      const int which = rng.Int(0, 1), v = rng.Int(0, kRange - 1);
      const T c = T(rng.Uniform(-4, 4));
      (which ? b : *a).AddVertex(v, c);
      dense[which][v] = T(dense[which][v] + c);
      present[v] = true;
    }
    const T s = T(rng.Uniform(-3, 3));
    CVertexLinearCombination<T> sum(*a), twice;
    twice = *a;
    delete a;  // the copies own their maps
    sum += b;
    sum *= s;
    Entries<T> expected;
    for (int v = 0; v < kRange; ++v)
      if (present[v]) expected.emplace_back(v, T(T(dense[0][v] + dense[1][v]) * s));
    ASSERT_EQ(EntriesOf(sum), expected);
    // lc += lc walks the map it changes: every coefficient is doubled exactly once.
    twice += twice;
    for (int v = 0; v < kRange; ++v) EXPECT_EQ(twice.VertexCoeff(v), T(2 * dense[0][v]));
  }
}

// Small integers keep every step exact, so the result equals the 64-bit integer sum; zero
// terms (an unknown vertex among them) never reach the informer.
TYPED_TEST(VertexLinearCombinationTest, Evaluate_ExactOnIntegersRoundedPerStep) {
  using T = TypeParam;
  qvtest::TestRng rng(61002);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 300; ++trial) {
    std::map<int, T> positions;
    std::map<int, long long> coeffs;
    CVertexLinearCombination<T> lc;
    lc.AddVertex(5000, T(0));  // unknown to the informer, harmless with coefficient 0
    for (int k = rng.Int(0, 20); k > 0; --k) {
      const int v = rng.Int(-1000, 1000), c = rng.Int(-50, 50);
      lc.AddVertex(v, T(c));
      coeffs[v] += c;
      positions[v] = T(rng.Int(-100, 100));
    }
    long long exact = 0;
    int nonzero = 0;
    for (const auto& [v, c] : coeffs)
      exact += c * static_cast<long long>(positions[v]), nonzero += c != 0;
    TableInformer<T> informer(positions);
    EXPECT_TRUE(EvaluateLinCombination(lc, informer) == T(exact) && informer.queries == nonzero)
        << exact;
  }
  // The sum is rounded to T after every term, in ascending identifier order: in float
  // 1e8 + 1 is 1e8, so these terms cancel to 0; double keeps the 1.
  CVertexLinearCombination<T> lc;
  for (int v : {3, 1, 2}) lc.AddVertex(v, T(v == 3 ? -1 : 1));
  const TableInformer<T> big({{1, T(1e8)}, {2, T(1)}, {3, T(1e8)}});
  EXPECT_EQ(EvaluateLinCombination(lc, big), (std::is_same<T, float>::value ? T(0) : T(1)));
}

}  // namespace
