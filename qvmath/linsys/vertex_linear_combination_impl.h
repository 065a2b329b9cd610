// SPDX-License-Identifier: MIT
// Member bodies of CVertexLinearCombination and CLinearCombIterator; included only by
// vertex_linear_combination.cpp, which holds the explicit instantiations.
#pragma once

#include <qvmath/linsys/vertex_linear_combination.h>

namespace REmath {

template <class T>
CVertexLinearCombination<T>::CVertexLinearCombination() : m_coeffs(new std::map<int, T>()) {}

template <class T>
CVertexLinearCombination<T>::CVertexLinearCombination(const CVertexLinearCombination& other)
    : m_coeffs(new std::map<int, T>(*other.m_coeffs)) {}

template <class T>
CVertexLinearCombination<T>& CVertexLinearCombination<T>::operator=(
    const CVertexLinearCombination& other) {
  if (this != &other) *m_coeffs = *other.m_coeffs;
  return *this;
}

template <class T>
CVertexLinearCombination<T>::~CVertexLinearCombination() {
  delete m_coeffs;
}

template <class T>
void CVertexLinearCombination<T>::AddVertex(int v, T c) {
  // One search: insert (v, c) or find the existing entry and add to it.
  auto result = m_coeffs->insert(std::make_pair(v, c));
  if (!result.second) result.first->second = T(result.first->second + c);
}

template <class T>
T CVertexLinearCombination<T>::VertexCoeff(int v) const {
  auto it = m_coeffs->find(v);
  return it == m_coeffs->end() ? T(0) : it->second;
}

template <class T>
CVertexLinearCombination<T>& CVertexLinearCombination<T>::operator*=(T s) {
  for (auto& entry : *m_coeffs) entry.second = T(entry.second * s);
  return *this;
}

template <class T>
CVertexLinearCombination<T>& CVertexLinearCombination<T>::operator+=(
    const CVertexLinearCombination& other) {
  // For lc += lc the walk meets only identifiers already present, so no entry is inserted
  // into the map being walked and every coefficient is doubled exactly once.
  for (const auto& entry : *other.m_coeffs) AddVertex(entry.first, entry.second);
  return *this;
}

template <class T>
CLinearCombIterator<T> CVertexLinearCombination<T>::begin() const {
  return CLinearCombIterator<T>(m_coeffs->begin(), m_coeffs->end());
}

template <class T>
CLinearCombIterator<T> CVertexLinearCombination<T>::end() const {
  return CLinearCombIterator<T>(m_coeffs->end(), m_coeffs->end());
}

template <class T>
CLinearCombIterator<T>::CLinearCombIterator(Position pos, Position end) : m_pos(pos), m_end(end) {
  Refresh();
}

template <class T>
CLinearCombIterator<T>& CLinearCombIterator<T>::operator++() {
  ++m_pos;
  Refresh();
  return *this;
}

template <class T>
CLinearCombIterator<T> CLinearCombIterator<T>::operator++(int) {
  CLinearCombIterator before(*this);
  ++*this;
  return before;
}

template <class T>
void CLinearCombIterator<T>::Refresh() {
  if (m_pos != m_end) m_current = CVertexMonom<T>(m_pos->first, m_pos->second);
}

}  // namespace REmath
