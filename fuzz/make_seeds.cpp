// SPDX-License-Identifier: MIT
// Writes the seed corpora of the fuzz targets with the library's own writers:
//   make_seeds <dir>   creates <dir>/<target>/<seed> for every target.
// The seeds are committed; run this again only when a format or a target's input layout
// changes.
#include <qvmath/core/sparse_vector.h>
#include <qvmath/infra/binary_stream.h>
#include <qvmath/infra/component_filter.h>
#include <qvmath/infra/inner_header_wrapper.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "fuzz_filters.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// Everything written to f so far.
Bytes Contents(std::FILE* f) {
  std::fflush(f);
  const long size = std::ftell(f);
  Bytes bytes(static_cast<std::size_t>(size));
  std::rewind(f);
  if (size > 0 && std::fread(bytes.data(), 1, bytes.size(), f) != bytes.size()) bytes.clear();
  return bytes;
}

bool Put(const std::string& dir, const std::string& target, const std::string& seed,
         const Bytes& bytes) {
  const std::string path = dir + "/" + target + "/" + seed;
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) {
    std::fprintf(stderr, "cannot write %s\n", path.c_str());
    return false;
  }
  const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  return std::fclose(f) == 0 && ok;
}

Bytes SparseFile(const std::vector<double>& dense) {
  std::FILE* f = std::tmpfile();
  REmath::CSparseVector(static_cast<int>(dense.size()), dense.data()).SaveToFile(f);
  Bytes bytes = Contents(f);
  std::fclose(f);
  return bytes;
}

struct Block {
  std::string mark;
  int version;
  Bytes blob;
};

// A document of wrapped blobs, an optional stub block, then trailing bytes.
Bytes Document(const std::vector<Block>& blocks, bool stub, const std::string& tail) {
  std::FILE* f = std::tmpfile();
  CFileBinaryStream stream(f);
  for (const Block& b : blocks) {
    qvfuzz::BlobFilter blob(stream, b.mark, b.version, b.blob);
    KvF::CInnerHeaderWrapper(&blob, nullptr, L"seed").Save();
  }
  if (stub) {
    KvF::CComponentFilterStub empty(L"stub", stream);
    KvF::CInnerHeaderWrapper(&empty, nullptr, L"seed").Save();
  }
  stream.writeData(static_cast<unsigned int>(tail.size()), tail.data());
  Bytes bytes = Contents(f);
  std::fclose(f);
  return bytes;
}

// The wrapper target reads its configuration from the last byte.
Bytes WithConfig(Bytes bytes, std::uint8_t config) {
  bytes.push_back(config);
  return bytes;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_seeds <corpus dir>\n");
    return 2;
  }
  const std::string dir = argv[1];
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  bool ok = true;

  const Bytes three = SparseFile({0, 5, 0});
  ok &= Put(dir, "sparse_vector", "empty", SparseFile({}));
  ok &= Put(dir, "sparse_vector", "three", three);
  ok &= Put(dir, "sparse_vector", "special_values", SparseFile({-0.0, nan, inf, -inf, 1e-310, 7}));
  ok &= Put(dir, "sparse_vector", "negative_count", Bytes{0xFE, 0xFF, 0xFF, 0xFF});
  ok &= Put(dir, "sparse_vector", "truncated", Bytes(three.begin(), three.end() - 3));

  const std::string m29 = qvfuzz::kBlockMarks[2], m30 = qvfuzz::kBlockMarks[3];
  const Bytes one = Document({{"Blob", 0, {'h', 'e', 'l', 'l', 'o'}}}, false, "");
  const Bytes mixed =
      Document({{"Blob", 0, {1, 2, 3}}, {"Other", 1, {4, 5}}, {"Blob", 1, {}}}, true, "tail bytes");
  const Bytes longMarks = Document({{m29, 1, {9}}, {m30, 1, {8, 7}}}, false, "x");
  ok &= Put(dir, "inner_header_wrapper", "one_block", WithConfig(one, 0x00));
  ok &= Put(dir, "inner_header_wrapper", "mixed_blocks", WithConfig(mixed, 0x00));
  ok &= Put(dir, "inner_header_wrapper", "mixed_skip_only", WithConfig(mixed, 0x10));
  ok &= Put(dir, "inner_header_wrapper", "mark_29_v1", WithConfig(longMarks, 0x04 | 0x08));
  ok &= Put(dir, "inner_header_wrapper", "mark_30_v1_nameless", WithConfig(longMarks, 0x26 | 0x08));
  ok &= Put(dir, "inner_header_wrapper", "no_position", WithConfig(one, 0x01));

  // The stream target splits its input into file contents and a script of operations.
  Bytes counting(96);
  for (std::size_t i = 0; i < counting.size(); ++i) counting[i] = static_cast<std::uint8_t>(i);
  ok &= Put(dir, "binary_stream", "counting", counting);
  ok &= Put(dir, "binary_stream", "document", mixed);
  ok &= Put(dir, "binary_stream", "sparse_file", three);
  return ok ? 0 : 1;
}
