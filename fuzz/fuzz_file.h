// SPDX-License-Identifier: MIT
// Helpers of the fuzz targets: a read-only FILE* over the input bytes that behaves like a
// regular file, and a check that stops the run so that libFuzzer keeps the input.
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

/// Aborts with the failed condition: libFuzzer reports it as a crash and saves the input.
#define QVFUZZ_CHECK(cond)                                                          \
  do {                                                                              \
    if (!(cond)) {                                                                  \
      std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      std::abort();                                                                 \
    }                                                                               \
  } while (0)

namespace qvfuzz {

/// A read-only `FILE*` over data[0..size), closed by the destructor. It follows a regular
/// file opened "rb" (not `fmemopen`): a seek beyond the end succeeds and reads there give
/// nothing, a seek before the start fails. No system calls, so the runs stay fast.
class MemoryFile {
 public:
  MemoryFile(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {
    const cookie_io_functions_t io = {&Read, nullptr, &Seek, nullptr};
    m_file = fopencookie(this, "rb", io);
    QVFUZZ_CHECK(m_file != nullptr);
  }
  ~MemoryFile() { std::fclose(m_file); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::FILE* get() const { return m_file; }
  std::int64_t size() const { return static_cast<std::int64_t>(m_size); }

 private:
  static ssize_t Read(void* cookie, char* buf, std::size_t n) {
    auto* f = static_cast<MemoryFile*>(cookie);
    if (f->m_pos >= f->size()) return 0;
    const std::size_t k = n < static_cast<std::size_t>(f->size() - f->m_pos)
                              ? n
                              : static_cast<std::size_t>(f->size() - f->m_pos);
    std::memcpy(buf, f->m_data + f->m_pos, k);
    f->m_pos += static_cast<std::int64_t>(k);
    return static_cast<ssize_t>(k);
  }
  static int Seek(void* cookie, off64_t* offset, int whence) {
    auto* f = static_cast<MemoryFile*>(cookie);
    const std::int64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? f->m_pos : f->size();
    // Offsets stay far below 2^62 here (32-bit skips over small inputs): no overflow.
    const std::int64_t to = base + static_cast<std::int64_t>(*offset);
    if (to < 0) {
      errno = EINVAL;
      return -1;
    }
    f->m_pos = to;
    *offset = to;
    return 0;
  }

  const std::uint8_t* m_data;
  std::size_t m_size;
  std::int64_t m_pos = 0;
  std::FILE* m_file;
};

}  // namespace qvfuzz
