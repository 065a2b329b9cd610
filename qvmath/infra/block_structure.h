// SPDX-License-Identifier: MIT
// The block structure of the block processor: the host's block descriptors and fragments as
// interfaces, the iterator Block_iter, and CBlockStructure (order and concurrency of blocks).
#pragma once

#include <qvmath/platform/export.h>

namespace BlockProc {

class CBlockStructure;

/// Describes one block (fragment) of the host's data set. The framework identifies a block
/// by the address of its descriptor and never copies or frees descriptors.
class QVMATH_API IKorvaFragmentDescriptor_Old {
 public:
  virtual ~IKorvaFragmentDescriptor_Old();
};

/// An extracted copy of a block's data (see `CBlockProcessor::ExtractBlock`); the framework
/// deletes it through this virtual destructor when the block is done.
class QVMATH_API IKorvaFragment_Old {
 public:
  virtual ~IKorvaFragment_Old();
};

/// A position in a block structure: the current descriptor (null at the end) and the owning
/// structure, which defines the successor. Plain value; owns nothing.
class QVMATH_API Block_iter {
 public:
  /// Both members null.
  Block_iter() : m_desc(nullptr), m_structure(nullptr) {}
  /// The position of `desc` in `structure`.
  Block_iter(IKorvaFragmentDescriptor_Old* desc, CBlockStructure* structure)
      : m_desc(desc), m_structure(structure) {}

  /// Moves to the successor that the structure's `Next` names. Nothing at the end (null
  /// descriptor or structure).
  Block_iter& operator++();
  /// As the prefix form; returns the position before the move.
  Block_iter operator++(int);
  /// @return true when descriptor and structure are both equal.
  bool operator==(const Block_iter& other) const {
    return m_desc == other.m_desc && m_structure == other.m_structure;
  }
  bool operator!=(const Block_iter& other) const { return !(*this == other); }
  /// @return the descriptor; the position must not be the end.
  IKorvaFragmentDescriptor_Old& operator*() const { return *m_desc; }
  /// @return the descriptor (null at the end).
  operator const IKorvaFragmentDescriptor_Old*() const { return m_desc; }

  /// @return the descriptor (null at the end).
  IKorvaFragmentDescriptor_Old* Descriptor() const { return m_desc; }
  /// @return the owning structure.
  CBlockStructure* Structure() const { return m_structure; }

 private:
  IKorvaFragmentDescriptor_Old* m_desc;
  CBlockStructure* m_structure;
};

/// Which blocks exist, in what order, and which may be processed at the same time.
/// The host derives from it. Blocks are its descriptors, visited from `begin()` to `end()`
/// by `Next`; every block must appear once (the framework tells blocks apart by the
/// descriptor's address).
///
/// Ownership: the structure owns its descriptors; the processor holds the structure without
/// owning it. Copyable (the host's data decide what a copy means).
/// Thread safety: the processor calls `CanProcessTogether` and `Next` only under its block
/// lock, `ResetForPass` and the iteration from the managing thread between passes.
class QVMATH_API CBlockStructure {
 public:
  /// The block after `desc` in iteration order; null after the last block. `Block_iter`'s
  /// increment asks for it.
  virtual IKorvaFragmentDescriptor_Old* Next(IKorvaFragmentDescriptor_Old* desc) = 0;
  virtual ~CBlockStructure();
  /// Called at the start of every pass, before the processor resets its hand-out state.
  virtual void ResetForPass() = 0;
  /// @return true when block `a` may be processed while block `b` is being processed.
  ///         Must be false for a block against itself. Called under the block lock.
  virtual bool CanProcessTogether(const IKorvaFragmentDescriptor_Old& a,
                                  const IKorvaFragmentDescriptor_Old& b) = 0;
  /// The number of blocks, for the host's own bookkeeping: the framework counts blocks by
  /// iterating and never calls it.
  virtual int GetBlockNumber() const = 0;
  /// @return the position of the first block (equal to `end()` when there is none).
  virtual Block_iter begin() = 0;
  /// @return the position past the last block: normally `Block_iter(nullptr, this)`.
  virtual Block_iter end() = 0;
  /// @return the zero-based index of `it` in iteration order, -1 when iteration from
  ///         `begin()` never reaches it. The default walks from `begin()` (linear time);
  ///         structures with random access should override it.
  virtual int BlockIndex(Block_iter it);
};

}  // namespace BlockProc
