// SPDX-License-Identifier: MIT
#include <qvmath/analysis/model_sizer.h>

#include <algorithm>
#include <cmath>

using REmath::Point3D_d;

IModelSizer::IModelSizer() : m_size{1.0, 1.0, 1.0} {}

IModelSizer::~IModelSizer() = default;

void IModelSizer::updateLimits(int n, const REmath::Point3D* pts) {
  if (n <= 0) return;
  double lo[3], hi[3];
  for (int k = 0; k < 3; ++k) lo[k] = hi[k] = double(pts[0].asArray()[k]);
  for (int i = 1; i < n; ++i)
    for (int k = 0; k < 3; ++k) {
      const double v = double(pts[i].asArray()[k]);
      lo[k] = std::min(lo[k], v);
      hi[k] = std::max(hi[k], v);
    }
  SetModelSize(Point3D_d(hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]));
}

double IModelSizer::GetLinearLimits() const { return GetModelSize().length(); }

void IModelSizer::GetLimits(double& smallest, double& largest) const {
  const Point3D_d s = GetModelSize();
  smallest = std::min({s.x(), s.y(), s.z()});
  largest = std::max({s.x(), s.y(), s.z()});
}

Point3D_d IModelSizer::OnGetModelSize() const { return Point3D_d(m_size); }

void IModelSizer::OnSetModelSize(const Point3D_d& size) { size.toArray(m_size); }

void IModelSizer::OnResetModelSizeDefault() { m_size[0] = m_size[1] = m_size[2] = 1.0; }
