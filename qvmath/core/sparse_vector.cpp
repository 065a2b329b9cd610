// SPDX-License-Identifier: MIT
#include <qvmath/core/sparse_vector.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>

namespace REmath {

static_assert(sizeof(int) == sizeof(std::int32_t), "positions are written as 32-bit ints");
static_assert(sizeof(double) == 8, "values are written as IEEE doubles");

namespace {

// Entries read per step while loading: the lists grow only by what the file really holds.
constexpr std::size_t kLoadChunk = std::size_t(1) << 16;

// Reads count elements of T from f into list, growing it chunk by chunk.
// @return false on a short read.
template <class T>
bool ReadChunked(FILE* f, std::size_t count, std::vector<T>& list) {
  list.clear();
  while (list.size() < count) {
    const std::size_t done = list.size();
    const std::size_t step = std::min(kLoadChunk, count - done);
    list.resize(done + step);
    if (std::fread(list.data() + done, sizeof(T), step, f) != step) return false;
  }
  return true;
}

}  // namespace

CSparseVector::CSparseVector(int n, const double* v) { AssignByVector(n, v); }

CSparseVector::~CSparseVector() = default;

void CSparseVector::Clear() {
  m_positions.clear();
  m_values.clear();
}

void CSparseVector::Reset() {
  m_positions.resize(0);
  m_values.resize(0);
}

void CSparseVector::ReserveNonZeroElem(int k) {
  if (k < 1) return;
  m_positions.reserve(static_cast<std::size_t>(k));
  m_values.reserve(static_cast<std::size_t>(k));
}

void CSparseVector::AssignByVector(int n, const double* v) {
  Clear();
  if (n < 1 || v == nullptr) return;
  int nonzero = 0;
  for (int i = 0; i < n; ++i)
    if (!IsElementZero(v[i])) ++nonzero;
  ReserveNonZeroElem(nonzero);
  // Every element is stored, zeros included; only the reservation counts the nonzeros.
  for (int i = 0; i < n; ++i) SetElementNoIdxSearch(i, v[i]);
}

void CSparseVector::SetElementNoIdxSearch(int pos, double value) {
  m_positions.push_back(pos);
  m_values.push_back(value);
}

int CSparseVector::GetCompactIdx(int pos) const {
  // A plain bisection that stays inside the list whatever its order, so that a list
  // broken by out-of-order appends gives a miss, never an out-of-range read.
  int lo = 0;
  int hi = static_cast<int>(std::min(m_positions.size(), m_values.size())) - 1;
  while (lo <= hi) {
    const int mid = lo + (hi - lo) / 2;
    const int p = m_positions[mid];
    if (p == pos) return mid;
    if (p < pos)
      lo = mid + 1;
    else
      hi = mid - 1;
  }
  return -1;
}

double CSparseVector::GetElement(int pos) const {
  const int idx = GetCompactIdx(pos);
  return idx < 0 ? 0.0 : m_values[idx];
}

void CSparseVector::GetNonZeroElementAndPos(int k, double& value, int& pos) const {
  value = m_values[k];
  pos = m_positions[k];
}

int CSparseVector::GetMinNonZeroIdx() const {
  return m_positions.empty() ? INT_MAX : m_positions.front();
}

int CSparseVector::GetMaxNonZeroIdx() const {
  return m_positions.empty() ? -1 : m_positions.back();
}

bool CSparseVector::SaveToFile(FILE* f) const {
  if (f == nullptr || m_positions.size() != m_values.size()) return false;
  if (m_positions.size() > static_cast<std::size_t>(INT_MAX)) return false;
  const std::int32_t count = static_cast<std::int32_t>(m_positions.size());
  if (std::fwrite(&count, sizeof count, 1, f) != 1) return false;
  if (count < 1) return true;
  const std::size_t c = static_cast<std::size_t>(count);
  return std::fwrite(m_positions.data(), sizeof(int), c, f) == c &&
         std::fwrite(m_values.data(), sizeof(double), c, f) == c;
}

bool CSparseVector::LoadFromFile(FILE* f) {
  Clear();
  if (f == nullptr) return false;
  std::int32_t count = 0;
  if (std::fread(&count, sizeof count, 1, f) != 1) return false;
  if (count < 1) return true;
  const std::size_t c = static_cast<std::size_t>(count);
  if (ReadChunked(f, c, m_positions) && ReadChunked(f, c, m_values)) return true;
  // Short read: leave a consistent, empty vector rather than lists of unequal length.
  Clear();
  return false;
}

}  // namespace REmath
