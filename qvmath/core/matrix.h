// SPDX-License-Identifier: MIT
// REmath::Matrix<T>: a column-major dense matrix with an array of column pointers, owning
// its storage or viewing caller storage, for the same ten element types as Vector<T>.
#pragma once

#include <type_traits>

#include <qvmath/core/element_types.h>
#include <qvmath/core/vector.h>
#include <qvmath/platform/export.h>

namespace REmath {

/// A dense rows × cols matrix stored column by column in one block (element (i, j) at
/// data[j·rows + i], the layout LAPACK expects) with an array of column pointers.
/// `m[j]` is the pointer to column j, so `m[j][i]` is row i of column j — deliberately the
/// reverse of the row-pointer convention; `m(i, j)` and `elem(i, j)` take (row, column).
/// Instantiated and exported for the ten element types of `Vector<T>`.
///
/// Ownership: `Matrix(data, columns, rows, cols)` views caller storage and never frees it
/// (but `resize` frees the column-pointer array of a view too: the caller must have
/// allocated it with array new). All other constructors allocate, zero and own.
///
/// Element arithmetic of point types (used by the scalar operators and by the product of
/// `Matrix<HPoint3D>`) is componentwise, w included.
///
/// Faults throw a `char*` to "NURBSWrongSize2D" (shapes do not match or tile),
/// "NURBSOutOfBound2D" (block index outside the grid) or "NURBSMatrixErr" (range outside
/// the matrix); the target is unchanged when a check fails. Access is not bounds-checked.
template <class T>
class Matrix {
 public:
  /// A 1 × 1 zero matrix (not empty — deliberate, as for `Vector`).
  Matrix();
  /// rows × cols zeros; with a dimension < 1 no storage is attached.
  Matrix(int rows, int cols);
  /// A view: stores both pointers and fills columns[j] = data + j·rows for j = cols-1 .. 0.
  Matrix(T* data, T** columns, int rows, int cols);
  /// An owning deep copy.
  Matrix(const Matrix& other);
  /// Frees data and columns when owning.
  virtual ~Matrix();

  /// Frees the element block if owning and the column-pointer array in any case, then
  /// attaches rows × cols zeros, owning. The contents are lost.
  void resize(int rows, int cols);
  /// `resize(other.rows(), other.cols())`.
  void resize(const Matrix& other);
  /// Reshapes keeping the overlapping top-left block; nothing happens for the same shape.
  /// Elements outside the kept block are unspecified (callers set them); the owns flag is
  /// left as it was.
  void resizeKeep(int rows, int cols);
  int rows() const { return m_rows; }
  int cols() const { return m_cols; }
  /// Exchanges all fields with other (ownership travels with the storage).
  void swap(Matrix& other);

  T& operator()(int i, int j) { return m_columns[j][i]; }
  const T& operator()(int i, int j) const { return m_columns[j][i]; }
  T& elem(int i, int j) { return m_columns[j][i]; }
  const T& elem(int i, int j) const { return m_columns[j][i]; }
  /// @return the pointer to column j.
  T* operator[](int j) { return m_columns[j]; }
  const T* operator[](int j) const { return m_columns[j]; }
  /// @return the element block (column-major, leading dimension rows()).
  T* memory() const { return m_data; }

  /// Zeroes all elements.
  void reset();
  /// Sets all elements to v.
  void reset(T v);
  /// Same as `reset(v)`. @return v.
  T operator=(T v);
  /// Sets the min(rows, cols) diagonal elements to v; the others stay.
  void diag(T v);
  /// @return the min(rows, cols) diagonal elements.
  Vector<T> getDiag() const;
  /// @return the sum of the diagonal elements.
  T trace() const;

  /// Copies the other's elements, reshaping first when a dimension differs.
  Matrix& operator=(const Matrix& other);
  /// @return the nr × nc block whose top-left is (r0, c0).
  /// @throws char* "NURBSMatrixErr" when r0 + nr > rows or c0 + nc > cols.
  Matrix get(int r0, int c0, int nr, int nc) const;
  /// Writes B with its top-left at (r0, c0).
  /// @throws char* "NURBSMatrixErr" when B.rows + r0 > rows or B.cols + c0 > cols.
  void as(int r0, int c0, const Matrix& B);
  /// Writes B into block (bi, bj) of this matrix seen as a grid of blocks of B's shape.
  /// @throws char* "NURBSWrongSize2D" unless rows and cols are whole multiples of B's and
  ///         at least as large; then "NURBSOutOfBound2D" unless the block is in the grid.
  void submatrix(int bi, int bj, const Matrix& B);
  /// Copies, for k < nc, nr elements of src's column sc0 + k from row sr0 into column
  /// c0 + k from row r0. No checks at all: for callers that checked the ranges.
  void copySubMatrix(int r0, int c0, int nr, int nc, const Matrix& src, int sr0, int sc0);

  /// @return the cols × rows transpose.
  Matrix transpose() const;
  /// @return the same as `transpose()` (the element types are real).
  Matrix herm() const;
  /// @return the matrix with its columns in reverse order.
  Matrix flop() const;

  /// Elementwise in place. @throws char* "NURBSWrongSize2D" unless the shapes agree.
  Matrix& operator+=(const Matrix& other);
  /// Elementwise in place. @throws char* "NURBSWrongSize2D" unless the shapes agree.
  Matrix& operator-=(const Matrix& other);
  Matrix& operator+=(T v);
  Matrix& operator-=(T v);
  Matrix& operator*=(T v);
  /// A true division of every element.
  Matrix& operator/=(T v);

  /// The largest signed sum over the rows consecutive runs of cols elements of the block
  /// (for a square matrix: the largest signed column sum, not the induced 1-norm); 0 for a
  /// matrix without rows. Scalar element types only.
  template <class U = T, std::enable_if_t<std::is_arithmetic<U>::value, int> = 0>
  U norm() const {
    if (m_rows < 1 || m_cols < 1) return U(0);
    U best{};
    for (int r = 0; r < m_rows; ++r) {
      U sum = U(0);
      for (int k = 0; k < m_cols; ++k) sum = U(sum + m_data[r * m_cols + k]);
      if (r == 0 || sum > best) best = sum;
    }
    return best;
  }

 protected:
  /// Sets rows and cols; when both are >= 1 attaches rows·cols zeros and the column
  /// pointers, owning. Otherwise only the counts are set.
  void init(int rows, int cols);

  int m_rows;      ///< length of each column
  int m_cols;      ///< number of columns
  T* m_data;       ///< rows·cols elements, column-major
  T** m_columns;   ///< m_columns[j] = m_data + j·rows
  int m_owns;      ///< nonzero when the matrix allocated data and columns
};

#define QVMATH_MATRIX_FREE_OPS(T)                                                        \
  /** a + b: a copy of a, then += b. @throws char* "NURBSWrongSize2D". */               \
  QVMATH_API Matrix<T> operator+(const Matrix<T>& a, const Matrix<T>& b);                \
  /** a - b: a copy of a, then -= b. @throws char* "NURBSWrongSize2D". */               \
  QVMATH_API Matrix<T> operator-(const Matrix<T>& a, const Matrix<T>& b);                \
  /** Every element times s (integers: in double, truncated toward zero). */            \
  QVMATH_API Matrix<T> operator*(double s, const Matrix<T>& m);                          \
  /** Exact elementwise equality. @throws char* "NURBSWrongSize2D" on a shape mismatch */ \
  /** (a different shape does not make the result false — deliberately). */            \
  QVMATH_API bool operator==(const Matrix<T>& a, const Matrix<T>& b);                    \
  QVMATH_API bool operator!=(const Matrix<T>& a, const Matrix<T>& b);
QVMATH_FOR_EACH_ELEMENT_TYPE(QVMATH_MATRIX_FREE_OPS)
#undef QVMATH_MATRIX_FREE_OPS

// The product and the commutator, for the six scalar types and HPoint3D (componentwise).
// C = A·B: for each row i from the last, for each k from A.cols-1 down to 0, a = A(i, k)
// is skipped when it compares equal to zero (so an infinity in B does not reach C through
// a zero of A), else C(i, j) += a·B(k, j) for j from B.cols-1 down to 0.
#define QVMATH_MATRIX_PRODUCT_OPS(T)                                                  \
  /** A·B. @throws char* "NURBSWrongSize2D" unless A.cols() == B.rows(). */          \
  QVMATH_API Matrix<T> operator*(const Matrix<T>& A, const Matrix<T>& B);             \
  /** A·B − B·A. @throws char* "NURBSWrongSize2D" on mismatched shapes. */           \
  QVMATH_API Matrix<T> comm(const Matrix<T>& A, const Matrix<T>& B);
QVMATH_FOR_EACH_SCALAR_TYPE(QVMATH_MATRIX_PRODUCT_OPS)
QVMATH_MATRIX_PRODUCT_OPS(HPoint3D)
#undef QVMATH_MATRIX_PRODUCT_OPS

// A·v, r(i) = Σ A(i, k)·v(k) summed from k = A.cols-1 down to 0; scalar types only.
#define QVMATH_MATRIX_VECTOR_OP(T)                                                    \
  /** A·v. @throws char* "NURBSWrongSize2D" unless A.cols() == v.size(). */          \
  QVMATH_API Vector<T> operator*(const Matrix<T>& A, const Vector<T>& v);
QVMATH_FOR_EACH_SCALAR_TYPE(QVMATH_MATRIX_VECTOR_OP)
#undef QVMATH_MATRIX_VECTOR_OP

/// The same as `m.resizeKeep(rows, cols)`; offered for Point3D_d and HPoint3D_d.
QVMATH_API void resizeKeepMatrix(Matrix<Point3D_d>& m, int rows, int cols);
QVMATH_API void resizeKeepMatrix(Matrix<HPoint3D_d>& m, int rows, int cols);

#define QVMATH_MATRIX_EXTERN(T) extern template class QVMATH_EXTERN_TEMPLATE Matrix<T>;
QVMATH_FOR_EACH_ELEMENT_TYPE(QVMATH_MATRIX_EXTERN)
#undef QVMATH_MATRIX_EXTERN

}  // namespace REmath
