// SPDX-License-Identifier: MIT
#include <qvmath/cloud/detail/file_bytes.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace REmath {
namespace detail {

namespace {
struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
std::string Reason() { return errno ? std::strerror(errno) : "input/output error"; }
}  // namespace

void ReadFileBytes(const std::string& path, std::vector<unsigned char>& bytes) {
  errno = 0;
  std::unique_ptr<std::FILE, FileCloser> f(std::fopen(path.c_str(), "rb"));
  if (!f) throw ECloudFileError(path + ": cannot open: " + Reason());
  // The size comes from seeking to the end, so the buffer is allocated once; a file that
  // cannot seek (a pipe) is read in chunks instead.
  bytes.clear();
  if (std::fseek(f.get(), 0, SEEK_END) == 0) {
    const long size = std::ftell(f.get());
    if (size > 0) bytes.reserve(static_cast<std::size_t>(size));
    std::fseek(f.get(), 0, SEEK_SET);
  }
  unsigned char chunk[1 << 16];
  for (;;) {
    const std::size_t got = std::fread(chunk, 1, sizeof chunk, f.get());
    bytes.insert(bytes.end(), chunk, chunk + got);
    if (got < sizeof chunk) break;
  }
  if (std::ferror(f.get())) throw ECloudFileError(path + ": read failed: " + Reason());
}

void WriteFileBytes(const std::string& path, const unsigned char* bytes, std::size_t size) {
  errno = 0;
  std::unique_ptr<std::FILE, FileCloser> f(std::fopen(path.c_str(), "wb"));
  if (!f) throw ECloudFileError(path + ": cannot create: " + Reason());
  if (size && std::fwrite(bytes, 1, size, f.get()) != size)
    throw ECloudFileError(path + ": write failed: " + Reason());
  if (std::fclose(f.release()) != 0) throw ECloudFileError(path + ": write failed: " + Reason());
}

}  // namespace detail
}  // namespace REmath
