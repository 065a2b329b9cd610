// SPDX-License-Identifier: MIT
// Vectors of fixed-size untyped elements whose contents live in a self-deleting temporary
// file instead of memory; elements are locked one at a time into a small cache.
#pragma once

#include <qvmath/platform/export.h>

namespace KorvaExtVec {

/// A vector of `elementSize`-byte elements stored in a temporary file. Elements are
/// reached by locking: `lock(i, h)` returns a buffer holding element i, the caller reads
/// or writes it and ends the lock with `release(modified, h)`. Locks nest: locking an
/// element that is already locked returns the same buffer and handle and counts one more
/// lock, as does `addRef(h)`. A modified element is written back to the file when its
/// last lock is released; the "modified" mark sticks until then, so a later
/// `release(false, h)` still writes it. Memory use is the number of simultaneously
/// locked elements times the element size (buffers of released elements are kept for
/// reuse until `clear()`).
///
/// The file is created by the first `reserve` or growing `resize` (a fresh vector has
/// size and capacity 0 and no file): a unique file in the temporary directory (TMP, then
/// TMPDIR, then /tmp) whose name begins with "Korva_FileVectorVoid", created exclusively
/// and unlinked at once, so that closing it (`clear()`, destruction, or the end of the
/// process) deletes it. The access hint is "random"; the stream buffer holds one element
/// (at least 2 bytes), so every lock of an element not in the cache reads the file and
/// every write-back writes it.
///
/// Failure form: every input/output failure (no temporary file, a failing seek, read or
/// write, disk full or a file-size limit included) and every count above 0x7FFFFFFF
/// throws `std::bad_alloc` with the text "bad allocation": callers treat an external
/// vector as memory. `reserve` and `resize` flush what they wrote, so they report a full
/// disk themselves; the write-back of a `release` leaves the one-element stream buffer
/// at the next operation that reaches the file, which then reports its failure. The state after
/// such a failure is not repaired: discard the vector. Misuse is reported otherwise (below).
///
/// Ownership: the caller owns the vector (delete through the virtual destructor); buffers
/// returned by `lock` belong to the vector and stay valid while the element is locked.
/// A handle is valid from its `lock` to the release that ends the element's last lock (or
/// to a `clear()`). Handles are never reused within one vector, also across `clear()`: a
/// stale handle is detected and refused with `std::logic_error` by `addRef` and `release`,
/// never confused with a later lock that reuses the same cache buffer.
/// Not copyable. Thread safety: none; one thread at a time uses a vector.
/// Virtual operations in slot order: the destructor, `reserve`, `resize`, `size`,
/// `capacity`, `clear`, `lock`, `addRef`, `release`.
class QVMATH_API ExternVectorVoidInterface {
 public:
  virtual ~ExternVectorVoidInterface();
  ExternVectorVoidInterface(const ExternVectorVoidInterface&) = delete;
  ExternVectorVoidInterface& operator=(const ExternVectorVoidInterface&) = delete;

  /// Makes the file hold at least `count` elements (the capacity); never shrinks.
  /// Reserved elements beyond the size are not reachable until a `resize` covers them.
  /// @throws std::bad_alloc on failure and for count > 0x7FFFFFFF.
  virtual void reserve(unsigned int count) = 0;
  /// Sets the size to `count`. Growing beyond the capacity first reserves
  /// max(count, min(2 x capacity, 0x7FFFFFFF)) elements (10 -> 12 reserves 20; 10 -> 30
  /// reserves 30). New elements are copies of fill[0..elementSize); with a null fill their
  /// contents are unspecified (zero bytes where the file never held data, otherwise what
  /// it held before). Shrinking drops the cached elements at or beyond `count` without
  /// writing them back, locked or not: a lock dropped this way ends at once (a later
  /// `release` of its handle does nothing, `addRef` throws) and its buffer may be reused.
  /// @throws std::bad_alloc on failure and for count > 0x7FFFFFFF.
  virtual void resize(unsigned int count, const void* fill) = 0;
  /// @return the number of elements.
  virtual unsigned int size() const = 0;
  /// @return the number of elements the file holds.
  virtual unsigned int capacity() const = 0;
  /// Closes (and so deletes) the file and frees every cache buffer; size and capacity
  /// become 0. Every handle and buffer handed out before becomes invalid.
  virtual void clear() = 0;
  /// Locks element `index` into memory.
  /// @param[out] handle the lock's handle, for `addRef` and `release`.
  /// @return the element's buffer of elementSize bytes.
  /// @throws std::out_of_range when index >= size(); std::bad_alloc on failure.
  virtual void* lock(unsigned int index, void*& handle) = 0;
  /// Adds one lock to the element of `handle`, which must be locked.
  /// @return the element's buffer.
  /// @throws std::invalid_argument for a null handle; std::logic_error("KorvaExtVec: stale
  ///         handle (its lock has ended)") when the handle's lock has ended.
  virtual void* addRef(void* handle) = 0;
  /// Ends one lock of the element of `handle`; `modified` marks the buffer for
  /// write-back. The last release of a marked element writes it to the file. Releasing a
  /// lock dropped by a shrinking `resize` does nothing.
  /// @throws std::invalid_argument for a null handle; std::logic_error as `addRef` for a
  ///         stale handle (nothing changes); std::bad_alloc when the write-back fails (the
  ///         element's lock has ended all the same).
  virtual void release(bool modified, void* handle) = 0;

 protected:
  ExternVectorVoidInterface() = default;
};

/// Creates an empty file-backed vector of `elementSize`-byte elements (no file yet).
/// @return the vector, owned by the caller.
/// @throws std::bad_alloc ("bad allocation") when elementSize is 0.
QVMATH_API ExternVectorVoidInterface* CreateExternVectorVoid(unsigned int elementSize);

}  // namespace KorvaExtVec
