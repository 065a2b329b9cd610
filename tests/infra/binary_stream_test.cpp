// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/infra/binary_stream.h>
#include <qvmath/platform/korva_exception.h>
#include <qvmath/platform/temp_file.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "failing_file.h"
#include "test_util.h"

namespace {

const char kReadText[] = "Unexpected end of file. Probably corrupted data.";
const char kWriteText[] =
    "Impossible write to file. Probably not enough free disk space or unexpected internal error.";

// The message of the CKorvaException thrown by stmt; "" when none is thrown.
template <class F>
std::string KorvaText(F&& stmt) {
  try {
    stmt();
  } catch (const CKorvaException& e) {
    return e.what();
  }
  return "";
}

}  // namespace

TEST(FileBinaryStreamTest, Positions_Are64Bit) {
  std::FILE* file = KorvaOpenTempFile("qvmath_stream_test");
  ASSERT_NE(file, nullptr);
  CFileWrapClose closer(file);
  CFileBinaryStream stream(file);
  // Moves of 1.5 GiB twice: a 3 GiB position (sparse, so nothing is allocated).
  const std::int32_t step = 3 << 29;
  stream.skipReadData(step);
  stream.skipReadData(step);
  const unsigned char mark = 0x5A;
  stream.writeData(0, nullptr);  // empty transfers and moves do nothing
  stream.skipReadData(0);
  stream.writeData(1, &mark);
  EXPECT_EQ(stream.getPosition(), 2 * std::int64_t{step} + 1);
  stream.skipReadData(-1);
  unsigned char back = 0;
  stream.readData(1, &back);
  EXPECT_EQ(back, mark);
}

TEST(FileBinaryStreamTest, Failure_ExactMessages) {
  std::FILE* file = KorvaOpenTempFile("qvmath_stream_test");
  ASSERT_NE(file, nullptr);
  CFileWrapClose closer(file);
  CFileBinaryStream stream(file);
  const unsigned char three[3] = {1, 2, 3};
  stream.writeData(3, three);
  stream.skipReadData(-3);
  unsigned char buf[4];
  EXPECT_EQ(KorvaText([&] { stream.readData(4, buf); }), kReadText);     // short read
  EXPECT_EQ(KorvaText([&] { stream.skipReadData(-1000); }), kReadText);  // before the start

  CFileBinaryStream none(nullptr);
  EXPECT_EQ(KorvaText([&] { none.skipReadData(1); }), kReadText);
  EXPECT_EQ(none.getPosition(), -1);
  none.readData(0, nullptr);  // empty transfers do nothing, even without a file
}

// Failing reads, seeks and writes of the underlying file give the documented texts and
// leave the bytes already in the file as they were.
TEST(FileBinaryStreamTest, Failure_InjectedFileFailures) {
  qvtest::FailingFile file({1, 2, 3, 4, 5, 6, 7, 8});
  CFileBinaryStream stream(file.get());
  unsigned char buf[4];
  file.reads = 0;
  EXPECT_EQ(KorvaText([&] { stream.readData(4, buf); }), kReadText);
  file.seeks = 0;
  EXPECT_EQ(KorvaText([&] { stream.skipReadData(2); }), kReadText);
  file.writes = 0;
  EXPECT_EQ(KorvaText([&] { stream.writeData(3, buf); }), kWriteText);
  EXPECT_EQ(file.bytes, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6, 7, 8}));
}
