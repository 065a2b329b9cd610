// SPDX-License-Identifier: MIT
#include <qvmath/infra/extern_vector.h>
#include <qvmath/platform/temp_file.h>
#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <list>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

namespace KorvaExtVec {

namespace {

// The largest element count: counts stay addressable by a signed 32-bit index.
constexpr unsigned int kMaxCount = 0x7FFFFFFFu;

// Every failure of a file-backed vector is an allocation failure, with the text the
// library has always reported.
class CExtVecFailure : public std::bad_alloc {
 public:
  const char* what() const noexcept override { return "bad allocation"; }
};

[[noreturn]] void Fail() { throw CExtVecFailure(); }

// A cache entry. A lock count of -1 marks a free entry, whose buffer is kept for reuse.
// The handle given to the caller is not an address but a ticket: a number drawn from a
// per-vector counter that never repeats (not even across clear()), stored in the entry
// while the lock lives. A handle is found by its ticket among the live entries, so a
// stale handle (its lock ended, its entry reused by another element, or the cache freed
// by clear()) matches nothing and is refused instead of being dereferenced or counting
// down someone else's lock.
struct SCacheEntry {
  bool dirty = false;
  unsigned int index = 0;
  int lockCount = -1;
  std::uintptr_t ticket = 0;
  std::unique_ptr<unsigned char[]> buffer;
};

class FileVectorVoid final : public ExternVectorVoidInterface {
 public:
  explicit FileVectorVoid(unsigned int elementSize) : m_elementSize(elementSize) {}
  ~FileVectorVoid() override { clear(); }

  void reserve(unsigned int count) override;
  void resize(unsigned int count, const void* fill) override;
  unsigned int size() const override { return m_size; }
  unsigned int capacity() const override { return m_capacity; }
  void clear() override;
  void* lock(unsigned int index, void*& handle) override;
  void* addRef(void* handle) override;
  void release(bool modified, void* handle) override;

 private:
  void CreateFile();
  void Seek(off_t offset, int whence);
  void PositionAt(unsigned int index);
  void RefreshPosition();
  void ExtendByZeroByte(std::uint64_t bytes);
  SCacheEntry& Live(void* handle);
  off_t Bytes(std::uint64_t elements) const { return static_cast<off_t>(elements * m_elementSize); }

  const unsigned int m_elementSize;
  unsigned int m_size = 0;
  unsigned int m_capacity = 0;
  std::uint64_t m_positionBytes = 0;  // file position, refreshed after every file operation
  unsigned int m_positionElements = 0;
  std::FILE* m_file = nullptr;
  std::list<SCacheEntry> m_cache;
  // Tickets of locks ended by a shrinking resize, until clear(): releasing one does nothing.
  std::vector<std::uintptr_t> m_droppedTickets;
  // The last ticket handed out; 0 is never a ticket, so a null handle matches nothing.
  std::uintptr_t m_lastTicket = 0;
};

void FileVectorVoid::CreateFile() {
  m_file = KorvaOpenTempFile("Korva_FileVectorVoid", ETempFileAccess::kRandom);
  if (!m_file) Fail();
  // One element of stream buffer (the runtime needs at least 2 bytes): elements live in
  // the cache, and a bigger buffer would only hold stale copies of them.
  if (std::setvbuf(m_file, nullptr, _IOFBF, std::max(m_elementSize, 2u)) != 0) {
    std::fclose(m_file);
    m_file = nullptr;
    Fail();
  }
  m_positionBytes = 0;
  m_positionElements = 0;
}

void FileVectorVoid::Seek(off_t offset, int whence) {
  if (fseeko(m_file, offset, whence) != 0) Fail();
}

void FileVectorVoid::RefreshPosition() {
  const off_t position = ftello(m_file);
  if (position < 0) Fail();
  m_positionBytes = static_cast<std::uint64_t>(position);
  m_positionElements = static_cast<unsigned int>(m_positionBytes / m_elementSize);
}

// A seek is needed between a read and a write on one stream even when the position does
// not change, hence the zero move; the next element is reached by a relative move, any
// other by an absolute one.
void FileVectorVoid::PositionAt(unsigned int index) {
  if (index == m_positionElements) {
    Seek(0, SEEK_CUR);
  } else if (index == m_positionElements + 1) {
    Seek(static_cast<off_t>(m_elementSize), SEEK_CUR);
  } else {
    Seek(Bytes(index), SEEK_SET);
  }
  RefreshPosition();
}

// Grows the file by `bytes` (> 0) from the current position: a move to the last new byte
// and one zero byte written there, so the system allocates nothing in between.
void FileVectorVoid::ExtendByZeroByte(std::uint64_t bytes) {
  Seek(static_cast<off_t>(bytes - 1), SEEK_CUR);
  const unsigned char zero = 0;
  if (std::fwrite(&zero, 1, 1, m_file) != 1) Fail();
}

void FileVectorVoid::reserve(unsigned int count) {
  if (count <= m_capacity) return;
  if (count > kMaxCount) Fail();
  if (m_capacity == 0) {
    m_size = 0;
    m_capacity = 0;
    if (!m_file) CreateFile();
  }
  Seek(0, SEEK_END);
  ExtendByZeroByte(static_cast<std::uint64_t>(Bytes(count - m_capacity)));
  // Growth is flushed at once so that a full disk is reported by the call that hit it.
  if (std::fflush(m_file) != 0) Fail();
  m_capacity = count;
  RefreshPosition();
}

void FileVectorVoid::resize(unsigned int count, const void* fill) {
  if (count > m_capacity) {
    if (count > kMaxCount) Fail();
    reserve(std::max(count, std::min(2 * m_capacity, kMaxCount)));
  }
  if (count > m_size) {
    PositionAt(m_size);
    if (fill) {
      for (unsigned int i = m_size; i < count; ++i) {
        if (std::fwrite(fill, m_elementSize, 1, m_file) != 1) Fail();
      }
    } else {
      ExtendByZeroByte(static_cast<std::uint64_t>(Bytes(count - m_size)));
    }
    if (std::fflush(m_file) != 0) Fail();
    RefreshPosition();
  } else {
    for (SCacheEntry& entry : m_cache) {
      if (entry.lockCount < 0 || entry.index < count) continue;
      if (entry.lockCount > 0) m_droppedTickets.push_back(entry.ticket);
      entry.lockCount = -1;
      entry.ticket = 0;
    }
  }
  m_size = count;
}

void FileVectorVoid::clear() {
  // Closing is the deletion (the file has no name); a failing close has nothing left to
  // report to.
  if (m_file) std::fclose(m_file);
  m_file = nullptr;
  m_cache.clear();
  m_droppedTickets.clear();
  m_size = 0;
  m_capacity = 0;
  m_positionBytes = 0;
  m_positionElements = 0;
}

void* FileVectorVoid::lock(unsigned int index, void*& handle) {
  if (index >= m_size) throw std::out_of_range("KorvaExtVec: element index beyond the size");
  SCacheEntry* freeEntry = nullptr;
  for (SCacheEntry& entry : m_cache) {
    if (entry.lockCount >= 0) {
      if (entry.index == index) {
        ++entry.lockCount;
        handle = reinterpret_cast<void*>(entry.ticket);
        return entry.buffer.get();
      }
    } else if (!freeEntry) {
      freeEntry = &entry;
    }
  }
  if (!freeEntry) freeEntry = &m_cache.emplace_back();
  if (!freeEntry->buffer) freeEntry->buffer.reset(new unsigned char[m_elementSize]);
  PositionAt(index);
  if (std::fread(freeEntry->buffer.get(), m_elementSize, 1, m_file) != 1) Fail();
  RefreshPosition();
  freeEntry->index = index;
  freeEntry->dirty = false;
  freeEntry->lockCount = 1;
  freeEntry->ticket = ++m_lastTicket;
  handle = reinterpret_cast<void*>(freeEntry->ticket);
  return freeEntry->buffer.get();
}

// The live entry of a handle. The cache holds only the elements locked at once plus
// free buffers, so the scan costs what the one in lock() costs.
SCacheEntry& FileVectorVoid::Live(void* handle) {
  if (!handle) throw std::invalid_argument("KorvaExtVec: null handle");
  const std::uintptr_t ticket = reinterpret_cast<std::uintptr_t>(handle);
  for (SCacheEntry& entry : m_cache)
    if (entry.lockCount > 0 && entry.ticket == ticket) return entry;
  throw std::logic_error("KorvaExtVec: stale handle (its lock has ended)");
}

void* FileVectorVoid::addRef(void* handle) {
  SCacheEntry& entry = Live(handle);
  ++entry.lockCount;
  return entry.buffer.get();
}

void FileVectorVoid::release(bool modified, void* handle) {
  const std::uintptr_t ticket = reinterpret_cast<std::uintptr_t>(handle);
  if (handle &&
      std::find(m_droppedTickets.begin(), m_droppedTickets.end(), ticket) != m_droppedTickets.end())
    return;  // dropped by a shrinking resize
  SCacheEntry& entry = Live(handle);
  if (modified) entry.dirty = true;
  if (--entry.lockCount > 0) return;
  // Freed before the write: should the write fail, the cache is still consistent.
  entry.lockCount = -1;
  entry.ticket = 0;
  if (!entry.dirty) return;
  entry.dirty = false;
  PositionAt(entry.index);
  if (std::fwrite(entry.buffer.get(), m_elementSize, 1, m_file) != 1) Fail();
  RefreshPosition();
}

}  // namespace

ExternVectorVoidInterface::~ExternVectorVoidInterface() = default;

ExternVectorVoidInterface* CreateExternVectorVoid(unsigned int elementSize) {
  if (elementSize == 0) Fail();
  return new FileVectorVoid(elementSize);
}

}  // namespace KorvaExtVec
