// SPDX-License-Identifier: MIT
// Fuzzes CFileBinaryStream's reading side: the input is split into file contents and a
// script of reads, skips and position queries, checked step by step against a model of a
// regular file: a read succeeds exactly when the bytes are there; a skip to a place inside
// the file succeeds and one before the start fails (one past the end may do either); the
// position follows every successful call.
#include <fuzzer/FuzzedDataProvider.h>
#include <qvmath/infra/binary_stream.h>
#include <qvmath/platform/korva_exception.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_file.h"

namespace {
const char kReadErrorText[] = "Unexpected end of file. Probably corrupted data.";
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  const std::size_t length = in.ConsumeIntegralInRange<std::size_t>(0, in.remaining_bytes());
  const std::vector<std::uint8_t> contents = in.ConsumeBytes<std::uint8_t>(length);
  const std::int64_t fileSize = static_cast<std::int64_t>(contents.size());
  qvfuzz::MemoryFile file(contents.data(), contents.size());
  CFileBinaryStream stream(file.get());
  QVFUZZ_CHECK(stream.Deprecated_GetFilePtr() == file.get());

  // fread never delivers more than the file holds, so a buffer one byte longer than the
  // file serves every request, even one of 4 GiB.
  std::vector<std::uint8_t> buf(contents.size() + 1);
  std::int64_t pos = 0;
  for (int step = 0; step < 256 && in.remaining_bytes() > 0; ++step) {
    const int op = in.ConsumeIntegralInRange<int>(0, 3);
    const bool wide = in.ConsumeBool();  // any 32-bit value, else one near the file's size
    if (op <= 1) {
      const unsigned int n = wide ? in.ConsumeIntegral<unsigned int>()
                                  : in.ConsumeIntegralInRange<unsigned int>(
                                        0, static_cast<unsigned int>(contents.size() + 2));
      const bool fits = n == 0 || (pos <= fileSize && std::int64_t{n} <= fileSize - pos);
      try {
        stream.readData(n, buf.data());
        QVFUZZ_CHECK(fits);
        QVFUZZ_CHECK(n == 0 || std::memcmp(buf.data(), contents.data() + pos, n) == 0);
        pos += n;
      } catch (const CKorvaException& e) {
        QVFUZZ_CHECK(!fits);
        QVFUZZ_CHECK(std::string(e.what()) == kReadErrorText);
        pos = stream.getPosition();  // a failed read leaves the position unspecified
        QVFUZZ_CHECK(pos >= 0);
      }
    } else if (op == 2) {
      const std::int32_t off =
          wide ? in.ConsumeIntegral<std::int32_t>()
               : in.ConsumeIntegralInRange<std::int32_t>(-static_cast<std::int32_t>(fileSize) - 2,
                                                         static_cast<std::int32_t>(fileSize) + 2);
      const std::int64_t to = pos + off;
      try {
        stream.skipReadData(off);
        QVFUZZ_CHECK(to >= 0);
        pos = to;
      } catch (const CKorvaException& e) {
        QVFUZZ_CHECK(to < 0 || to > fileSize);
        QVFUZZ_CHECK(std::string(e.what()) == kReadErrorText);
        pos = stream.getPosition();
        QVFUZZ_CHECK(pos >= 0);
      }
    }
    QVFUZZ_CHECK(stream.getPosition() == pos);
  }
  return 0;
}
