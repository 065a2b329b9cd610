// SPDX-License-Identifier: MIT
// Member bodies of REmath::Matrix<T>; included only by matrix.cpp, which instantiates them
// for the ten element types.
#pragma once

#include <qvmath/core/detail/element_ops.h>
#include <qvmath/core/detail/fault.h>
#include <qvmath/core/matrix.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>

namespace REmath {

namespace detail {

template <class T>
void CopyElems(T* dst, const T* src, std::ptrdiff_t n) {
  if (n > 0) std::memcpy(static_cast<void*>(dst), src, std::size_t(n) * sizeof(T));
}

// For ranges that may overlap (a view sharing storage, a block copied within a matrix).
template <class T>
void MoveElems(T* dst, const T* src, std::ptrdiff_t n) {
  if (n > 0) std::memmove(static_cast<void*>(dst), src, std::size_t(n) * sizeof(T));
}

// Allocates rows·cols zero elements and the column pointers into them (rows, cols >= 1);
// data and columns are assigned only when both allocations succeed.
template <class T>
void AllocateZeroed(int rows, int cols, T*& data, T**& columns) {
  const std::size_t n = std::size_t(rows) * std::size_t(cols);
  T* block = new T[n];
  T** pointers = nullptr;
  try {
    pointers = new T*[std::size_t(cols)];
  } catch (...) {
    delete[] block;
    throw;
  }
  std::memset(static_cast<void*>(block), 0, n * sizeof(T));
  for (int j = 0; j < cols; ++j) pointers[j] = block + std::size_t(j) * std::size_t(rows);
  data = block;
  columns = pointers;
}

// rows·cols when storage is attached, else 0.
template <class T>
std::size_t ElementCount(const Matrix<T>& m) {
  return m.memory() ? std::size_t(m.rows()) * std::size_t(m.cols()) : 0;
}

}  // namespace detail

template <class T>
Matrix<T>::Matrix() : m_rows(0), m_cols(0), m_data(nullptr), m_columns(nullptr), m_owns(0) {
  init(1, 1);
}

template <class T>
Matrix<T>::Matrix(int rows, int cols)
    : m_rows(0), m_cols(0), m_data(nullptr), m_columns(nullptr), m_owns(0) {
  init(rows, cols);
}

template <class T>
Matrix<T>::Matrix(T* data, T** columns, int rows, int cols)
    : m_rows(std::max(rows, 0)),
      m_cols(std::max(cols, 0)),
      m_data(data),
      m_columns(columns),
      m_owns(0) {
  // Checked before anything is written through the caller's pointers.
  if (m_cols > 0 && !columns)
    throw std::invalid_argument("Matrix: a view needs a column-pointer array");
  if (m_rows > 0 && m_cols > 0 && !data)
    throw std::invalid_argument("Matrix: a view needs an element block");
  for (int j = m_cols - 1; j >= 0; --j) columns[j] = data + std::ptrdiff_t(j) * m_rows;
}

template <class T>
Matrix<T>::Matrix(const Matrix& other)
    : m_rows(0), m_cols(0), m_data(nullptr), m_columns(nullptr), m_owns(0) {
  init(other.m_rows, other.m_cols);
  detail::CopyElems(m_data, other.m_data, std::ptrdiff_t(detail::ElementCount(*this)));
}

template <class T>
Matrix<T>::~Matrix() {
  if (m_owns) {
    delete[] m_data;
    delete[] m_columns;
  }
}

template <class T>
void Matrix<T>::init(int rows, int cols) {
  // Negative sizes are taken as 0, as Vector does: a matrix never reports a negative
  // dimension, so range checks and product shapes cannot overflow or go negative.
  rows = std::max(rows, 0);
  cols = std::max(cols, 0);
  if (rows >= 1 && cols >= 1) {
    detail::AllocateZeroed(rows, cols, m_data, m_columns);
    m_owns = 1;
  }
  m_rows = rows;
  m_cols = cols;
}

template <class T>
void Matrix<T>::resize(int rows, int cols) {
  // The new storage is allocated first: when that fails the matrix is unchanged.
  Matrix fresh(rows, cols);
  // The column-pointer array goes in any case, also a view's: the caller of the view
  // constructor hands it over (allocated with array new) when it lets the matrix resize.
  if (m_owns) delete[] m_data;
  delete[] m_columns;
  m_data = nullptr;
  m_columns = nullptr;
  m_owns = 0;
  swap(fresh);
}

template <class T>
void Matrix<T>::resize(const Matrix& other) {
  resize(other.m_rows, other.m_cols);
}

template <class T>
void Matrix<T>::resizeKeep(int rows, int cols) {
  if (rows == m_rows && cols == m_cols) return;
  const int r = std::max(rows, 0), c = std::max(cols, 0);
  T* data = nullptr;
  T** columns = nullptr;
  if (r > 0 && c > 0) {
    // Zeroed although callers must not rely on it: deterministic beats stale memory.
    detail::AllocateZeroed(r, c, data, columns);
    const int keepRows = std::min(r, m_rows), keepCols = std::min(c, m_cols);
    for (int j = 0; j < keepCols; ++j) detail::CopyElems(columns[j], m_columns[j], keepRows);
  }
  if (m_owns) delete[] m_data;
  delete[] m_columns;
  m_data = data;
  m_columns = columns;
  m_rows = r;
  m_cols = c;
}

template <class T>
void Matrix<T>::swap(Matrix& other) {
  std::swap(m_rows, other.m_rows);
  std::swap(m_cols, other.m_cols);
  std::swap(m_data, other.m_data);
  std::swap(m_columns, other.m_columns);
  std::swap(m_owns, other.m_owns);
}

template <class T>
void Matrix<T>::reset() {
  if (m_data) std::memset(static_cast<void*>(m_data), 0, detail::ElementCount(*this) * sizeof(T));
}

template <class T>
void Matrix<T>::reset(T v) {
  // A zero is written by a byte-wise clear, so reset(-0.0) leaves +0.0.
  if (detail::IsZeroElem(v)) {
    reset();
    return;
  }
  const std::size_t n = detail::ElementCount(*this);
  for (std::size_t k = 0; k < n; ++k) m_data[k] = v;
}

template <class T>
T Matrix<T>::operator=(T v) {
  reset(v);
  return v;
}

template <class T>
void Matrix<T>::diag(T v) {
  const int n = std::min(m_rows, m_cols);
  for (int i = 0; i < n; ++i) m_columns[i][i] = v;
}

template <class T>
Vector<T> Matrix<T>::getDiag() const {
  const int n = std::min(m_rows, m_cols);
  Vector<T> d(n);
  for (int i = 0; i < n; ++i) d[i] = m_columns[i][i];
  return d;
}

template <class T>
T Matrix<T>::trace() const {
  const int n = std::min(m_rows, m_cols);
  T s = T();
  for (int i = 0; i < n; ++i) s = detail::AddElem(s, m_columns[i][i]);
  return s;
}

template <class T>
Matrix<T>& Matrix<T>::operator=(const Matrix& other) {
  if (this == &other) return *this;
  if (m_rows != other.m_rows || m_cols != other.m_cols) resize(other);
  // memmove: a view may share storage with the other matrix.
  if (m_data && other.m_data)
    std::memmove(static_cast<void*>(m_data), other.m_data, detail::ElementCount(*this) * sizeof(T));
  return *this;
}

template <class T>
Matrix<T> Matrix<T>::get(int r0, int c0, int nr, int nc) const {
  if (r0 < 0 || c0 < 0 || nr < 0 || nc < 0 || nr > m_rows - r0 || nc > m_cols - c0)
    detail::ThrowFault("NURBSMatrixErr");
  Matrix r(nr, nc);
  if (nr > 0)
    for (int j = 0; j < nc; ++j) detail::CopyElems(r.m_columns[j], m_columns[c0 + j] + r0, nr);
  return r;
}

template <class T>
void Matrix<T>::as(int r0, int c0, const Matrix& B) {
  if (r0 < 0 || c0 < 0 || B.m_rows > m_rows - r0 || B.m_cols > m_cols - c0)
    detail::ThrowFault("NURBSMatrixErr");
  if (B.m_rows > 0)
    for (int j = 0; j < B.m_cols; ++j)
      detail::MoveElems(m_columns[c0 + j] + r0, B.m_columns[j], B.m_rows);
}

template <class T>
void Matrix<T>::submatrix(int bi, int bj, const Matrix& B) {
  if (B.m_rows < 1 || B.m_cols < 1 || m_rows < B.m_rows || m_cols < B.m_cols ||
      m_rows % B.m_rows != 0 || m_cols % B.m_cols != 0)
    detail::ThrowFault("NURBSWrongSize2D");
  if (bi < 0 || bj < 0 || bi >= m_rows / B.m_rows || bj >= m_cols / B.m_cols)
    detail::ThrowFault("NURBSOutOfBound2D");
  const int r0 = bi * B.m_rows, c0 = bj * B.m_cols;
  for (int j = 0; j < B.m_cols; ++j)
    detail::MoveElems(m_columns[c0 + j] + r0, B.m_columns[j], B.m_rows);
}

template <class T>
void Matrix<T>::copySubMatrix(int r0, int c0, int nr, int nc, const Matrix& src, int sr0, int sc0) {
  for (int k = 0; k < nc; ++k)
    detail::MoveElems(m_columns[c0 + k] + r0, src.m_columns[sc0 + k] + sr0, nr);
}

template <class T>
Matrix<T> Matrix<T>::transpose() const {
  Matrix r(m_cols, m_rows);
  // Tiled so that both the rows read here and the columns written stay in cache.
  constexpr int kTile = 32;
  for (int j0 = 0; j0 < m_cols; j0 += kTile) {
    const int j1 = std::min(j0 + kTile, m_cols);
    for (int i0 = 0; i0 < m_rows; i0 += kTile) {
      const int i1 = std::min(i0 + kTile, m_rows);
      for (int i = i0; i < i1; ++i) {
        T* dst = r.m_columns[i];
        for (int j = j0; j < j1; ++j) dst[j] = m_columns[j][i];
      }
    }
  }
  return r;
}

template <class T>
Matrix<T> Matrix<T>::herm() const {
  return transpose();
}

template <class T>
Matrix<T> Matrix<T>::flop() const {
  Matrix r(m_rows, m_cols);
  if (m_rows > 0)
    for (int j = 0; j < m_cols; ++j)
      detail::CopyElems(r.m_columns[j], m_columns[m_cols - 1 - j], m_rows);
  return r;
}

template <class T>
Matrix<T>& Matrix<T>::operator+=(const Matrix& other) {
  if (m_rows != other.m_rows || m_cols != other.m_cols) detail::ThrowFault("NURBSWrongSize2D");
  detail::CombineInPlace(m_data, other.m_data, detail::ElementCount(*this), detail::AddOp());
  return *this;
}

template <class T>
Matrix<T>& Matrix<T>::operator-=(const Matrix& other) {
  if (m_rows != other.m_rows || m_cols != other.m_cols) detail::ThrowFault("NURBSWrongSize2D");
  detail::CombineInPlace(m_data, other.m_data, detail::ElementCount(*this), detail::SubOp());
  return *this;
}

template <class T>
Matrix<T>& Matrix<T>::operator+=(T v) {
  detail::CombineScalarInPlace(m_data, v, detail::ElementCount(*this), detail::AddOp());
  return *this;
}

template <class T>
Matrix<T>& Matrix<T>::operator-=(T v) {
  detail::CombineScalarInPlace(m_data, v, detail::ElementCount(*this), detail::SubOp());
  return *this;
}

template <class T>
Matrix<T>& Matrix<T>::operator*=(T v) {
  detail::CombineScalarInPlace(m_data, v, detail::ElementCount(*this), detail::MulOp());
  return *this;
}

template <class T>
Matrix<T>& Matrix<T>::operator/=(T v) {
  if (detail::DivisionTraps(v)) throw std::domain_error("Matrix: integer division by zero");
  detail::CombineScalarInPlace(m_data, v, detail::ElementCount(*this), detail::DivOp());
  return *this;
}

}  // namespace REmath
