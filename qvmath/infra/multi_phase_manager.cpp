// SPDX-License-Identifier: MIT
#include <qvmath/infra/multi_phase_manager.h>
#include <qvmath/infra/progress_counter.h>

#include <exception>
#include <map>
#include <vector>

namespace KvPCnt {

class CMultiPhaseManager::Impl {
 public:
  struct Phase {
    double weight;  // -1 for a phase without a share
    double start;   // fractions of the counter's range, -1 until laid out
    double length;
  };

  explicit Impl(CProgressCounter* counter) : m_counter(counter) {}

  void Register(const std::string& name, double weight) {
    m_phases.push_back(Phase{weight > 0.0 ? weight : -1.0, -1.0, -1.0});
    m_byName[name] = m_phases.size() - 1;
    Layout();
  }

  int Count() const { return int(m_phases.size()); }

  void Start(const std::string& name) {
    if (!m_counter) return;
    m_current.reset();
    auto it = m_byName.find(name);
    if (it == m_byName.end()) return;
    const Phase& phase = m_phases[it->second];
    if (phase.weight <= 0.0) return;
    m_current = std::make_unique<CPrgCntSubPhase>(m_counter, phase.start, phase.length,
                                                  CPrgCntSubPhase::PhaseFloat, true);
  }

  void Finish() {
    // Released first: a cancelling end report leaves no half-finished phase behind.
    std::unique_ptr<CPrgCntSubPhase> current = std::move(m_current);
    if (current) current->Finish();
  }

  void CloseSilently() { m_current.reset(); }

 private:
  void Layout() {
    double total = 0.0;
    for (const Phase& p : m_phases)
      if (p.weight > 0.0) total += p.weight;
    if (!(total > 0.0)) return;
    double running = 0.0;
    for (Phase& p : m_phases) {
      if (p.weight <= 0.0) continue;
      p.length = p.weight / total;
      p.start = running;
      running += p.length;
    }
  }

  CProgressCounter* m_counter;
  std::vector<Phase> m_phases;
  std::map<std::string, size_t> m_byName;
  std::unique_ptr<CPrgCntSubPhase> m_current;
};

CMultiPhaseManager::CMultiPhaseManager(CProgressCounter* counter)
    : m_impl(std::make_unique<Impl>(counter)) {}

CMultiPhaseManager::~CMultiPhaseManager() { m_impl->CloseSilently(); }

void CMultiPhaseManager::RegisterPhase(const std::string& name, double weight) {
  m_impl->Register(name, weight);
}

int CMultiPhaseManager::GetRegisteredPhaseNumber() const { return m_impl->Count(); }

void CMultiPhaseManager::StartPhase(const std::string& name) { m_impl->Start(name); }

void CMultiPhaseManager::FinishPhase(const std::string&) { m_impl->Finish(); }

void CMultiPhaseManager::FinishLastPhase() { m_impl->Finish(); }

// ---------------------------------------------------------------------------------------

CMultiPhaseManagerSingleSubPhase::CMultiPhaseManagerSingleSubPhase(CMultiPhaseManager* manager,
                                                                   const std::string& name)
    : m_manager(manager), m_name(name), m_released(false), m_uncaught(std::uncaught_exceptions()) {
  if (m_manager) m_manager->StartPhase(m_name);
}

CMultiPhaseManagerSingleSubPhase::~CMultiPhaseManagerSingleSubPhase() {
  if (m_released || !m_manager) return;
  m_released = true;
  if (std::uncaught_exceptions() > m_uncaught) {
    // Leaving by an exception: close as every progress scope does, without a report.
    m_manager->m_impl->CloseSilently();
    return;
  }
  try {
    m_manager->FinishPhase(m_name);
  } catch (...) {
    // A destructor must not throw; the counter's stop flag records the cancellation.
  }
}

void CMultiPhaseManagerSingleSubPhase::release() {
  if (m_released) return;
  m_released = true;
  if (m_manager) m_manager->FinishPhase(m_name);
}

}  // namespace KvPCnt
