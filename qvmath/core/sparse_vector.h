// SPDX-License-Identifier: MIT
// CSparseVector: a vector of doubles held by its stored entries only (ascending positions
// and parallel values), with lookup, walking and a compact binary file format.
#pragma once

#include <qvmath/platform/export.h>

#include <cstdio>
#include <vector>

namespace REmath {

/// A vector of doubles stored as a list of ascending positions and a parallel list of
/// values; every position not stored reads as 0.
///
/// Invariant: both lists have the same length and the positions ascend strictly.
/// `GetElement` relies on it (binary search); `SetElementNoIdxSearch` appends without
/// enforcing it, so keeping the order is then the caller's duty. With the order broken,
/// lookups may miss stored entries but stay within the lists.
///
/// File format (`SaveToFile`/`LoadFromFile`), no header and no version, native byte order
/// (little-endian on every supported platform): a signed 32-bit count c, then c signed
/// 32-bit positions, then c IEEE doubles.
///
/// Ownership: the vector owns both lists; copies are deep. Thread safety: none (a value
/// type); concurrent const calls are safe.
class QVMATH_API CSparseVector {
 public:
  /// An empty vector.
  CSparseVector() = default;
  /// The same as `AssignByVector(n, v)`.
  CSparseVector(int n, const double* v);
  CSparseVector(const CSparseVector& other) = default;
  CSparseVector& operator=(const CSparseVector& other) = default;
  virtual ~CSparseVector();

  /// Empties both lists; their capacity is kept.
  void Clear();
  /// The same observable effect as `Clear()`: both lists resized to length 0, capacity kept.
  void Reset();
  /// Reserves room for k entries in both lists (k < 1 does nothing).
  void ReserveNonZeroElem(int k);
  /// Replaces the contents by the dense v[0..n): `Clear()`, a reservation sized by the
  /// number of elements that are neither zero nor NaN, then every element appended with
  /// its position through `SetElementNoIdxSearch` — zeros included, so that afterwards
  /// `GetNOfNonZeroElements()` is n. Storing the zeros is the library's established
  /// behaviour and is kept deliberately. n < 1 (or a null v) leaves the vector empty.
  void AssignByVector(int n, const double* v);
  /// Appends (pos, value) at the end of both lists, without searching or sorting; a zero
  /// value is stored like any other. The caller keeps the positions ascending.
  void SetElementNoIdxSearch(int pos, double value);
  /// @return the value stored at pos (binary search), 0 when pos is not stored.
  double GetElement(int pos) const;
  /// @return the number of stored entries (zeros included).
  int GetNOfNonZeroElements() const { return static_cast<int>(m_positions.size()); }
  /// @return the position of the k-th stored entry; 0 <= k < `GetNOfNonZeroElements()`,
  ///         not checked (as the element access of the dense vectors).
  int GetNonZeroPos(int k) const { return m_positions[k]; }
  /// The k-th stored entry: its value and its position; k as for `GetNonZeroPos`.
  void GetNonZeroElementAndPos(int k, double& value, int& pos) const;
  /// @return the first stored position; 2147483647 (the largest int) when nothing is
  ///         stored.
  int GetMinNonZeroIdx() const;
  /// @return the last stored position; −1 when nothing is stored. The asymmetry with
  ///         `GetMinNonZeroIdx` is deliberate: an empty vector has min > max, so loops
  ///         from min to max do nothing.
  int GetMaxNonZeroIdx() const;

  /// Writes the vector in the file format above at the current position of f.
  /// @return true on success; false, writing nothing, when the two lists differ in length
  ///         or f is null; false when a write fails (then a part may have been written).
  bool SaveToFile(FILE* f) const;
  /// Empties the vector, then reads one vector in the file format above from the current
  /// position of f. A count below 1 gives an empty vector. The positions are taken as
  /// read (their order is not checked, so that what `SaveToFile` wrote always loads).
  /// Memory grows with the data actually read, never with the count alone, so a corrupt
  /// count cannot trigger a huge allocation.
  /// @return true on success (also for a count below 1); false when f is null or the
  ///         stream ends early (a truncated or corrupt file); the vector is then empty.
  bool LoadFromFile(FILE* f);

 protected:
  /// @return the index of pos in the lists, −1 when pos is not stored.
  int GetCompactIdx(int pos) const;
  /// True when x compares equal to 0; a NaN is reported as zero too.
  bool IsElementZero(double x) const { return !(x < 0.0 || x > 0.0); }

  std::vector<int> m_positions;  ///< positions of the stored entries, ascending
  std::vector<double> m_values;  ///< values of the stored entries, parallel to m_positions
};

}  // namespace REmath
