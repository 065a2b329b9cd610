// SPDX-License-Identifier: MIT
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <qvmath/platform/temp_file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Runs each test with TMP and TMPDIR saved and restored, and a private empty directory.
class TempFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int i = 0; i < 2; ++i) m_old[i] = std::getenv(kVars[i]) ? std::getenv(kVars[i]) : "";
    char pattern[] = "/tmp/qvmath_tempfile_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    m_dir = pattern;
  }
  void TearDown() override {
    EXPECT_EQ(rmdir(m_dir.c_str()), 0) << "files left in " << m_dir;
    for (int i = 0; i < 2; ++i)
      m_old[i].empty() ? unsetenv(kVars[i]) : setenv(kVars[i], m_old[i].c_str(), 1);
  }
  int DirEntries() const {
    DIR* d = opendir(m_dir.c_str());
    int n = 0;
    while (const dirent* e = readdir(d)) n += e->d_name[0] != '.';
    closedir(d);
    return n;
  }
  static std::string LinkOf(std::FILE* f) {
    char link[4096];
    const ssize_t n = readlink(("/proc/self/fd/" + std::to_string(fileno(f))).c_str(), link, 4096);
    return std::string(link, static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
  }

  static constexpr const char* kVars[2] = {"TMP", "TMPDIR"};
  std::string m_dir;

 private:
  std::string m_old[2];
};

}  // namespace

TEST_F(TempFileTest, Directory_TmpThenTmpdirThenSlashTmp) {
  setenv("TMP", "/a", 1);
  setenv("TMPDIR", "/b", 1);
  EXPECT_EQ(KorvaTempDirectory(), "/a");
  setenv("TMP", "", 1);  // empty counts as unset
  EXPECT_EQ(KorvaTempDirectory(), "/b");
  unsetenv("TMPDIR");
  EXPECT_EQ(KorvaTempDirectory(), "/tmp");
}

TEST_F(TempFileTest, File_UniqueUnlinkedPrivateAndGoneOnClose) {
  setenv("TMP", m_dir.c_str(), 1);
  std::FILE* a = KorvaOpenTempFile("Prefix_");
  std::FILE* b = KorvaOpenTempFile("Prefix_", ETempFileAccess::kSequential);
  ASSERT_TRUE(a && b);
  EXPECT_EQ(DirEntries(), 0);  // no name in the directory, even while open
  const std::string linkA = LinkOf(a), linkB = LinkOf(b);
  EXPECT_EQ(linkA.rfind(m_dir + "/Prefix_", 0), 0u) << linkA;
  EXPECT_NE(linkA.find(" (deleted)"), std::string::npos) << linkA;
  EXPECT_NE(linkA, linkB);
  EXPECT_NE(fcntl(fileno(a), F_GETFD) & FD_CLOEXEC, 0);

  std::fputs("second", b);
  char buf[8] = {};
  std::rewind(b);
  EXPECT_EQ(std::fread(buf, 1, 7, b), 6u);
  EXPECT_STREQ(buf, "second");
  std::fclose(a);
  std::fclose(b);
}

TEST_F(TempFileTest, Failure_NullWithErrno) {
  setenv("TMP", (m_dir + "/missing").c_str(), 1);
  errno = 0;
  EXPECT_EQ(KorvaOpenTempFile("x"), nullptr);
  EXPECT_EQ(errno, ENOENT);
  setenv("TMP", m_dir.c_str(), 1);
  errno = 0;
  EXPECT_EQ(KorvaOpenTempFile("sub/x"), nullptr);  // a prefix may not leave the directory
  EXPECT_EQ(errno, EINVAL);
}
