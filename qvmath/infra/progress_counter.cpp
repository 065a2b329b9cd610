// SPDX-License-Identifier: MIT
#include <qvmath/core/rounding.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/auto_reset_event.h>
#include <qvmath/platform/korva_exception.h>

#include <cmath>
#include <new>

namespace {

// rndtoni of a global position. Positions are clamped to 0..100 in the end, so any value
// far outside that range may be replaced by a bound before rounding: rounding and
// clamping are both monotone, so the final position is unchanged, and rndtoni never sees
// a value it would map to INT_MIN (NaN or beyond the int range). NaN goes to the lower
// bound; only phases built from NaN fractions produce it.
int RoundPosition(double x) {
  constexpr double kBound = 1e9;
  if (!(x >= -kBound)) x = -kBound;
  if (x > kBound) x = kBound;
  return rndtoni(x);
}

CKorvaAutoResetEvent* StopEvent() {
  return static_cast<CKorvaAutoResetEvent*>(CProgressCounter::m_hStopEvent);
}

}  // namespace

int (*CProgressCounter::globalProgressFcn)(int, void*) = nullptr;
void* CProgressCounter::m_hStopEvent = nullptr;
volatile int CProgressCounter::m_bStopping = 0;

CProgressCounter::CProgressCounter()
    : m_start(0.0),
      m_step(100.0),
      m_pos(-1),
      m_hidden(false),
      m_stop(false),
      m_context(nullptr),
      m_callback(globalProgressFcn) {}

CProgressCounter::CProgressCounter(const CProgressCounter& other) : CProgressCounter() {
  *this = other;
}

CProgressCounter& CProgressCounter::operator=(const CProgressCounter& other) {
  if (this == &other) return *this;
  // Snapshot under the source's lock, store under ours: never both at once, so two threads
  // assigning two counters to each other cannot deadlock.
  std::vector<double> savedStart, savedStep;
  std::vector<int> savedVisible;
  double start, step;
  int pos;
  bool hidden, stop;
  void* context;
  int (*callback)(int, void*);
  {
    CKorvaCritSectionGuard guard(other.m_lock);
    savedStart = other.m_savedStart;
    savedStep = other.m_savedStep;
    savedVisible = other.m_savedVisible;
    start = other.m_start;
    step = other.m_step;
    pos = other.m_pos.load(std::memory_order_relaxed);
    hidden = other.m_hidden.load(std::memory_order_relaxed);
    stop = other.m_stop.load(std::memory_order_relaxed);
    context = other.m_context;
    callback = other.m_callback;
  }
  CKorvaCritSectionGuard guard(m_lock);
  m_savedStart.swap(savedStart);
  m_savedStep.swap(savedStep);
  m_savedVisible.swap(savedVisible);
  m_start = start;
  m_step = step;
  m_pos.store(pos, std::memory_order_relaxed);
  m_hidden.store(hidden, std::memory_order_relaxed);
  m_stop.store(stop, std::memory_order_relaxed);
  m_context = context;
  m_callback = callback;
  return *this;
}

CProgressCounter::~CProgressCounter() = default;

void CProgressCounter::SetStatus(const wchar_t*) {}
void CProgressCounter::CreateDlg(IKorvaView&, unsigned int, bool) {}
void CProgressCounter::CloseDlg() {}
void CProgressCounter::SetThreadedInterface(bool) {}

void CProgressCounter::SetStart(double v) {
  if (IsHidden()) return;
  CKorvaCritSectionGuard guard(m_lock);
  if (!(v >= 0.0)) v = 0.0;
  if (v > 99.0) v = 99.0;
  m_start = v;
}

void CProgressCounter::SetStart(int v) { SetStart(double(v)); }

void CProgressCounter::SetStep(double v) {
  if (IsHidden()) return;
  CKorvaCritSectionGuard guard(m_lock);
  if (!(v > 0.0)) v = 1.0;
  if (v > 100.0) v = 100.0;
  m_step = v;
}

void CProgressCounter::SetStep(int v) { SetStep(double(v)); }

void CProgressCounter::SetPos(int p) {
  if (m_hidden.load(std::memory_order_relaxed) || m_stop.load(std::memory_order_relaxed)) return;
  if (p < 0) p = 0;
  if (p > 100) p = 100;
  // Most calls repeat the last position; they need neither the lock nor the callback.
  // The test is repeated under the lock, which alone decides.
  if (p == m_pos.load(std::memory_order_relaxed)) return;
  int answer = 0;
  {
    CKorvaCritSectionGuard guard(m_lock);
    if (p == m_pos.load(std::memory_order_relaxed)) return;
    m_pos.store(p, std::memory_order_relaxed);
    if (m_callback) answer = m_callback(p, m_context);
    if (answer != 0) m_stop.store(true, std::memory_order_relaxed);
  }
  // Thrown after our own lock level is released; a caller holding the lock further out
  // (sub-phase opening and closing) releases it while the exception unwinds.
  if (answer != 0) throw CUserIntrException();
}

void CProgressCounter::SetPosFloat(double f) {
  if (m_hidden.load(std::memory_order_relaxed) || std::isnan(f)) return;
  const double start = m_start;
  const double step = m_step;
  // f·step + start, in this order and without a fused multiply-add: the half-up tie of
  // rndtoni makes the exact double value visible in the reported integer.
  int p = RoundPosition(f * step + start);
  const int lo = RoundPosition(start);
  const int hi = RoundPosition(start + step);
  if (p < lo) p = lo;
  if (p > hi) p = hi;
  SetPos(p);
}

void CProgressCounter::SetCallback(int (*callback)(int, void*)) {
  CKorvaCritSectionGuard guard(m_lock);
  m_callback = callback;
}

void CProgressCounter::ResetCallback() {
  CKorvaCritSectionGuard guard(m_lock);
  m_callback = globalProgressFcn;
}

void CProgressCounter::SetGlobalCallback(int (*callback)(int, void*)) {
  globalProgressFcn = callback;
}

int (*CProgressCounter::GetGlobalCallback())(int, void*) { return globalProgressFcn; }

void CProgressCounter::StartNewSubPhase(int startPercent, int lengthPercent, bool visible) {
  StartNewSubPhaseFloat(startPercent * 0.01, lengthPercent * 0.01, visible);
}

void CProgressCounter::StartNewSubPhaseFloat(double startFraction, double lengthFraction,
                                             bool visible) {
  CKorvaCritSectionGuard guard(m_lock);
  const bool wasVisible = !IsHidden();
  m_savedStart.push_back(m_start);
  m_savedStep.push_back(m_step);
  m_savedVisible.push_back(wasVisible ? 1 : 0);
  m_start = m_start + m_step * startFraction;
  m_step = m_step * lengthFraction;
  m_hidden.store(!(wasVisible && visible), std::memory_order_relaxed);
  // Re-enters the lock (the critical section is re-entrant).
  SetPosFloat(0.0);
}

void CProgressCounter::FinishSubPhase() {
  int depth;
  {
    CKorvaCritSectionGuard guard(m_lock);
    depth = int(m_savedStart.size());
  }
  FinishSubPhaseAndAllSlaveSubphases(depth, true);
}

void CProgressCounter::FinishSubPhaseAndAllSlaveSubphases(int depth, bool setPos) {
  CKorvaCritSectionGuard guard(m_lock);
  if (depth < 1 || depth > int(m_savedStart.size())) return;
  const int end = RoundPosition(m_start + m_step);
  m_savedStart.resize(size_t(depth));
  m_savedStep.resize(size_t(depth));
  m_savedVisible.resize(size_t(depth));
  m_start = m_savedStart.back();
  m_savedStart.pop_back();
  m_step = m_savedStep.back();
  m_savedStep.pop_back();
  m_hidden.store(m_savedVisible.back() == 0, std::memory_order_relaxed);
  m_savedVisible.pop_back();
  if (setPos) SetPos(end);
}

int CProgressCounter::GetPhaseDepth() const {
  CKorvaCritSectionGuard guard(m_lock);
  return int(m_savedStart.size());
}

void CProgressCounter::ResetCounters() {
  CKorvaCritSectionGuard guard(m_lock);
  m_savedStart.clear();
  m_savedStep.clear();
  m_savedVisible.clear();
  m_start = 0.0;
  m_step = 100.0;
  m_stop.store(false, std::memory_order_relaxed);
}

bool CProgressCounter::CreateStopEvent() {
  if (!m_hStopEvent) m_hStopEvent = new (std::nothrow) CKorvaAutoResetEvent(false);
  return m_hStopEvent != nullptr;
}

void CProgressCounter::CloseStopEvent() {
  delete StopEvent();
  m_hStopEvent = nullptr;
}

void CProgressCounter::SignalStopEvent() {
  if (CKorvaAutoResetEvent* event = StopEvent()) {
    // The flag is raised before the signal: a thread that consumes the signal in
    // CheckStopEvent and clears the flag must find it already raised, or the flag would
    // stay set after the stop had been handled.
    m_bStopping = 1;
    event->Set();
  }
}

void CProgressCounter::ResetStopEvent() {
  if (CKorvaAutoResetEvent* event = StopEvent()) {
    event->Reset();
    m_bStopping = 0;
  }
}

bool CProgressCounter::CheckStopEvent() {
  CKorvaAutoResetEvent* event = StopEvent();
  if (!event || !event->Wait(0)) return false;
  m_bStopping = 0;
  return true;
}

bool CProgressCounter::IsStopping() { return m_bStopping != 0; }

// ---------------------------------------------------------------------------------------

CPrgCntSubPhase::CPrgCntSubPhase() : m_pc(nullptr), m_depth(0) {}

CPrgCntSubPhase::CPrgCntSubPhase(CProgressCounter* pc, int a, int b, int kind, bool visible)
    : m_pc(nullptr), m_depth(0) {
  if (!pc || pc->IsHidden()) return;
  if (kind == PhaseInt)
    Open(pc, a * 0.01, b * 0.01, visible);
  else
    Open(pc, double(a), double(b), visible);
}

CPrgCntSubPhase::CPrgCntSubPhase(CProgressCounter* pc, double a, double b, int kind, bool visible)
    : m_pc(nullptr), m_depth(0) {
  if (!pc) return;
  if (kind != PhaseInt && !pc->IsHidden())
    Open(pc, a, b, visible);
  else
    Open(pc, std::trunc(a) * 0.01, std::trunc(b) * 0.01, visible);
}

void CPrgCntSubPhase::Open(CProgressCounter* pc, double a, double b, bool visible) {
  const int depth = pc->GetPhaseDepth() + 1;
  try {
    pc->StartNewSubPhaseFloat(a, b, visible);
  } catch (...) {
    // A scope object closes its sub-phase on every way out, including a cancellation of
    // the opening report, after which no destructor of ours would run.
    pc->FinishSubPhaseAndAllSlaveSubphases(depth, false);
    throw;
  }
  m_pc = pc;
  m_depth = depth;
}

CPrgCntSubPhase::~CPrgCntSubPhase() { FinishInternal(false); }

void CPrgCntSubPhase::Finish() { FinishInternal(true); }

void CPrgCntSubPhase::FinishInternal(bool setPos) {
  CProgressCounter* pc = m_pc;
  if (!pc) return;
  m_pc = nullptr;
  pc->FinishSubPhaseAndAllSlaveSubphases(m_depth, setPos);
}

// ---------------------------------------------------------------------------------------

CPrgCntIntegerScope::CPrgCntIntegerScope() : m_pc(nullptr), m_total(0), m_current(0) {}

CPrgCntIntegerScope::CPrgCntIntegerScope(CProgressCounter* pc, int total)
    : m_pc(pc), m_total(total < 0 ? 0 : total), m_current(0) {}

CPrgCntIntegerScope::~CPrgCntIntegerScope() = default;

void CPrgCntIntegerScope::refresh(CProgressCounter* pc, int total) {
  m_pc = pc;
  refresh(total);
}

void CPrgCntIntegerScope::refresh(int total) {
  m_total = total < 0 ? 0 : total;
  m_current = 0;
}

void CPrgCntIntegerScope::refresh() { m_current = 0; }

void CPrgCntIntegerScope::increment() {
  if (m_current < m_total) ++m_current;
  if (m_pc) m_pc->SetPosFloat(m_total > 0 ? double(m_current) / double(m_total) : 1.0);
}
