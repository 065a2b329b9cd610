// SPDX-License-Identifier: MIT
#include <qvmath/infra/binary_stream.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <qvmath/platform/korva_exception.h>
#include <qvmath/platform/temp_file.h>

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

TEST(FileBinaryStreamTest, RoundTrip_ReadsWhatWasWrittenWithRelativeSkips) {
  std::FILE* file = KorvaOpenTempFile("qvmath_stream_test");
  ASSERT_NE(file, nullptr);
  CFileWrapClose closer(file);
  CFileBinaryStream stream(file);

  qvtest::TestRng rng(99);
  SCOPED_TRACE(rng.Trace());
  std::vector<unsigned char> data(10000);
  for (unsigned char& c : data) c = static_cast<unsigned char>(rng.Int(0, 255));
  // Chunks of random sizes, zero included (a no-op even with a null buffer).
  std::vector<unsigned int> chunks;
  for (unsigned int done = 0; done < data.size();) {
    const unsigned int n = std::min<unsigned int>(rng.Int(0, 700), data.size() - done);
    stream.writeData(n, data.data() + done);
    chunks.push_back(n);
    done += n;
    EXPECT_EQ(stream.getPosition(), done);
  }
  stream.writeData(0, nullptr);
  stream.skipReadData(-static_cast<std::int32_t>(data.size()));
  EXPECT_EQ(stream.getPosition(), 0);
  std::vector<unsigned char> back(data.size());
  unsigned int done = 0;
  for (unsigned int n : chunks) {
    stream.readData(n, back.data() + done);
    done += n;
  }
  EXPECT_EQ(back, data);
  // Backwards and forwards over known bytes.
  stream.skipReadData(-1000);
  stream.skipReadData(500);
  unsigned char byte = 0;
  stream.readData(1, &byte);
  EXPECT_EQ(byte, data[data.size() - 500]);
}

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
  EXPECT_EQ(KorvaText([&] { stream.readData(4, buf); }), kReadText);  // short read
  EXPECT_EQ(KorvaText([&] { stream.skipReadData(-1000); }), kReadText);  // before the start

  // A read-only descriptor makes every write fail; flushing reports what stdio buffered.
  std::FILE* readOnly = fdopen(open("/dev/null", O_RDONLY | O_CLOEXEC), "rb");
  ASSERT_NE(readOnly, nullptr);
  CFileWrapClose closeReadOnly(readOnly);
  CFileBinaryStream roStream(readOnly);
  const std::string written = KorvaText([&] {
    std::vector<unsigned char> big(1 << 16);
    roStream.writeData(static_cast<unsigned int>(big.size()), big.data());
  });
  EXPECT_EQ(written, kWriteText);

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
