// SPDX-License-Identifier: MIT
// A FILE* over bytes in memory whose reads, writes and seeks fail on demand, for testing
// how code reading and writing standard I/O streams handles failures.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include <sys/types.h>

namespace qvtest {

/// An unbuffered FILE* (glibc fopencookie) over `bytes`. Each kind of operation has a
/// budget: the number of calls that still succeed before every further call of that kind
/// fails (-1: unlimited). The stream is unbuffered, so each fread/fwrite/fseek of the code
/// under test reaches the budget at once.
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
  static bool Spend(int& budget) { return budget < 0 || budget-- > 0; }
  static ssize_t Read(void* c, char* buf, size_t size) {
    auto* f = static_cast<FailingFile*>(c);
    if (!Spend(f->reads)) return -1;
    const size_t n = f->m_pos >= f->bytes.size() ? 0 : std::min(size, f->bytes.size() - f->m_pos);
    if (n) std::memcpy(buf, f->bytes.data() + f->m_pos, n);
    f->m_pos += n;
    return static_cast<ssize_t>(n);
  }
  static ssize_t Write(void* c, const char* buf, size_t size) {
    auto* f = static_cast<FailingFile*>(c);
    if (!Spend(f->writes)) return -1;
    if (f->m_pos + size > f->bytes.size()) f->bytes.resize(f->m_pos + size);
    std::memcpy(f->bytes.data() + f->m_pos, buf, size);
    f->m_pos += size;
    return static_cast<ssize_t>(size);
  }
  static int Seek(void* c, off64_t* offset, int whence) {
    auto* f = static_cast<FailingFile*>(c);
    if (!Spend(f->seeks)) return -1;
    const off64_t base = whence == SEEK_SET ? 0
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
