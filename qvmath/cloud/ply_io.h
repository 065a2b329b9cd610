// SPDX-License-Identifier: MIT
// PLY point-cloud reading (ASCII and binary of either byte order, from a file or a memory
// buffer) and writing (binary little-endian by default, big-endian or ASCII on request).
#pragma once

#include <qvmath/cloud/point_cloud.h>
#include <qvmath/cloud/triangle_mesh.h>
#include <qvmath/platform/export.h>

#include <cstddef>
#include <string>
#include <vector>

namespace REmath {

/// Encoding of a written PLY file.
enum class EPlyEncoding : int { BinaryLittleEndian, BinaryBigEndian, Ascii };

/// Reads the `vertex` element of the PLY file held in data[0..size) into `cloud`, replacing
/// its contents.
///
/// Properties understood, by name: `x y z` (required; any numeric type, stored as float);
/// `nx ny nz` or `normal_x normal_y normal_z` (all three, any numeric type) as normals;
/// `red green blue`, `diffuse_red diffuse_green diffuse_blue` or `r g b` (all three of type
/// `uchar`/`uint8`) as colours. Every other scalar vertex property (`alpha` included, and
/// colour channels of another type) becomes a scalar field of that name that remembers its
/// type, so writing the cloud carries it through. Other elements (faces, edges, ...) are
/// read past and dropped; `comment` and `obj_info` lines are ignored. Type names: `char
/// uchar short ushort int uint float double` and `int8 uint8 int16 uint16 int32 uint32
/// float32 float64`. Lines may end in LF or CR LF; bytes after the last element are ignored.
///
/// Every count is checked against the bytes that remain before anything is allocated, so a
/// lying header fails with an error rather than a large allocation.
/// @throws ECloudFileError "PLY: <problem>" for: no "ply" magic, a header without
///         `end_header`, an unknown format, type or header keyword, a property outside an
///         element, a repeated element or property name, a count that is not a number or
///         exceeds what the remaining bytes can hold, no `vertex` element, a missing `x`,
///         `y` or `z`, a list property in the `vertex` element, a truncated body, or an
///         ASCII token that is not a number. `cloud` is then unspecified (valid but partly
///         filled).
/// Suitable as a fuzzing entry point: any input either fills `cloud` or throws
/// `ECloudFileError`.
QVMATH_API void ReadPlyCloud(const unsigned char* data, std::size_t size, CPointCloud& cloud);

/// Reads the PLY file `path` into `cloud` as `ReadPlyCloud` does.
/// @throws ECloudFileError "<path>: <problem>" when the file cannot be read or is malformed.
QVMATH_API void ReadPlyCloudFile(const std::string& path, CPointCloud& cloud);

/// Writes `cloud` as a PLY file into `out` (replacing its contents): one `vertex` element
/// with `float x y z`, then `float nx ny nz` when normals are present, `uchar red green
/// blue` when colours are present, then every scalar field with its file type, in field
/// order. Field values written to an integer type are rounded to nearest and clamped to the
/// type's range (NaN writes 0). ASCII values are written in the shortest form that reads
/// back to the same float.
/// @throws std::invalid_argument when the cloud breaks its size invariant (`CheckSizes`)
///         or a field name holds white space or repeats a written name (`x`, `nx`, `red`...).
QVMATH_API void WritePlyCloud(const CPointCloud& cloud, std::vector<unsigned char>& out,
                              EPlyEncoding encoding = EPlyEncoding::BinaryLittleEndian);

/// Writes `cloud` to the file `path` as `WritePlyCloud` does (the file is created or
/// truncated; on failure it may be left partly written).
/// @throws ECloudFileError "<path>: <problem>" when the file cannot be written;
///         std::invalid_argument as `WritePlyCloud`.
QVMATH_API void WritePlyCloudFile(const std::string& path, const CPointCloud& cloud,
                                  EPlyEncoding encoding = EPlyEncoding::BinaryLittleEndian);

/// Reads the `vertex` and `face` elements of the PLY file held in data[0..size) into
/// `mesh`, replacing its contents: positions and normals as `ReadPlyCloud` reads them (other
/// vertex properties are dropped); each face from its list property `vertex_indices` (or
/// `vertex_index`), of any integer types, a polygon of n > 3 corners split into the fan
/// (v0, v[i], v[i+1]); other face properties and other elements are read past. A file
/// without a `face` element gives a mesh without triangles.
/// @throws ECloudFileError "PLY: <problem>" for everything `ReadPlyCloud` rejects and for a
///         face element without an index list, a face of fewer than 3 corners, or a vertex
///         index that is not an integer in [0, vertex count). `mesh` is then unspecified.
QVMATH_API void ReadPlyMesh(const unsigned char* data, std::size_t size, CTriangleMesh& mesh);

/// Reads the PLY file `path` into `mesh` as `ReadPlyMesh` does.
/// @throws ECloudFileError "<path>: <problem>" when the file cannot be read or is malformed.
QVMATH_API void ReadPlyMeshFile(const std::string& path, CTriangleMesh& mesh);

/// Writes `mesh` as a PLY file into `out` (replacing its contents): a `vertex` element with
/// `float x y z` (and `float nx ny nz` when normals are present) and a `face` element with
/// `property list uchar int vertex_indices`.
/// @throws std::invalid_argument when the mesh fails `CheckValid`.
QVMATH_API void WritePlyMesh(const CTriangleMesh& mesh, std::vector<unsigned char>& out,
                             EPlyEncoding encoding = EPlyEncoding::BinaryLittleEndian);

/// Writes `mesh` to the file `path` as `WritePlyMesh` does.
/// @throws ECloudFileError "<path>: <problem>" when the file cannot be written;
///         std::invalid_argument as `WritePlyMesh`.
QVMATH_API void WritePlyMeshFile(const std::string& path, const CTriangleMesh& mesh,
                                 EPlyEncoding encoding = EPlyEncoding::BinaryLittleEndian);

}  // namespace REmath
