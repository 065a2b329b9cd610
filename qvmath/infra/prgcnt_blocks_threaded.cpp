// SPDX-License-Identifier: MIT
#include <qvmath/infra/prgcnt_blocks_threaded.h>
#include <qvmath/infra/progress_counter.h>

#include <algorithm>
#include <memory>

CPrgCntBlocksTreaded::CPrgCntBlocksTreaded(CProgressCounter* parent, int blockCount)
    : m_parent(parent),
      m_lock(new CKorvaCritSection),
      m_percent(size_t(std::max(blockCount, 0)), 0),
      m_changed(false),
      m_registrations(new std::vector<Registration*>),
      m_abort(false) {}

CPrgCntBlocksTreaded::~CPrgCntBlocksTreaded() {
  for (Registration* r : *m_registrations) {
    r->worker->SetCallback(nullptr);
    r->worker->SetContext(nullptr);
    delete r;
  }
  delete m_registrations;
  delete m_lock;
}

void CPrgCntBlocksTreaded::SetBlockCount(int blockCount) {
  CKorvaCritSectionGuard guard(m_lock);
  m_percent.assign(size_t(std::max(blockCount, 0)), 0);
  m_blockOfWorker.clear();
  m_changed = false;
}

int CPrgCntBlocksTreaded::GetBlockCount() const {
  CKorvaCritSectionGuard guard(m_lock);
  return int(m_percent.size());
}

void CPrgCntBlocksTreaded::RegisterWorker(CProgressCounter* worker) {
  if (!worker) return;
  Registration* record;
  {
    CKorvaCritSectionGuard guard(m_lock);
    for (const Registration* r : *m_registrations)
      if (r->worker == worker) return;
    auto owned = std::make_unique<Registration>(Registration{this, worker});
    m_registrations->push_back(owned.get());
    record = owned.release();
  }
  // Outside our lock: SetCallback takes the counter's lock, which comes before ours.
  worker->SetContext(record);
  worker->SetCallback(&AggregatingCallback);
}

void CPrgCntBlocksTreaded::UnregisterWorker(CProgressCounter* worker) {
  {
    CKorvaCritSectionGuard guard(m_lock);
    auto it = std::find_if(m_registrations->begin(), m_registrations->end(),
                           [worker](const Registration* r) { return r->worker == worker; });
    if (it == m_registrations->end()) return;
    delete *it;
    m_registrations->erase(it);
    m_blockOfWorker.erase(worker);
  }
  worker->SetCallback(nullptr);
  // The context pointed at the record just freed.
  worker->SetContext(nullptr);
}

void CPrgCntBlocksTreaded::BlockStart(int blockIndex, CProgressCounter* worker) {
  CKorvaCritSectionGuard guard(m_lock);
  if (blockIndex < 0 || blockIndex >= int(m_percent.size())) return;
  m_blockOfWorker[worker] = blockIndex;
}

void CPrgCntBlocksTreaded::BlockFinish(int blockIndex, CProgressCounter* worker) {
  CKorvaCritSectionGuard guard(m_lock);
  m_blockOfWorker.erase(worker);
  if (blockIndex < 0 || blockIndex >= int(m_percent.size())) return;
  m_percent[size_t(blockIndex)] = 100;
  m_changed = true;
}

void CPrgCntBlocksTreaded::UpdateParent() {
  double fraction;
  {
    CKorvaCritSectionGuard guard(m_lock);
    if (!m_changed) return;
    m_changed = false;
    long long sum = 0;
    for (int p : m_percent) sum += p;
    fraction = m_percent.empty() ? 0.0 : double(sum) / (double(m_percent.size()) * 100.0);
  }
  // The parent's callback runs outside our lock: worker callbacks keep reporting meanwhile,
  // and a cancelling parent throws without anything of ours held.
  if (m_parent) m_parent->SetPosFloat(fraction);
}

void CPrgCntBlocksTreaded::SetAbort(bool abort) {
  CKorvaCritSectionGuard guard(m_lock);
  m_abort = abort;
}

bool CPrgCntBlocksTreaded::IsAbort() const {
  CKorvaCritSectionGuard guard(m_lock);
  return m_abort;
}

int CPrgCntBlocksTreaded::AggregatingCallback(int pos, void* registration) {
  const Registration* r = static_cast<const Registration*>(registration);
  if (!r) return 0;
  CPrgCntBlocksTreaded* self = r->owner;
  CKorvaCritSectionGuard guard(self->m_lock);
  if (self->m_abort) return 1;
  auto it = self->m_blockOfWorker.find(r->worker);
  if (it != self->m_blockOfWorker.end()) {
    int& slot = self->m_percent[size_t(it->second)];
    if (slot != pos) {
      slot = pos;
      self->m_changed = true;
    }
  }
  return 0;
}
