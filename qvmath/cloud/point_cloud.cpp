// SPDX-License-Identifier: MIT
#include <qvmath/cloud/point_cloud.h>

#include <stdexcept>

namespace REmath {

CCloudScalarField* CPointCloud::FindField(const std::string& name) {
  for (auto& f : m_fields)
    if (f.name == name) return &f;
  return nullptr;
}

const CCloudScalarField* CPointCloud::FindField(const std::string& name) const {
  for (const auto& f : m_fields)
    if (f.name == name) return &f;
  return nullptr;
}

CCloudScalarField& CPointCloud::SetField(const std::string& name, ECloudFieldType type) {
  if (name.empty()) throw std::invalid_argument("CPointCloud: a field needs a name");
  if (CCloudScalarField* f = FindField(name)) return *f;
  m_fields.push_back(CCloudScalarField{name, type, std::vector<float>(m_positions.size(), 0.0f)});
  return m_fields.back();
}

void CPointCloud::CheckSizes() const {
  const std::size_t n = m_positions.size();
  if (!m_normals.empty() && m_normals.size() != n)
    throw std::invalid_argument("CPointCloud: " + std::to_string(m_normals.size()) +
                                " normals for " + std::to_string(n) + " points");
  if (!m_colours.empty() && m_colours.size() != n)
    throw std::invalid_argument("CPointCloud: " + std::to_string(m_colours.size()) +
                                " colours for " + std::to_string(n) + " points");
  for (std::size_t i = 0; i < m_fields.size(); ++i) {
    const CCloudScalarField& f = m_fields[i];
    if (f.name.empty()) throw std::invalid_argument("CPointCloud: a field has no name");
    if (f.values.size() != n)
      throw std::invalid_argument("CPointCloud: field '" + f.name + "' has " +
                                  std::to_string(f.values.size()) + " values for " +
                                  std::to_string(n) + " points");
    for (std::size_t j = 0; j < i; ++j)
      if (m_fields[j].name == f.name)
        throw std::invalid_argument("CPointCloud: two fields are called '" + f.name + "'");
  }
}

}  // namespace REmath
