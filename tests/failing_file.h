// SPDX-License-Identifier: MIT
// A FILE* over bytes in memory whose reads, writes and seeks fail on demand, for testing
// how code reading and writing standard I/O streams handles failures.
#pragma once

#include <sys/types.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace qvtest {

/// An unbuffered FILE* (glibc fopencookie) over `bytes` whose transfers fail on demand:
/// `reads` and `writes` are the numbers of bytes that can still be transferred (a transfer
/// reaching the limit is cut short, every later one fails), `seeks` the number of seeks
/// and position queries that still succeed; -1 is unlimited. Unbuffered, so every fread,
/// fwrite and fseek of the code under test meets the budgets at once.
class FailingFile {
 public:
  explicit FailingFile(std::vector<unsigned char> initial = {}) : bytes(std::move(initial)) {
    cookie_io_functions_t io{&Read, &Write, &Seek, nullptr};
    m_file = fopencookie(this, "r+", io);
    std::setvbuf(m_file, nullptr, _IONBF, 0);
  }
  ~FailingFile() { std::fclose(m_file); }
  FailingFile(const FailingFile&) = delete;
  FailingFile& operator=(const FailingFile&) = delete;

  std::FILE* get() const { return m_file; }
  void Rewind() {
    std::clearerr(m_file);
    std::fseek(m_file, 0, SEEK_SET);
  }

  std::vector<unsigned char> bytes;
  int reads = -1, writes = -1, seeks = -1;

 private:
  // Once spent, a budget stays spent: the C library may retry a failed call.
  static bool Spend(int& budget) {
    if (budget < 0) return true;
    if (budget == 0) return false;
    --budget;
    return true;
  }
  // The part of `size` bytes that a byte budget still allows.
  static size_t Allow(int budget, size_t size) {
    return budget < 0 ? size : std::min(size, static_cast<size_t>(budget));
  }
  static ssize_t Read(void* c, char* buf, size_t size) {
    auto* f = static_cast<FailingFile*>(c);
    if (f->reads == 0) return -1;
    const size_t left = f->m_pos >= f->bytes.size() ? 0 : f->bytes.size() - f->m_pos;
    const size_t n = Allow(f->reads, std::min(size, left));
    if (n) std::memcpy(buf, f->bytes.data() + f->m_pos, n);
    if (f->reads > 0) f->reads -= static_cast<int>(n);
    f->m_pos += n;
    return static_cast<ssize_t>(n);
  }
  static ssize_t Write(void* c, const char* buf, size_t size) {
    auto* f = static_cast<FailingFile*>(c);
    const size_t n = Allow(f->writes, size);  // 0 reports the failure (never < 0)
    if (f->m_pos + n > f->bytes.size()) f->bytes.resize(f->m_pos + n);
    if (n) std::memcpy(f->bytes.data() + f->m_pos, buf, n);
    if (f->writes > 0) f->writes -= static_cast<int>(n);
    f->m_pos += n;
    return static_cast<ssize_t>(n);
  }
  static int Seek(void* c, off64_t* offset, int whence) {
    auto* f = static_cast<FailingFile*>(c);
    if (!Spend(f->seeks)) return -1;
    const off64_t base = whence == SEEK_SET   ? 0
                         : whence == SEEK_CUR ? static_cast<off64_t>(f->m_pos)
                                              : static_cast<off64_t>(f->bytes.size());
    if (base + *offset < 0) return -1;
    f->m_pos = static_cast<size_t>(base + *offset);
    *offset = base + *offset;
    return 0;
  }

  std::FILE* m_file;
  size_t m_pos = 0;
};

}  // namespace qvtest
