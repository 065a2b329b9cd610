// SPDX-License-Identifier: MIT
#include <qvmath/infra/block_processor.h>
#include <qvmath/infra/prgcnt_blocks_threaded.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <algorithm>
#include <thread>
#include <unordered_map>
#include <vector>

namespace BlockProc {

namespace {

// The longest the managing thread waits before it moves the progress counter again.
constexpr std::uint32_t kManagerPollMs = 50;

// Error code of an abort after a user break, and of a worker result asking to stop.
constexpr int kUserBreakCode = 10;
constexpr int kAbortCode = -1;

enum BlockState : unsigned char { kPending, kProcessing, kFinished };

}  // namespace

EBlockAlgError::~EBlockAlgError() = default;

const char* EBlockAlgError::what() const noexcept { return "Block processing failed"; }

// Holds all sections of a processor for the scope.
class CBlockProcessor::AllSectionsHold {
 public:
  explicit AllSectionsHold(CBlockProcessor& processor) : m_processor(processor) {
    m_processor.LockAllSections();
  }
  ~AllSectionsHold() { m_processor.UnlockAllSections(); }
  AllSectionsHold(const AllSectionsHold&) = delete;
  AllSectionsHold& operator=(const AllSectionsHold&) = delete;

 private:
  CBlockProcessor& m_processor;
};

struct CBlockProcessor::Impl {
  // Blocks of the pass in iteration order, and the index of each descriptor address.
  std::vector<IKorvaFragmentDescriptor_Old*> order;
  std::unordered_map<const IKorvaFragmentDescriptor_Old*, int> indexOf;
  std::vector<unsigned char> state;
  int cursor = 0;
  // Blocks being processed: index and worker. At most one entry per worker thread.
  std::vector<std::pair<int, CBlockWorker*>> processing;
  int finishedCount = 0;
  std::vector<CKorvaCritSection*> readSections;
  std::exception_ptr failure;

  int IndexOf(Block_iter block) const {
    auto it = indexOf.find(block.Descriptor());
    return it == indexOf.end() ? -1 : it->second;
  }
};

// One worker thread of a parallel pass with its worker and its end flag.
struct CBlockProcessor::CrewMember {
  CBlockWorker* worker = nullptr;
  std::thread thread;
  std::atomic<bool> done{false};
};

CBlockProcessor::CBlockProcessor()
    : m_structure(nullptr),
      m_counter(nullptr),
      m_threadedPrgCnt(nullptr),
      m_immediate(false),
      m_extract(false),
      m_nPasses(1),
      m_nThreads(1),
      m_userBreak(false),
      m_passNo(-1),
      m_blockFinishedEvent(std::make_unique<CKorvaAutoResetEvent>(false)),
      m_abortRaised(false),
      m_abortEvent(std::make_unique<CKorvaAutoResetEvent>(false)),
      m_blockLock(std::make_unique<CKorvaCritSection>()),
      m_useParallel(false),
      m_impl(std::make_unique<Impl>()) {}

CBlockProcessor::CBlockProcessor(const CBlockProcessor& other) : CBlockProcessor() {
  *this = other;
}

CBlockProcessor& CBlockProcessor::operator=(const CBlockProcessor& other) {
  if (this == &other) return *this;
  m_structure = other.m_structure;
  m_counter = other.m_counter;
  m_immediate = other.m_immediate;
  m_extract = other.m_extract;
  m_nPasses = other.m_nPasses;
  m_nThreads = other.m_nThreads;
  m_useParallel = other.m_useParallel;
  m_userBreak.store(other.m_userBreak.load());
  return *this;
}

CBlockProcessor::~CBlockProcessor() {
  ReleaseThreadedPrgCnt();
  for (CKorvaCritSection* s : m_impl->readSections) delete s;
}

void CBlockProcessor::PreliminaryGlobalActions() {}
void CBlockProcessor::PreliminaryPassActions() {}
void CBlockProcessor::FinalGlobalActions() {}
void CBlockProcessor::FinalPassActions() {}

void CBlockProcessor::SingleBlockProcess(IKorvaFragmentDescriptor_Old& block) {
  std::unique_ptr<CBlockWorker> worker(CreateWorker(false));
  if (!worker) throw CKorvaException("Block processor: the worker factory returned no worker");
  worker->Init();
  if (!worker->BlockInit(block, nullptr)) return;
  if (!worker->BlockInitUnshared(block, nullptr)) return;
  CheckWorkerResult(worker->ProcessFragment(block, nullptr));
  worker->FinishBlock(block, nullptr);
}

void CBlockProcessor::ApplyBlockChanges(const IKorvaFragmentDescriptor_Old&,
                                        const IKorvaFragment_Old&) {}
void CBlockProcessor::ApplyBlockChangesBlockNotExtr(const IKorvaFragmentDescriptor_Old&) {}
IKorvaFragment_Old* CBlockProcessor::ExtractBlock(const IKorvaFragmentDescriptor_Old&) {
  return nullptr;
}
bool CBlockProcessor::NeedUnsharedWorkerInit() { return false; }
void CBlockProcessor::ResetWholeProcessStatus() {}

void CBlockProcessor::CheckWorkerResult(int code) {
  if (code == 0) return;
  if (code == kUserBreakCode) throw CUserIntrException();
  throw EBlockAlgError(code);
}

int CBlockProcessor::GetWholeProcessResult() { return 0; }

void CBlockProcessor::InitThreadedPrgCnt() {
  ReleaseThreadedPrgCnt();
  m_threadedPrgCnt = new CPrgCntBlocksTreaded(m_counter, int(m_impl->order.size()));
}

void CBlockProcessor::ReleaseThreadedPrgCnt() {
  delete m_threadedPrgCnt;
  m_threadedPrgCnt = nullptr;
}

void CBlockProcessor::UpdateParentPrgCnt() {
  if (m_threadedPrgCnt) m_threadedPrgCnt->UpdateParent();
}

void CBlockProcessor::RegisterWorkerPrgCnt(CBlockWorker* worker) {
  if (!m_threadedPrgCnt || !worker) return;
  CProgressCounter* counter = worker->GetProgressCounter();
  // The processor's own counter is moved by this thread alone; routing it through the
  // aggregator would replace the host's callback.
  if (counter && counter != m_counter) m_threadedPrgCnt->RegisterWorker(counter);
}

void CBlockProcessor::UnRegisterWorkerPrgCnt(CBlockWorker* worker) {
  if (!m_threadedPrgCnt || !worker) return;
  CProgressCounter* counter = worker->GetProgressCounter();
  if (counter && counter != m_counter) m_threadedPrgCnt->UnregisterWorker(counter);
}

void CBlockProcessor::OnBlockProcessStart(Block_iter block, CBlockWorker* worker) {
  if (m_threadedPrgCnt && worker)
    m_threadedPrgCnt->BlockStart(m_structure->BlockIndex(block), worker->GetProgressCounter());
}

void CBlockProcessor::OnBlockProcessFinish(Block_iter block, CBlockWorker* worker) {
  if (m_threadedPrgCnt && worker)
    m_threadedPrgCnt->BlockFinish(m_structure->BlockIndex(block), worker->GetProgressCounter());
}

void CBlockProcessor::SetNParralelThreads(int n) {
  m_nThreads = n;
  m_useParallel = n > 1;
}

void CBlockProcessor::SetUseParallelThreads(bool use) {
  m_useParallel = use;
  if (!use) m_nThreads = 1;
}

// ---------------------------------------------------------------------------------------
// Passes

int CBlockProcessor::Run() {
  if (!m_structure) return -1;
  if (m_extract && !m_immediate) return 9;
  m_abortRaised.store(false);
  {
    CKorvaCritSectionGuard hold(m_blockLock.get());
    m_impl->failure = nullptr;
  }
  ResetWholeProcessStatus();
  {
    CPrgCntSubPhase phase(m_counter, 0, 5, CPrgCntSubPhase::PhaseInt, true);
    PreliminaryGlobalActions();
    phase.Finish();
  }
  {
    CPrgCntSubPhase passes(m_counter, 5, 90, CPrgCntSubPhase::PhaseInt, true);
    // The pass count is read again before every pass, and SetThisPassLast moves the pass
    // number to the last one: both can end the loop early.
    for (int pass = 0; pass < m_nPasses; ++pass) {
      m_passNo.store(pass);
      const double n = double(m_nPasses);
      CPrgCntSubPhase passPhase(m_counter, pass / n, 1.0 / n, CPrgCntSubPhase::PhaseFloat, true);
      RunPass();
      passPhase.Finish();
      pass = m_passNo.load();
    }
    passes.Finish();
  }
  {
    CPrgCntSubPhase phase(m_counter, 95, 5, CPrgCntSubPhase::PhaseInt, true);
    FinalGlobalActions();
    phase.Finish();
  }
  return GetWholeProcessResult();
}

void CBlockProcessor::RunPass() {
  {
    CPrgCntSubPhase phase(m_counter, 0, 5, CPrgCntSubPhase::PhaseInt, true);
    PreliminaryPassActions();
    m_structure->ResetForPass();
    OnBlockStructureInit();
    phase.Finish();
  }
  {
    CPrgCntSubPhase phase(m_counter, 5, 90, CPrgCntSubPhase::PhaseInt, true);
    if (m_useParallel)
      ParallelBlockProcess();
    else
      SerialBlockProcess();
    phase.Finish();
  }
  {
    CPrgCntSubPhase phase(m_counter, 95, 5, CPrgCntSubPhase::PhaseInt, true);
    if (!m_immediate)
      for (IKorvaFragmentDescriptor_Old* desc : m_impl->order) ApplyBlockChangesBlockNotExtr(*desc);
    FinalPassActions();
    phase.Finish();
  }
}

void CBlockProcessor::SerialBlockProcess() {
  const std::vector<IKorvaFragmentDescriptor_Old*>& order = m_impl->order;
  const double m = double(order.size());
  for (size_t i = 0; i < order.size(); ++i) {
    ThrowIfAbortSignalled();
    CPrgCntSubPhase phase(m_counter, double(i) / m, 1.0 / m, CPrgCntSubPhase::PhaseFloat, true);
    if (m_immediate)
      SingleBlockProcessAndApply(*order[i]);
    else
      SingleBlockProcess(*order[i]);
    phase.Finish();
    CKorvaCritSectionGuard hold(m_blockLock.get());
    m_impl->state[i] = kFinished;
    ++m_impl->finishedCount;
  }
  // An abort signalled during the last block ends the run as in threaded processing.
  ThrowIfAbortSignalled();
}

void CBlockProcessor::SingleBlockProcessAndApply(IKorvaFragmentDescriptor_Old& block) {
  SingleBlockProcess(block);
  ApplyBlockChangesBlockNotExtr(block);
}

void CBlockProcessor::ThrowIfAbortSignalled() {
  if (m_abortEvent->Wait(0)) ThrowAbort();
}

void CBlockProcessor::ThrowAbort() {
  m_abortRaised.store(true);
  throw EBlockAlgError(IsUserBreak() ? kUserBreakCode : kAbortCode);
}

// ---------------------------------------------------------------------------------------
// Hand-out (under the block lock)

void CBlockProcessor::OnBlockStructureInit() {
  CKorvaCritSectionGuard hold(m_blockLock.get());
  Impl& s = *m_impl;
  s.order.clear();
  s.indexOf.clear();
  const Block_iter last = m_structure->end();
  for (Block_iter b = m_structure->begin(); b != last && b.Descriptor(); ++b) {
    s.indexOf.emplace(b.Descriptor(), int(s.order.size()));
    s.order.push_back(b.Descriptor());
  }
  s.state.assign(s.order.size(), kPending);
  s.cursor = 0;
  s.processing.clear();
  s.finishedCount = 0;
}

namespace {

bool ReadyAt(const std::vector<IKorvaFragmentDescriptor_Old*>& order,
             const std::vector<unsigned char>& state,
             const std::vector<std::pair<int, CBlockWorker*>>& processing, int cursor, int i,
             CBlockStructure& structure) {
  if (i < cursor || i >= int(order.size()) || state[size_t(i)] != kPending) return false;
  for (const auto& busy : processing)
    if (!structure.CanProcessTogether(*order[size_t(i)], *order[size_t(busy.first)])) return false;
  return true;
}

}  // namespace

bool CBlockProcessor::IsBlockReadyForProcess(Block_iter block) {
  CKorvaCritSectionGuard hold(m_blockLock.get());
  const Impl& s = *m_impl;
  return ReadyAt(s.order, s.state, s.processing, s.cursor, s.IndexOf(block), *m_structure);
}

bool CBlockProcessor::HasPotentialJob() {
  CKorvaCritSectionGuard hold(m_blockLock.get());
  const Impl& s = *m_impl;
  for (size_t i = size_t(s.cursor); i < s.state.size(); ++i)
    if (s.state[i] != kFinished) return true;
  return false;
}

bool CBlockProcessor::HasCurrentJob() {
  CKorvaCritSectionGuard hold(m_blockLock.get());
  const Impl& s = *m_impl;
  for (int i = s.cursor; i < int(s.order.size()); ++i)
    if (ReadyAt(s.order, s.state, s.processing, s.cursor, i, *m_structure)) return true;
  return false;
}

Block_iter CBlockProcessor::LockNextBlock(CBlockWorker* worker) {
  CKorvaCritSectionGuard hold(m_blockLock.get());
  Impl& s = *m_impl;
  while (s.cursor < int(s.state.size()) && s.state[size_t(s.cursor)] == kFinished) ++s.cursor;
  for (int i = s.cursor; i < int(s.order.size()); ++i) {
    if (!ReadyAt(s.order, s.state, s.processing, s.cursor, i, *m_structure)) continue;
    s.state[size_t(i)] = kProcessing;
    s.processing.emplace_back(i, worker);
    const Block_iter block(s.order[size_t(i)], m_structure);
    OnBlockProcessStart(block, worker);
    return block;
  }
  return BlockEnd();
}

void CBlockProcessor::UnLockBlock(Block_iter block, CBlockWorker* worker) {
  CKorvaCritSectionGuard hold(m_blockLock.get());
  Impl& s = *m_impl;
  const int i = s.IndexOf(block);
  if (i < 0 || s.state[size_t(i)] == kFinished) return;
  ++s.finishedCount;
  s.processing.erase(
      std::remove_if(s.processing.begin(), s.processing.end(),
                     [i](const std::pair<int, CBlockWorker*>& p) { return p.first == i; }),
      s.processing.end());
  s.state[size_t(i)] = kFinished;
  OnBlockProcessFinish(block, worker);
}

Block_iter CBlockProcessor::BlockEnd() { return m_structure->end(); }

int CBlockProcessor::GetFinishedBlockCount() const {
  CKorvaCritSectionGuard hold(m_blockLock.get());
  return m_impl->finishedCount;
}

// ---------------------------------------------------------------------------------------
// Sections

CKorvaCritSection* CBlockProcessor::AddWorkerReadCriticalSection() {
  auto section = std::make_unique<CKorvaCritSection>();
  CKorvaCritSectionGuard hold(m_blockLock.get());
  m_impl->readSections.push_back(section.get());
  return section.release();
}

void CBlockProcessor::RemoveWorkerReadCriticalSection(CKorvaCritSection* section) {
  CKorvaCritSectionGuard hold(m_blockLock.get());
  std::vector<CKorvaCritSection*>& sections = m_impl->readSections;
  auto it = std::find(sections.begin(), sections.end(), section);
  if (it == sections.end()) return;
  sections.erase(it);
  delete section;
}

void CBlockProcessor::LockAllSections() {
  m_blockLock->Lock();
  for (CKorvaCritSection* s : m_impl->readSections) s->Lock();
}

void CBlockProcessor::UnlockAllSections() {
  const std::vector<CKorvaCritSection*>& sections = m_impl->readSections;
  for (auto it = sections.rbegin(); it != sections.rend(); ++it) (*it)->Unlock();
  m_blockLock->Unlock();
}

// ---------------------------------------------------------------------------------------
// One block on a worker thread

void CBlockProcessor::BlockProcessCore(CBlockWorker& worker, Block_iter block) {
  if (IsAbortRaised()) return;
  IKorvaFragmentDescriptor_Old& desc = *block;
  // Declared before the sections: deleted after they are released, on every way out.
  std::unique_ptr<IKorvaFragment_Old> fragment;
  CKorvaCritSectionGuard read(worker.GetReadBlockSect());
  if (m_extract) {
    fragment.reset(ExtractBlock(desc));
    if (!fragment) return;
  }
  if (!worker.BlockInit(desc, fragment.get()) || IsAbortRaised()) return;
  if (!NeedUnsharedWorkerInit()) {
    if (!worker.BlockInitUnshared(desc, fragment.get())) return;
    read.Release();
  } else {
    // Our own read section goes first: holding it while waiting for the block lock would
    // deadlock with a worker that holds the block lock and waits for our section.
    read.Release();
    AllSectionsHold all(*this);
    if (!worker.BlockInitUnshared(desc, fragment.get())) return;
  }
  if (IsAbortRaised()) return;
  const int code = worker.ProcessFragment(desc, fragment.get());
  if (IsAbortRaised()) return;
  CheckWorkerResult(code);
  if (m_immediate) {
    AllSectionsHold all(*this);
    if (IsAbortRaised()) return;
    worker.FinishBlock(desc, fragment.get());
    if (fragment)
      ApplyBlockChanges(desc, *fragment);
    else
      ApplyBlockChangesBlockNotExtr(desc);
  }
}

// ---------------------------------------------------------------------------------------
// Worker threads

void CBlockProcessor::WorkerThread(CrewMember* member) {
  try {
    member->worker->Init();
    member->worker->Work();
  } catch (...) {
    RecordWorkerFailure(std::current_exception());
  }
  member->done.store(true);
  m_blockFinishedEvent->Set();
}

void CBlockProcessor::RecordWorkerFailure(std::exception_ptr failure) {
  CKorvaCritSectionGuard hold(m_blockLock.get());
  // Only the first failure counts; the others are usually its consequences (a worker
  // counter cancelled by the abort), as is everything thrown once an abort was raised.
  if (!m_impl->failure && !m_abortRaised.load()) m_impl->failure = failure;
  m_abortRaised.store(true);
}

bool CBlockProcessor::HasWorkerFailure() const {
  CKorvaCritSectionGuard hold(m_blockLock.get());
  return m_impl->failure != nullptr;
}

// Stops every worker thread, waits for it and deletes its worker; safe to call twice.
void CBlockProcessor::StopCrew(Crew& crew) {
  m_abortRaised.store(true);
  if (m_threadedPrgCnt) m_threadedPrgCnt->SetAbort();
  for (auto& m : crew)
    if (m->worker && m->worker->GetWorkerAbortEvent()) m->worker->GetWorkerAbortEvent()->Set();
  for (auto& m : crew) {
    if (m->thread.joinable()) m->thread.join();
    try {
      UnRegisterWorkerPrgCnt(m->worker);
    } catch (...) {
      // A failure is already on its way out; the worker is deleted all the same.
    }
    delete m->worker;
  }
  crew.clear();
}

// Joins the threads that ended and deletes their workers.
// @return whether any had ended.
bool CBlockProcessor::ReapEndedWorkers(Crew& crew) {
  bool any = false;
  for (size_t i = 0; i < crew.size();) {
    CrewMember& m = *crew[i];
    if (!m.done.load()) {
      ++i;
      continue;
    }
    m.thread.join();
    UnRegisterWorkerPrgCnt(m.worker);
    delete m.worker;
    m.worker = nullptr;
    // The last entry takes the freed place.
    crew[i] = std::move(crew.back());
    crew.pop_back();
    any = true;
  }
  return any;
}

// Reaps ended threads, wakes idle workers and moves the progress counter until every
// thread ended. @return true when the pass must be aborted.
bool CBlockProcessor::ManageCrew(Crew& crew) {
  CKorvaAutoResetEvent* const waitFor[2] = {m_abortEvent.get(), m_blockFinishedEvent.get()};
  for (;;) {
    UpdateParentPrgCnt();
    if (m_abortEvent->Wait(0) || HasWorkerFailure()) return true;
    bool progress = m_blockFinishedEvent->Wait(0);
    progress = ReapEndedWorkers(crew) || progress;
    if (crew.empty()) break;
    // Instead of sleeping 50 ms blind, wait up to that long for the events that can
    // change anything: a block given back (or a thread ended) and the abort.
    if (!progress && CKorvaAutoResetEvent::WaitAny(waitFor, 2, kManagerPollMs) == 0) return true;
    for (auto& m : crew)
      if (m->worker->GetIdleWorkerEvent()->Wait(0)) m->worker->GetWorkerWakeUpEvent()->Set();
  }
  UpdateParentPrgCnt();
  return m_abortEvent->Wait(0) || HasWorkerFailure();
}

// One worker from the factory per configured thread, each registered and running.
void CBlockProcessor::StartCrew(Crew& crew) {
  const int nThreads = std::max(1, m_nThreads);
  for (int i = 0; i < nThreads; ++i) {
    crew.push_back(std::make_unique<CrewMember>());
    CrewMember* m = crew.back().get();
    m->worker = CreateWorker(true);
    if (!m->worker) throw CKorvaException("Block processor: the worker factory returned no worker");
    RegisterWorkerPrgCnt(m->worker);
    m->thread = std::thread(&CBlockProcessor::WorkerThread, this, m);
  }
}

void CBlockProcessor::ParallelBlockProcess() {
  Crew crew;
  try {
    InitThreadedPrgCnt();
    StartCrew(crew);
    if (ManageCrew(crew)) {
      StopCrew(crew);
      std::exception_ptr failure;
      {
        CKorvaCritSectionGuard hold(m_blockLock.get());
        failure = m_impl->failure;
      }
      if (failure) std::rethrow_exception(failure);
      ThrowAbort();
    }
  } catch (...) {
    StopCrew(crew);
    ReleaseThreadedPrgCnt();
    throw;
  }
  ReleaseThreadedPrgCnt();
}

}  // namespace BlockProc
