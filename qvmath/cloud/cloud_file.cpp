// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_file.h>
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/cloud/ply_io.h>
#include <qvmath/cloud/xyz_io.h>

#include <cctype>

namespace REmath {

ECloudFileFormat CloudFileFormatOf(const std::string& path) {
  const std::size_t dot = path.find_last_of('.');
  const std::size_t slash = path.find_last_of('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
    return ECloudFileFormat::Unknown;
  std::string ext = path.substr(dot + 1);
  for (char& c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
  if (ext == "ply") return ECloudFileFormat::Ply;
  if (ext == "xyz" || ext == "txt" || ext == "pts" || ext == "csv" || ext == "asc")
    return ECloudFileFormat::Xyz;
  return ECloudFileFormat::Unknown;
}

namespace {

[[noreturn]] void UnknownExtension(const std::string& path) {
  throw ECloudFileError(path +
                        ": unknown file extension (expected .ply, .xyz, .txt, .pts, .csv or .asc)");
}

}  // namespace

void ReadCloudFile(const std::string& path, CPointCloud& cloud) {
  switch (CloudFileFormatOf(path)) {
    case ECloudFileFormat::Ply:
      return ReadPlyCloudFile(path, cloud);
    case ECloudFileFormat::Xyz:
      return ReadXyzCloudFile(path, cloud);
    case ECloudFileFormat::Unknown:
      break;
  }
  UnknownExtension(path);
}

void WriteCloudFile(const std::string& path, const CPointCloud& cloud, bool asciiPly) {
  switch (CloudFileFormatOf(path)) {
    case ECloudFileFormat::Ply:
      return WritePlyCloudFile(path, cloud,
                               asciiPly ? EPlyEncoding::Ascii : EPlyEncoding::BinaryLittleEndian);
    case ECloudFileFormat::Xyz:
      return WriteXyzCloudFile(path, cloud);
    case ECloudFileFormat::Unknown:
      break;
  }
  UnknownExtension(path);
}

}  // namespace REmath
