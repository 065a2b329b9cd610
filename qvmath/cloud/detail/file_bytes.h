// SPDX-License-Identifier: MIT
// Internal: whole-file reading and writing for the point-cloud file formats. Not installed.
#pragma once

#include <string>
#include <vector>

namespace REmath {
namespace detail {

// Reads the file `path` into `bytes`. Throws ECloudFileError "<path>: <reason>".
void ReadFileBytes(const std::string& path, std::vector<unsigned char>& bytes);
// Writes bytes[0..size) to `path` (created or truncated). Throws ECloudFileError.
void WriteFileBytes(const std::string& path, const unsigned char* bytes, std::size_t size);
// Runs read(bytes) on the contents of `path` and prefixes the text of an ECloudFileError it
// throws with "<path>: " in place of the format tag ("PLY: ", "XYZ: ").
template <class F>
void ReadWithPath(const std::string& path, F&& read);

}  // namespace detail
}  // namespace REmath

#include <qvmath/cloud/cloud_file_error.h>

namespace REmath {
namespace detail {

template <class F>
void ReadWithPath(const std::string& path, F&& read) {
  std::vector<unsigned char> bytes;
  ReadFileBytes(path, bytes);
  try {
    read(bytes);
  } catch (const ECloudFileError& e) {
    std::string text = e.what();
    const std::size_t colon = text.find(": ");
    if (colon != std::string::npos && colon < 4) text = text.substr(colon + 2);
    throw ECloudFileError(path + ": " + text);
  }
}

}  // namespace detail
}  // namespace REmath
