// SPDX-License-Identifier: MIT
// REmath::CPointCloud: positions of a scanned point set with optional per-point normals,
// packed colours and named scalar fields.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace REmath {

/// Storage type of a scalar field in a file; the readers record it so that a field read
/// from a PLY file is written back with its original type.
enum class ECloudFieldType : int { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float32, Float64 };

/// A named per-point scalar field. Values are floats whatever the file type: 8- and 16-bit
/// integers and 32-bit integers up to 2^24 in magnitude pass through exactly; larger
/// 32-bit integers and doubles are rounded to float on reading.
struct QVMATH_API CCloudScalarField {
  std::string name;
  ECloudFieldType fileType = ECloudFieldType::Float32;
  std::vector<float> values;
};

/// A point cloud: positions and, each optional, unit normals, colours and scalar fields,
/// all in the order of the points.
///
/// Conventions: a colour is packed as the library packs colours (`colorI2RGB`): red in bits
/// 0-7, green 8-15, blue 16-23, the top byte unused. Positions may hold NaN or infinite
/// coordinates; the whole-cloud operations skip such points and count them as invalid.
///
/// Invariant checked by `CheckSizes` (and by every writer and whole-cloud operation that
/// reads the attributes): the normal and colour vectors are empty or hold `Size()` entries,
/// every field holds `Size()` values and field names are distinct and non-empty.
/// Ownership: a plain value; copying copies everything. Thread safety: none of its own.
class QVMATH_API CPointCloud {
 public:
  /// An empty cloud: no points, no normals, no colours, no fields.
  CPointCloud() = default;

  /// @return the number of points.
  int Size() const { return static_cast<int>(m_positions.size()); }
  std::vector<Point3D>& Positions() { return m_positions; }
  const std::vector<Point3D>& Positions() const { return m_positions; }
  /// @return whether normals are present (the normal vector is not empty).
  bool HasNormals() const { return !m_normals.empty(); }
  std::vector<Point3D>& Normals() { return m_normals; }
  const std::vector<Point3D>& Normals() const { return m_normals; }
  /// @return whether colours are present (the colour vector is not empty).
  bool HasColours() const { return !m_colours.empty(); }
  std::vector<std::uint32_t>& Colours() { return m_colours; }
  const std::vector<std::uint32_t>& Colours() const { return m_colours; }
  std::vector<CCloudScalarField>& Fields() { return m_fields; }
  const std::vector<CCloudScalarField>& Fields() const { return m_fields; }

  /// @return the field called `name` (exact, case-sensitive), null when there is none.
  CCloudScalarField* FindField(const std::string& name);
  const CCloudScalarField* FindField(const std::string& name) const;
  /// Returns the field called `name`, creating it with `Size()` zero values of file type
  /// `type` when absent (an existing field keeps its values and type).
  /// @throws std::invalid_argument for an empty name.
  CCloudScalarField& SetField(const std::string& name,
                              ECloudFieldType type = ECloudFieldType::Float32);
  /// Checks the size invariant of the class.
  /// @throws std::invalid_argument naming the first attribute that breaks it.
  void CheckSizes() const;

 private:
  std::vector<Point3D> m_positions;
  std::vector<Point3D> m_normals;
  std::vector<std::uint32_t> m_colours;
  std::vector<CCloudScalarField> m_fields;
};

}  // namespace REmath
