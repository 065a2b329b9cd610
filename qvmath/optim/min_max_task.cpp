// SPDX-License-Identifier: MIT
#include <qvmath/optim/min_max_task.h>

#include <cstddef>
#include <stdexcept>

namespace REmath {

CMinMaxTask::IProjector::~IProjector() = default;

CMinMaxTask::CMinMaxTask() : m_projector(nullptr) {}

CMinMaxTask::CMinMaxTask(const std::vector<const TFunctor*>& functions, const Point3D_d& initApprox,
                         const Point3D_d& limitMin, const Point3D_d& limitMax,
                         IProjector* projector)
    : m_initApprox(initApprox), m_limitMin(limitMin), m_limitMax(limitMax), m_projector(projector) {
  m_functions.reserve(functions.size());
  for (const TFunctor* f : functions) AddFunctor(f);
}

CMinMaxTask::CMinMaxTask(const CMinMaxTask& other) = default;
CMinMaxTask& CMinMaxTask::operator=(const CMinMaxTask& other) {
  // Copy the list first: if that throws, *this is untouched.
  std::vector<const TFunctor*> functions(other.m_functions);
  m_functions.swap(functions);
  m_initApprox = other.m_initApprox;
  m_limitMin = other.m_limitMin;
  m_limitMax = other.m_limitMax;
  m_projector = other.m_projector;
  return *this;
}
CMinMaxTask::~CMinMaxTask() = default;

const CMinMaxTask::TFunctor& CMinMaxTask::FnByIdx(int i) const {
  // A negative index converts to a huge size_t, so at() reports it as out of range too.
  return *m_functions.at(static_cast<std::size_t>(i));
}

void CMinMaxTask::AddFunctor(const TFunctor* f) {
  if (!f) throw std::invalid_argument("CMinMaxTask: null function");
  m_functions.push_back(f);
}

}  // namespace REmath
