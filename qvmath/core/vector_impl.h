// SPDX-License-Identifier: MIT
// Member bodies of REmath::Vector<T>; included only by vector.cpp, which instantiates them
// for the ten element types.
#pragma once

#include <qvmath/core/detail/element_ops.h>
#include <qvmath/core/detail/fault.h>
#include <qvmath/core/vector.h>

#include <cstring>
#include <new>

namespace REmath {

namespace detail {

// Sets p[0..n) to the zero element.
template <class T>
void ZeroFill(T* p, int n) {
  for (int i = 0; i < n; ++i) p[i] = T();
}

// v.resize(n) for the callers that cannot report -1: throws std::bad_alloc instead.
template <class T>
void ResizeOrThrow(Vector<T>& v, int n) {
  if (v.resize(n) != n) throw std::bad_alloc();
}

}  // namespace detail

template <class T>
Vector<T>::Vector() : m_capacity(0), m_owns(0), m_size(0), m_data(nullptr) {
  detail::ResizeOrThrow(*this, 1);
}

template <class T>
Vector<T>::Vector(int n) : m_capacity(0), m_owns(0), m_size(0), m_data(nullptr) {
  if (n > 0) detail::ResizeOrThrow(*this, n);
}

template <class T>
Vector<T>::Vector(T* mem, int n)
    : m_capacity(n > 0 ? n : 0), m_owns(0), m_size(n > 0 ? n : 0), m_data(mem) {}

template <class T>
Vector<T>::Vector(const Vector& other) : m_capacity(0), m_owns(0), m_size(0), m_data(nullptr) {
  if (other.m_size > 0) {
    detail::ResizeOrThrow(*this, other.m_size);
    std::memcpy(static_cast<void*>(m_data), other.m_data, sizeof(T) * size_t(m_size));
  }
}

template <class T>
Vector<T>::~Vector() {
  if (m_owns) delete[] m_data;
  m_data = nullptr;
  m_size = m_capacity = 0;
}

template <class T>
int Vector<T>::resize(int n) {
  if (n < 0) return -1;
  const int c = m_capacity, s = m_size;
  // Same capacity or shrinking: only the logical size changes; the elements beyond it stay
  // in the block and come back with untrim().
  if (n == c || n < s) {
    m_size = n;
    return n;
  }
  // Growing within the block: the newly exposed elements are zeroed.
  if (n > s && n < c) {
    detail::ZeroFill(m_data + s, n - s);
    m_size = n;
    return n;
  }
  // n > c, or n == s != c: a fresh block of exactly n elements, which the vector owns.
  T* block = new (std::nothrow) T[size_t(n)];
  if (!block) return -1;
  if (m_data) {
    std::memcpy(static_cast<void*>(block), m_data, sizeof(T) * size_t(s));
    detail::ZeroFill(block + s, n - s);
    if (m_owns) delete[] m_data;
  } else {
    detail::ZeroFill(block, n);
  }
  m_data = block;
  m_capacity = m_size = n;
  m_owns = 1;
  return n;
}

template <class T>
int Vector<T>::resize(const Vector& other) {
  return resize(other.m_size);
}

template <class T>
void Vector<T>::trim(int n) {
  if (n >= 0 && n <= m_capacity) m_size = n;
}

template <class T>
void Vector<T>::untrim() {
  m_size = m_capacity;
}

template <class T>
void Vector<T>::reset(T value) {
  for (int i = 0; i < m_size; ++i) m_data[i] = value;
}

template <class T>
T Vector<T>::operator=(T value) {
  reset(value);  // virtual: a derived vector's reset takes part
  return value;
}

template <class T>
Vector<T>& Vector<T>::operator=(const Vector& other) {
  if (this == &other) return *this;
  if (m_size != other.m_size) detail::ResizeOrThrow(*this, other.m_size);
  m_size = other.m_size;
  // memmove: the other vector may view memory overlapping this one's block.
  if (m_size > 0)
    std::memmove(static_cast<void*>(m_data), other.m_data, sizeof(T) * size_t(m_size));
  return *this;
}

template <class T>
Vector<T> Vector<T>::get(int start, int count) const {
  if (start < 0 || count < 0 || count > m_size - start) detail::ThrowFault("NURBSmatrix_err");
  Vector r(count);
  if (count > 0)
    std::memcpy(static_cast<void*>(r.m_data), m_data + start, sizeof(T) * size_t(count));
  return r;
}

template <class T>
void Vector<T>::as(int start, const Vector& src) {
  if (start < 0 || src.m_size > m_size - start) detail::ThrowFault("NURBSmatrix_err");
  if (src.m_size > 0)
    std::memmove(static_cast<void*>(m_data + start), src.m_data, sizeof(T) * size_t(src.m_size));
}

template <class T>
Vector<T>& Vector<T>::operator+=(const Vector& other) {
  if (m_size != other.m_size) detail::ThrowFault("NURBSsize");
  detail::CombineInPlace(m_data, other.m_data, std::size_t(m_size), detail::AddOp());
  return *this;
}

template <class T>
Vector<T>& Vector<T>::operator-=(const Vector& other) {
  if (m_size != other.m_size) detail::ThrowFault("NURBSsize");
  detail::CombineInPlace(m_data, other.m_data, std::size_t(m_size), detail::SubOp());
  return *this;
}

template <class T>
int Vector<T>::minIndex() const {
  if (!m_data) return 0;
  int best = 0;
  T cur = m_data[0];
  for (int i = 1; i < m_size; ++i) {
    if (detail::TakesMinimum(cur, m_data[i])) {
      cur = m_data[i];
      best = i;
    }
  }
  return best;
}

template <class T>
T Vector<T>::minimum() const {
  if (!m_data) return T();
  return m_data[minIndex()];
}

}  // namespace REmath
