// SPDX-License-Identifier: MIT
// An indexed binary max-heap of caller-owned elements that carry their own key and heap
// position, so that queued elements can be re-keyed or removed in logarithmic time.
#pragma once

#include <qvmath/platform/export.h>

#include <vector>

/// Base of the elements of a `CfpHeap`: a key (initially 0.0) and the element's index in
/// the heap array (-1 when it is in no heap). The heap maintains the position; callers
/// only read it. Copying copies key and position alike: a copy of a queued element
/// claims a place it does not hold, so call `setOutofHeap()` on such a copy before
/// giving it to a heap.
class QVMATH_API CfpHeapMem {
 public:
  /// @return the key.
  double getHeapKey() const { return m_heapKey; }
  /// Sets the key without reordering; call `CfpHeap::update(e)` afterwards when queued.
  void setHeapKey(double key) { m_heapKey = key; }
  /// @return the index in the heap array, -1 when in no heap.
  int getHeapPos() const { return m_heapPos; }
  /// Sets the position; called by the heap (a caller changing it breaks the heap).
  void setHeapPos(int pos) { m_heapPos = pos; }
  /// @return true when the position is not -1.
  bool inHeap() const { return m_heapPos != -1; }
  /// Sets the position to -1.
  void setOutofHeap() { m_heapPos = -1; }

 private:
  double m_heapKey = 0.0;
  int m_heapPos = -1;
};

/// A binary max-heap of `CfpHeapMem*`: index 0 is the root, the children of i are 2i + 1
/// and 2i + 2, its parent (i - 1) / 2. Invariants: no key is smaller than a child's key,
/// and every queued element's position equals its index.
/// Ordering rules, kept exactly because they decide the order of equal keys (there is no
/// stable order): sifting up moves an element past a parent only when the parent's key
/// is strictly smaller; sifting down picks the right child only when its key is strictly
/// greater than the left one's (ties go left) and moves past it only when that child's
/// key is strictly greater than the element's. NaN keys break the ordering (positions
/// stay consistent).
/// An element belongs to at most one heap at a time; `remove` and `update` of an element
/// that is not in this heap change nothing.
/// Ownership: the heap never owns or frees its elements, which must outlive their stay in
/// it. Copying copies the array of pointers; the elements then record their positions in
/// both copies, so only one copy may be changed afterwards.
/// Thread safety: none; one thread at a time uses a heap and its elements.
class QVMATH_API CfpHeap {
 public:
  /// An empty heap.
  CfpHeap() = default;
  /// An empty heap with room for `n` elements (a capacity hint; n <= 0 means none).
  explicit CfpHeap(int n);

  /// @return the number of queued elements.
  int size() const { return static_cast<int>(m_heap.size()); }
  /// Sets e's key to `key`, appends e and sifts it up.
  /// @throws std::invalid_argument for a null e; std::logic_error when e is already in a
  ///         heap (its position is not -1); the heap is then unchanged.
  void insert(CfpHeapMem* e, double key);
  /// Inserts e with its current key; as `insert(e, key)`.
  void insert(CfpHeapMem* e);
  /// Removes the element with the largest key: the last entry replaces the root and is
  /// sifted down.
  /// @return the element, its position set to -1; null when the heap is empty.
  CfpHeapMem* extract();
  /// Removes e: the last entry takes e's place and is sifted down when e's key was
  /// greater than its own, else sifted up (removing the last entry moves nothing).
  /// @return e with position -1; null when e is null or not in this heap.
  CfpHeapMem* remove(CfpHeapMem* e);
  /// Sets e's key to `key` and restores the order: sifts up when e is not the root and
  /// its key is now greater than its parent's, else sifts down. When e is null or not in
  /// this heap nothing changes, not even its key.
  void update(CfpHeapMem* e, double key);
  /// Restores the order after the caller changed e's key with `setHeapKey`; as
  /// `update(e, key)` with e's current key.
  void update(CfpHeapMem* e);

 private:
  bool Holds(const CfpHeapMem* e) const;
  void SiftUp(int i);
  void SiftDown(int i);

  std::vector<CfpHeapMem*> m_heap;
};
