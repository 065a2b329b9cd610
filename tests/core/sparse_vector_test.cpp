// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/core/sparse_vector.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "failing_file.h"
#include "test_util.h"

using REmath::CSparseVector;

namespace {

using Bytes = std::vector<unsigned char>;

// The file image, built independently of the class: count, positions, values.
Bytes Image(std::int32_t count, const std::vector<std::int32_t>& pos,
            const std::vector<double>& val) {
  Bytes out(4 + pos.size() * 4 + val.size() * 8);
  std::memcpy(out.data(), &count, 4);
  if (!pos.empty()) std::memcpy(out.data() + 4, pos.data(), pos.size() * 4);
  if (!val.empty()) std::memcpy(out.data() + 4 + pos.size() * 4, val.data(), val.size() * 8);
  return out;
}

// Loads v from a temporary file holding bytes.
bool LoadFrom(const Bytes& bytes, CSparseVector& v) {
  FILE* f = std::tmpfile();
  if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), f);
  std::rewind(f);
  const bool ok = v.LoadFromFile(f);
  std::fclose(f);
  return ok;
}

// What SaveToFile writes, and its result in ok.
Bytes Saved(const CSparseVector& v, bool& ok) {
  FILE* f = std::tmpfile();
  ok = v.SaveToFile(f);
  Bytes out(static_cast<std::size_t>(std::ftell(f)));
  std::rewind(f);
  if (std::fread(out.data(), 1, out.size(), f) != out.size()) out.clear();
  std::fclose(f);
  return out;
}

// Reaches the protected helpers and lists.
struct OpenSparseVector : CSparseVector {
  using CSparseVector::GetCompactIdx;
  using CSparseVector::IsElementZero;
  void DropLastValue() { m_values.pop_back(); }
};

}  // namespace

TEST(SparseVectorTest, Properties_LookupAgreesWithDenseBruteForce) {
  qvtest::TestRng rng(808);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 20; ++trial) {
    const int n = rng.Int(1, 300);
    std::vector<double> dense(n, 0.0);
    OpenSparseVector s;
    for (int i = 0; i < n; ++i)
      if (rng.Uniform(0, 1) < 0.2) s.SetElementNoIdxSearch(i, dense[i] = rng.Uniform(-5, 5));
    for (int i = -3; i < n + 3; ++i) {
      EXPECT_EQ(s.GetElement(i), i >= 0 && i < n ? dense[i] : 0.0) << "position " << i;
      const int idx = s.GetCompactIdx(i);
      EXPECT_TRUE(idx < 0 || s.GetNonZeroPos(idx) == i);
    }
  }
}

TEST(SparseVectorTest, Quirks_SentinelsZeroTestAndOutOfOrderAppends) {
  OpenSparseVector s;
  // min > max: loops from min to max do nothing.
  EXPECT_TRUE(s.GetMinNonZeroIdx() == INT_MAX && s.GetMaxNonZeroIdx() == -1);
  EXPECT_TRUE(s.IsElementZero(-0.0) && s.IsElementZero(std::nan("")) && !s.IsElementZero(1e-320));
  // Zeros are stored like any other value, also from a dense source.
  const double d[3] = {0.0, 5.0, 0.0};
  CSparseVector c(3, d);
  c.AssignByVector(2, d + 1);
  double value = -1.0;
  int pos = -1;
  c.GetNonZeroElementAndPos(1, value, pos);
  EXPECT_TRUE(c.GetNOfNonZeroElements() == 2 && pos == 1 && value == 0.0);
  c.Clear();
  EXPECT_EQ(c.GetMaxNonZeroIdx(), -1);

  // Appended out of order, the bisection misses stored entries but stays in range.
  CSparseVector u;
  for (int p : {9, 1, 7, 3, 5}) u.SetElementNoIdxSearch(p, double(p));
  int found = 0;
  for (int p = 0; p < 12; ++p) {
    const double x = u.GetElement(p);
    EXPECT_TRUE(x == 0.0 || x == double(p));
    found += x != 0.0;
  }
  EXPECT_LT(found, 5);
  // The first and last stored, not the extremes.
  EXPECT_TRUE(u.GetMinNonZeroIdx() == 9 && u.GetMaxNonZeroIdx() == 5);
}

TEST(SparseVectorTest, Format_RoundTripsByteForByte) {
  CSparseVector s;
  const std::vector<std::int32_t> pos = {-4, 0, 3, 1000, INT_MAX};
  const std::vector<double> val = {1.5, -0.0, HUGE_VAL, 1e-310, -2.0};
  for (std::size_t k = 0; k < pos.size(); ++k) s.SetElementNoIdxSearch(pos[k], val[k]);
  bool ok = false;
  const Bytes bytes = Saved(s, ok);
  EXPECT_TRUE(ok && bytes == Image(5, pos, val));
  CSparseVector back;
  back.SetElementNoIdxSearch(77, 7.0);  // loading replaces, it does not append
  EXPECT_TRUE(LoadFrom(bytes, back));
  EXPECT_TRUE(Saved(back, ok) == bytes && back.GetElement(77) == 0.0);

  // An empty vector is the four bytes of count 0; counts below 1 load as empty.
  EXPECT_EQ(Saved(CSparseVector(), ok), Image(0, {}, {}));
  for (std::int32_t count : {0, -2, INT_MIN}) {
    CSparseVector e(2, val.data());
    EXPECT_TRUE(LoadFrom(Image(count, {}, {}), e) && e.GetNOfNonZeroElements() == 0) << count;
  }
}

TEST(SparseVectorTest, Format_TruncatedAndCorruptFilesFail) {
  // Truncation at every read is covered by the injected failures below. A huge count over a few
  // bytes fails without reserving memory for the count (the sanitizer build would abort on a 24 GiB
  // request).
  CSparseVector s;
  EXPECT_FALSE(LoadFrom(Image(INT_MAX, {1, 2}, {}), s) || s.LoadFromFile(nullptr) ||
               s.SaveToFile(nullptr));
  // Lists of unequal length are refused and nothing is written.
  OpenSparseVector broken;
  broken.SetElementNoIdxSearch(1, 1.0);
  broken.SetElementNoIdxSearch(2, 2.0);
  broken.DropLastValue();
  bool ok = true;
  EXPECT_TRUE(Saved(broken, ok).empty() && !ok);
  EXPECT_EQ(broken.GetElement(2), 0.0);  // the lookup never reads past the shorter list
}

// Every failing read or write of the file, wherever it falls, gives false; a failed load
// leaves an empty, consistent vector; the first budget that suffices gives the full result.
TEST(SparseVectorTest, Failure_InjectedFileFailures) {
  const double dense[] = {0, 2.5, 0, -1, 7};
  const CSparseVector v(5, dense);
  bool saved = false;
  for (int budget = 0; !saved; ++budget) {
    ASSERT_LT(budget, 100);
    qvtest::FailingFile file;
    file.writes = budget;
    saved = v.SaveToFile(file.get());
    EXPECT_TRUE(!saved || file.bytes == Image(5, {0, 1, 2, 3, 4}, {0, 2.5, 0, -1, 7}));
  }
  bool loaded = false;
  for (int budget = 0; !loaded; ++budget) {
    ASSERT_LT(budget, 100);
    qvtest::FailingFile file(Image(5, {0, 1, 2, 3, 4}, {0, 2.5, 0, -1, 7}));
    file.reads = budget;
    CSparseVector w(v);
    loaded = w.LoadFromFile(file.get());
    EXPECT_EQ(w.GetNOfNonZeroElements(), loaded ? 5 : 0) << budget;
    EXPECT_TRUE(!loaded || w.GetElement(4) == 7.0);
  }
}
