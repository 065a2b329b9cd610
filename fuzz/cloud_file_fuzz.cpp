// SPDX-License-Identifier: MIT
// Fuzzes the point-cloud readers (PLY in every encoding, XYZ text) with arbitrary bytes; the
// first byte chooses the reader. Oracle: a read either fills the cloud or throws
// ECloudFileError; a cloud that was read writes as binary PLY and reads back to the same
// bytes on a second write (the writer accepts everything the readers produce).
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/cloud/ply_io.h>
#include <qvmath/cloud/point_cloud.h>
#include <qvmath/cloud/xyz_io.h>

#include <cstdint>
#include <vector>

#include "fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  REmath::CPointCloud cloud;
  try {
    if (data[0] & 1)
      REmath::ReadXyzCloud(reinterpret_cast<const char*>(data + 1), size - 1, cloud);
    else
      REmath::ReadPlyCloud(data + 1, size - 1, cloud);
  } catch (const REmath::ECloudFileError&) {
    return 0;
  }
  cloud.CheckSizes();
  std::vector<unsigned char> first, second;
  REmath::WritePlyCloud(cloud, first);
  REmath::CPointCloud again;
  REmath::ReadPlyCloud(first.data(), first.size(), again);
  QVFUZZ_CHECK(again.Size() == cloud.Size());
  REmath::WritePlyCloud(again, second);
  QVFUZZ_CHECK(first == second);
  return 0;
}
