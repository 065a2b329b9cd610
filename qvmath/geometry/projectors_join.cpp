// SPDX-License-Identifier: MIT
#include <qvmath/geometry/projectors_join.h>

#include <cfloat>
#include <memory>
#include <stdexcept>

using REmath::Point3D_d;

CProjectorsJoin::CProjectorsJoin() = default;

CProjectorsJoin::CProjectorsJoin(const CProjectorsJoin& other) : IPointToGeomObjProjector(other) {
  CopyFrom(other);
}

CProjectorsJoin& CProjectorsJoin::operator=(const CProjectorsJoin& other) {
  if (this != &other) {
    CProjectorsJoin copy(other);
    m_projectors.swap(copy.m_projectors);  // the old projectors go with copy
  }
  return *this;
}

CProjectorsJoin::~CProjectorsJoin() { Clear(); }

void CProjectorsJoin::Clear() {
  for (IPointToGeomObjProjector* p : m_projectors) delete p;
  m_projectors.clear();
}

void CProjectorsJoin::CopyFrom(const CProjectorsJoin& other) {
  try {
    for (const IPointToGeomObjProjector* p : other.m_projectors)
      AddProjectorWithOwnerShip(p->Copy());
  } catch (...) {
    Clear();  // a constructor that throws runs no destructor
    throw;
  }
}

void CProjectorsJoin::AddProjectorWithOwnerShip(IPointToGeomObjProjector* projector) {
  if (projector == nullptr) return;
  std::unique_ptr<IPointToGeomObjProjector> owned(projector);
  if (m_projectors.size() >= m_projectors.max_size()) throw std::length_error("list<T> too long");
  m_projectors.push_back(owned.get());
  owned.release();
}

std::size_t CProjectorsJoin::GetProjectorsCount() const { return m_projectors.size(); }

IPointToGeomObjProjector* CProjectorsJoin::OnCopy() const { return new CProjectorsJoin(*this); }

bool CProjectorsJoin::OnProjectPoint(const Point3D_d& p, Point3D_d& q) {
  double best = DBL_MAX;
  bool found = false;
  for (IPointToGeomObjProjector* proj : m_projectors) {
    Point3D_d r(0.0, 0.0, 0.0);
    if (!proj->projectPoint(p, r)) continue;
    found = true;
    const double dx = p.x() - r.x(), dy = p.y() - r.y(), dz = p.z() - r.z();
    const double d = dx * dx + dy * dy + dz * dz;
    if (d < best) {
      best = d;
      q = r;
    }
  }
  return found;
}
