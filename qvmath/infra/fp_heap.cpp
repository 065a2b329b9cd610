// SPDX-License-Identifier: MIT
#include <qvmath/infra/fp_heap.h>

#include <limits>
#include <stdexcept>

CfpHeap::CfpHeap(int n) {
  // The array used to be created with n null entries, which no operation could survive;
  // n is a capacity hint instead.
  if (n > 0) m_heap.reserve(static_cast<std::size_t>(n));
}

bool CfpHeap::Holds(const CfpHeapMem* e) const {
  if (!e) return false;
  const int pos = e->getHeapPos();
  return pos >= 0 && pos < size() && m_heap[static_cast<std::size_t>(pos)] == e;
}

// Both sifts carry the element in hand and move the others into the hole, storing it
// once at the end; only strict comparisons move anything (see the class comment).
void CfpHeap::SiftUp(int i) {
  CfpHeapMem* const e = m_heap[i];
  const double key = e->getHeapKey();
  while (i > 0) {
    const int parent = (i - 1) / 2;
    CfpHeapMem* const p = m_heap[parent];
    if (!(p->getHeapKey() < key)) break;
    m_heap[i] = p;
    p->setHeapPos(i);
    i = parent;
  }
  m_heap[i] = e;
  e->setHeapPos(i);
}

void CfpHeap::SiftDown(int i) {
  const int n = size();
  CfpHeapMem* const e = m_heap[i];
  const double key = e->getHeapKey();
  for (int child = 2 * i + 1; child < n; child = 2 * i + 1) {
    if (child + 1 < n && m_heap[child + 1]->getHeapKey() > m_heap[child]->getHeapKey()) ++child;
    CfpHeapMem* const c = m_heap[child];
    if (c->getHeapKey() <= key) break;
    m_heap[i] = c;
    c->setHeapPos(i);
    i = child;
  }
  m_heap[i] = e;
  e->setHeapPos(i);
}

void CfpHeap::insert(CfpHeapMem* e, double key) {
  if (!e) throw std::invalid_argument("CfpHeap::insert: null element");
  if (e->inHeap()) throw std::logic_error("CfpHeap::insert: the element is already in a heap");
  if (size() == std::numeric_limits<int>::max()) throw std::length_error("CfpHeap: full");
  e->setHeapKey(key);
  m_heap.push_back(e);
  SiftUp(size() - 1);
}

void CfpHeap::insert(CfpHeapMem* e) {
  if (!e) throw std::invalid_argument("CfpHeap::insert: null element");
  insert(e, e->getHeapKey());
}

CfpHeapMem* CfpHeap::extract() {
  if (m_heap.empty()) return nullptr;
  CfpHeapMem* const top = m_heap.front();
  CfpHeapMem* const last = m_heap.back();
  m_heap.front() = last;
  last->setHeapPos(0);
  m_heap.pop_back();
  if (m_heap.size() >= 2) SiftDown(0);
  top->setOutofHeap();
  return top;
}

CfpHeapMem* CfpHeap::remove(CfpHeapMem* e) {
  if (!Holds(e)) return nullptr;
  const int pos = e->getHeapPos();
  CfpHeapMem* const last = m_heap.back();
  m_heap.pop_back();
  if (last != e) {
    m_heap[pos] = last;
    last->setHeapPos(pos);
    if (e->getHeapKey() > last->getHeapKey()) {
      SiftDown(pos);
    } else {
      SiftUp(pos);
    }
  }
  e->setOutofHeap();
  return e;
}

void CfpHeap::update(CfpHeapMem* e, double key) {
  if (!Holds(e)) return;
  e->setHeapKey(key);
  const int pos = e->getHeapPos();
  if (pos != 0 && key > m_heap[(pos - 1) / 2]->getHeapKey()) {
    SiftUp(pos);
  } else {
    SiftDown(pos);
  }
}

void CfpHeap::update(CfpHeapMem* e) {
  if (e) update(e, e->getHeapKey());
}
