// SPDX-License-Identifier: MIT
// Member bodies and the state record of CLinSysSolverMKL; included only by
// lin_sys_solver_mkl.cpp, which holds the explicit instantiations.
#pragma once

#include <qvmath/core/matrix.h>
#include <qvmath/core/solve_mat.h>
#include <qvmath/linsys/lin_sys_solver_mkl.h>

#include <algorithm>
#include <climits>
#include <map>
#include <utility>
#include <vector>

namespace REmath {
namespace detail {

// Identifier → column code of every declared vertex, for assembly: code k >= 0 is free
// vertex number k, code -1 - j is fixed vertex number j. Built once when the definition
// closes, so that an equation's terms are placed without tree searches: identifiers that
// span a compact range (the usual 0..n-1 or a block of mesh indices) get a direct table,
// scattered ones a sorted flat array searched by bisection.
class VertexDirectory {
 public:
  void Build(const std::map<int, int>& freeIndex, const std::map<int, int>& fixedIndex) {
    std::vector<std::pair<int, int>> entries;
    entries.reserve(freeIndex.size() + fixedIndex.size());
    for (const auto& e : freeIndex) entries.emplace_back(e.first, e.second);
    for (const auto& e : fixedIndex) entries.emplace_back(e.first, -1 - e.second);
    std::sort(entries.begin(), entries.end());
    m_table.clear();
    m_ids.clear();
    m_codes.clear();
    if (entries.empty()) return;
    m_first = entries.front().first;
    const long long span = static_cast<long long>(entries.back().first) - m_first + 1;
    // A table of up to four slots per vertex (plus a small floor) costs less memory than
    // the matrices it serves, whose rows alone have n slots.
    if (span <= 4 * static_cast<long long>(entries.size()) + kTableFloor) {
      m_table.assign(static_cast<std::size_t>(span), kAbsent);
      for (const auto& e : entries) m_table[static_cast<std::size_t>(e.first - m_first)] = e.second;
    } else {
      m_ids.reserve(entries.size());
      m_codes.reserve(entries.size());
      for (const auto& e : entries) {
        m_ids.push_back(e.first);
        m_codes.push_back(e.second);
      }
    }
  }

  // @return true and the code of id when id was declared, false otherwise.
  bool Find(int id, int& code) const {
    if (!m_table.empty()) {
      const long long slot = static_cast<long long>(id) - m_first;
      if (slot < 0 || slot >= static_cast<long long>(m_table.size())) return false;
      code = m_table[static_cast<std::size_t>(slot)];
      return code != kAbsent;
    }
    const auto it = std::lower_bound(m_ids.begin(), m_ids.end(), id);
    if (it == m_ids.end() || *it != id) return false;
    code = m_codes[static_cast<std::size_t>(it - m_ids.begin())];
    return true;
  }

 private:
  static constexpr int kAbsent = INT_MIN;  // no code is this small: -1 - j > INT_MIN
  static constexpr long long kTableFloor = 1024;

  long long m_first = 0;     // identifier of m_table[0]
  std::vector<int> m_table;  // dense form: code of identifier m_first + i, or kAbsent
  std::vector<int> m_ids;    // sparse form: ascending identifiers...
  std::vector<int> m_codes;  // ...and their codes
};

// The heap state record of CLinSysSolverMKL. The numbering "number → identifier" is dense
// (0, 1, 2, ... in the order of definition), so it is held as a vector indexed by number.
template <class T>
struct LinSysSolverState {
  bool spoiled = false;
  std::map<int, int> freeIndex;    // free identifier → row/column number
  std::vector<int> freeVertices;   // row/column number → free identifier
  std::map<int, int> fixedIndex;   // fixed identifier → column of F
  std::vector<int> fixedVertices;  // column of F → fixed identifier
  bool defining = true;            // vertices may still be defined
  Matrix<T> A;                     // n × n, row r = equation r, column k = free vertex k
  Matrix<T> F;                     // n × fixed count, coefficients of the fixed vertices
  int equations = 0;               // equations accepted so far; never exceeds n
  VertexDirectory directory;       // built when the definition closes

  int FreeCount() const { return static_cast<int>(freeVertices.size()); }
  int FixedCount() const { return static_cast<int>(fixedVertices.size()); }

  // Gives v the next number of its kind. Defining after the first equation, twice, or as
  // both kinds spoils the system; a spoiled system accepts nothing.
  void Define(int v, std::map<int, int>& index, std::vector<int>& byNumber,
              const std::map<int, int>& otherIndex) {
    if (spoiled) return;
    if (!defining || otherIndex.count(v) != 0 || index.count(v) != 0) {
      spoiled = true;
      return;
    }
    index.emplace(v, static_cast<int>(byNumber.size()));
    byNumber.push_back(v);
  }
};

}  // namespace detail

template <class T>
CLinSysSolverMKL<T>::CLinSysSolverMKL() : m_state(new detail::LinSysSolverState<T>()) {}

template <class T>
CLinSysSolverMKL<T>::CLinSysSolverMKL(const CLinSysSolverMKL& other)
    : IVertexPosLinearSystem<T>(other), m_state(new detail::LinSysSolverState<T>(*other.m_state)) {}

template <class T>
CLinSysSolverMKL<T>& CLinSysSolverMKL<T>::operator=(const CLinSysSolverMKL& other) {
  if (this != &other) {
    // Copy first, so that a failed allocation leaves this system as it was.
    detail::LinSysSolverState<T>* copy = new detail::LinSysSolverState<T>(*other.m_state);
    delete m_state;
    m_state = copy;
  }
  return *this;
}

template <class T>
CLinSysSolverMKL<T>::~CLinSysSolverMKL() {
  delete m_state;
}

template <class T>
CLinSysSolverMKL<T>* CLinSysSolverMKL<T>::Copy() const {
  return new CLinSysSolverMKL(*this);
}

template <class T>
void CLinSysSolverMKL<T>::OnDefineFreeVertex(int v) {
  m_state->Define(v, m_state->freeIndex, m_state->freeVertices, m_state->fixedIndex);
}

template <class T>
void CLinSysSolverMKL<T>::OnDefineFixedVertex(int v) {
  m_state->Define(v, m_state->fixedIndex, m_state->fixedVertices, m_state->freeIndex);
}

template <class T>
void CLinSysSolverMKL<T>::OnAddEquation(const CVertexLinearCombination<T>& lc) {
  detail::LinSysSolverState<T>& s = *m_state;
  const int n = s.FreeCount();
  if (!s.spoiled && s.defining && n > 0) {
    s.A.resize(n, n);
    if (s.FixedCount() > 0) s.F.resize(n, s.FixedCount());
    s.directory.Build(s.freeIndex, s.fixedIndex);
    s.defining = false;
  }
  if (s.spoiled) return;
  const int r = s.equations;
  if (r >= n) {
    s.spoiled = true;
    return;
  }
  for (auto it = lc.begin(), end = lc.end(); it != end; ++it) {
    int code = 0;
    if (!s.directory.Find(it->GetVertexIdx(), code)) {
      s.spoiled = true;  // an undeclared vertex: the equation is not counted
      return;
    }
    if (code >= 0)
      s.A(r, code) = it->GetCoeff();
    else
      s.F(r, -1 - code) = it->GetCoeff();
  }
  ++s.equations;
}

template <class T>
bool CLinSysSolverMKL<T>::OnIsCorrectlyDefinedSystem() const {
  return !m_state->spoiled && m_state->equations == m_state->FreeCount();
}

template <class T>
bool CLinSysSolverMKL<T>::OnIsSpoiled() const {
  return m_state->spoiled;
}

template <class T>
bool CLinSysSolverMKL<T>::OnSolveSystem(int axes, const IVertexPosInformer<T>** informers,
                                        IEqSysResultReciever<T>** receivers,
                                        CProgressCounter* /*progress: accepted, not used*/) {
  const detail::LinSysSolverState<T>& s = *m_state;
  const int n = s.FreeCount();
  if (s.spoiled || s.equations != n) return false;
  if (n == 0) return true;
  if (axes < 1 || informers == nullptr || receivers == nullptr) return false;
  for (int d = 0; d < axes; ++d)
    if (informers[d] == nullptr || receivers[d] == nullptr) return false;

  // Move the fixed vertices' terms to the right-hand side, one column per axis. Columns of
  // F and R are contiguous; exact zeros are skipped so that a fixed vertex absent from an
  // equation costs nothing (and an infinite position cannot leak in through a zero).
  const int fixedCount = s.FixedCount();
  Matrix<T> R(n, axes);
  for (int d = 0; d < axes; ++d) {
    T* rhs = R[d];
    for (int j = 0; j < fixedCount; ++j) {
      const T p = informers[d]->GetVertexPosition(s.fixedVertices[static_cast<std::size_t>(j)]);
      const T* coeffs = s.F[j];
      for (int r = 0; r < n; ++r) {
        if (coeffs[r] != T(0)) rhs[r] = T(rhs[r] - T(coeffs[r] * p));
      }
    }
  }

  // solveMat overwrites its matrix with the LU factors: factorise a scratch copy, so that
  // A stays for the next solve.
  Matrix<T> lu(s.A);
  Matrix<T> X(n, axes);
  if (!solveMat(lu, R, X)) return false;

  for (int d = 0; d < axes; ++d) {
    const T* x = X[d];
    for (int k = 0; k < n; ++k)
      receivers[d]->SetVertexPosition(s.freeVertices[static_cast<std::size_t>(k)], x[k]);
  }
  return true;
}

}  // namespace REmath
