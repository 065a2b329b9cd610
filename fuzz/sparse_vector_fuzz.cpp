// SPDX-License-Identifier: MIT
// Fuzzes CSparseVector::LoadFromFile with arbitrary file contents. Oracle: the load succeeds
// exactly when the file holds the count and, for a count c >= 1, 12·c more bytes; a loaded
// vector saves back to the very bytes it was read from; a failed load leaves it empty.
#include <qvmath/core/sparse_vector.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qvfuzz::MemoryFile file(data, size);
  REmath::CSparseVector v;
  v.SetElementNoIdxSearch(3, 1.0);  // a load must first empty the vector
  const bool ok = v.LoadFromFile(file.get());

  std::int32_t count = 0;
  if (size >= 4) std::memcpy(&count, data, 4);
  const std::int64_t need = count < 1 ? 4 : 4 + 12 * std::int64_t{count};
  QVFUZZ_CHECK(ok == (static_cast<std::int64_t>(size) >= need));
  if (!ok) {
    QVFUZZ_CHECK(v.GetNOfNonZeroElements() == 0);
    return 0;
  }
  QVFUZZ_CHECK(ftello(file.get()) == need);
  const int n = v.GetNOfNonZeroElements();
  QVFUZZ_CHECK(n == (count < 1 ? 0 : count));

  // Lookups stay inside the lists whatever the order of the positions read; the ends are
  // the first and last positions as stored.
  if (n > 0) {
    QVFUZZ_CHECK(v.GetMinNonZeroIdx() == v.GetNonZeroPos(0));
    QVFUZZ_CHECK(v.GetMaxNonZeroIdx() == v.GetNonZeroPos(n - 1));
    for (int k = 0; k < n && k < 64; ++k) (void)v.GetElement(v.GetNonZeroPos(k));
  }

  // Round trip: a count below 1 saves as count 0, anything else as the bytes read.
  char* out = nullptr;
  std::size_t outSize = 0;
  std::FILE* sink = open_memstream(&out, &outSize);
  QVFUZZ_CHECK(sink != nullptr);
  QVFUZZ_CHECK(v.SaveToFile(sink));
  std::fclose(sink);
  QVFUZZ_CHECK(static_cast<std::int64_t>(outSize) == need);
  if (count >= 1) {
    QVFUZZ_CHECK(std::memcmp(out, data, outSize) == 0);
  } else {
    static const char kZero[4] = {};
    QVFUZZ_CHECK(std::memcmp(out, kZero, 4) == 0);
  }
  std::free(out);
  return 0;
}
