// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <qvmath/platform/temp_file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

std::string KorvaTempDirectory() {
  for (const char* var : {"TMP", "TMPDIR"}) {
    const char* dir = std::getenv(var);
    if (dir && *dir) return dir;
  }
  return "/tmp";
}

std::FILE* KorvaOpenTempFile(const char* prefix, ETempFileAccess access) {
  if (!prefix) prefix = "";
  if (std::strchr(prefix, '/')) {
    errno = EINVAL;
    return nullptr;
  }
  const std::string pattern = KorvaTempDirectory() + "/" + prefix + "XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  // mkstemp opens with O_CREAT | O_EXCL and mode 0600 and retries on a name clash, so
  // two processes (or threads) can never end up sharing one file.
  const int fd = mkstemp(name.data());
  if (fd < 0) return nullptr;
  // Unlink before anything else can fail: from here on, closing the descriptor is the
  // deletion, whatever happens to the process.
  unlink(name.data());
  if (fcntl(fd, F_SETFD, FD_CLOEXEC) != 0) {
    const int err = errno;
    close(fd);
    errno = err;
    return nullptr;
  }
#if defined(POSIX_FADV_RANDOM) && defined(POSIX_FADV_SEQUENTIAL)
  // A hint only: its failure changes nothing about correctness, so it is not checked.
  if (access == ETempFileAccess::kRandom) {
    (void)posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
  } else if (access == ETempFileAccess::kSequential) {
    (void)posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
  }
#else
  (void)access;
#endif
  std::FILE* file = fdopen(fd, "w+b");
  if (!file) {
    const int err = errno;
    close(fd);
    errno = err;
  }
  return file;
}
