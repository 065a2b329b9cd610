// SPDX-License-Identifier: MIT
// REmath::Matrix<T>: a column-major dense matrix with an array of column pointers, owning
// its storage or viewing caller storage, for the same ten element types as Vector<T>.
#pragma once

#include <qvmath/core/element_types.h>
#include <qvmath/core/vector.h>
#include <qvmath/platform/export.h>

#include <cstddef>
#include <type_traits>

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
/// Allocation failure throws `std::bad_alloc` and leaves the matrix unchanged (`resize`,
/// `resizeKeep` and `operator=` allocate before they free). Negative dimensions are taken
/// as 0 everywhere, as for `Vector`. Integer arithmetic wraps modulo 2^bits.
/// Thread safety: none.
template <class T>
class Matrix {
 public:
  /// A 1 × 1 zero matrix (not empty — deliberate, as for `Vector`).
  Matrix();
  /// rows × cols zeros; with a dimension < 1 no storage is attached, and a negative
  /// dimension is stored as 0 (Matrix(-5, 3) is 0 × 3).
  Matrix(int rows, int cols);
  /// A view: stores both pointers and fills columns[j] = data + j·rows for j = cols-1 .. 0
  /// (a negative dimension is taken as 0). Never frees either pointer itself; see `resize`
  /// for the column-pointer array of a view whose shape changes.
  /// @throws std::invalid_argument when columns is null and cols >= 1, or data is null and
  ///         both dimensions are >= 1 (nothing is written through the pointers).
  Matrix(T* data, T** columns, int rows, int cols);
  /// An owning deep copy.
  Matrix(const Matrix& other);
  /// Frees data and columns when owning.
  virtual ~Matrix();

  /// Frees the element block if owning and the column-pointer array in any case, then
  /// attaches rows × cols zeros, owning. The contents are lost.
  /// On a view this deletes the caller's column-pointer array with `delete[]`: a view
  /// that may change shape (also through `operator=` from another shape) must be given an
  /// array allocated with array new, which it takes over. A view on any other array must
  /// keep its shape. This asymmetry is kept deliberately, for callers that hand over the
  /// array. The new storage is allocated before anything is freed.
  void resize(int rows, int cols);
  /// `resize(other.rows(), other.cols())`.
  void resize(const Matrix& other);
  /// Reshapes keeping the overlapping top-left block; nothing happens for the same shape.
  /// Elements outside the kept block are unspecified (callers set them; they happen to be
  /// zero here). The owns flag is left as it was and the old column-pointer array is freed
  /// in any case, as in `resize`: on a view the new storage is then never freed by the
  /// matrix, so call it on owning matrices.
  void resizeKeep(int rows, int cols);
  /// @return the number of rows (the length of each column).
  int rows() const { return m_rows; }
  /// @return the number of columns.
  int cols() const { return m_cols; }
  /// Exchanges all fields with other (ownership travels with the storage).
  void swap(Matrix& other);

  /// @return element (row i, column j); not bounds-checked.
  T& operator()(int i, int j) { return m_columns[j][i]; }
  /// @return element (row i, column j); not bounds-checked.
  const T& operator()(int i, int j) const { return m_columns[j][i]; }
  /// @return element (row i, column j); not bounds-checked.
  T& elem(int i, int j) { return m_columns[j][i]; }
  /// @return element (row i, column j); not bounds-checked.
  const T& elem(int i, int j) const { return m_columns[j][i]; }
  /// @return the pointer to column j, so that m[j][i] is element (i, j).
  T* operator[](int j) { return m_columns[j]; }
  /// @return the pointer to column j, so that m[j][i] is element (i, j).
  const T* operator[](int j) const { return m_columns[j]; }
  /// @return the element block (column-major, leading dimension rows()).
  T* memory() const { return m_data; }

  /// Zeroes all elements.
  void reset();
  /// Sets all elements to v. A v that compares equal to zero is written by a byte-wise
  /// clear, so reset(-0.0) stores +0.0.
  void reset(T v);
  /// Same as `reset(v)`. @return v.
  T operator=(T v);
  /// Sets the min(rows, cols) diagonal elements to v; the others stay.
  void diag(T v);
  /// @return the min(rows, cols) diagonal elements.
  Vector<T> getDiag() const;
  /// @return the sum of the diagonal elements, added from (0, 0) on.
  T trace() const;

  /// Copies the other's elements as one contiguous run, reshaping (`resize`) first when a
  /// dimension differs; self-assignment does nothing. A view of the same shape stays a
  /// view and receives the elements.
  Matrix& operator=(const Matrix& other);
  /// @return the nr × nc block whose top-left is (r0, c0).
  /// @throws char* "NURBSMatrixErr" when r0 + nr > rows or c0 + nc > cols; negative
  ///         offsets or counts also leave the matrix and throw the same.
  Matrix get(int r0, int c0, int nr, int nc) const;
  /// Writes B with its top-left at (r0, c0).
  /// @throws char* "NURBSMatrixErr" when B.rows + r0 > rows or B.cols + c0 > cols, or an
  ///         offset is negative.
  void as(int r0, int c0, const Matrix& B);
  /// Writes B into block (bi, bj) of this matrix seen as a grid of blocks of B's shape.
  /// @throws char* "NURBSWrongSize2D" unless rows and cols are whole multiples of B's and
  ///         at least as large (and B is not empty); then "NURBSOutOfBound2D" unless
  ///         0 <= bi < rows / B.rows and 0 <= bj < cols / B.cols.
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
  /// Adds v to every element.
  Matrix& operator+=(T v);
  /// Subtracts v from every element.
  Matrix& operator-=(T v);
  /// Multiplies every element by v (points: componentwise, w included).
  Matrix& operator*=(T v);
  /// A true division of every element by v (points: componentwise, w included).
  /// @throws std::domain_error for an integer division by zero (the matrix is unchanged).
  Matrix& operator/=(T v);

  /// The largest signed sum over the rows consecutive runs of cols elements of the block
  /// (for a square matrix: the largest signed column sum, not the induced 1-norm); 0 for a
  /// matrix without rows. Scalar element types only.
  template <class U = T, std::enable_if_t<std::is_arithmetic<U>::value, int> = 0>
  U norm() const {
    // int sums wrap (in unsigned) instead of overflowing.
    using Acc = std::conditional_t<std::is_same<U, int>::value, unsigned int, U>;
    if (m_rows < 1 || m_cols < 1) return U(0);
    U best{};
    for (int r = 0; r < m_rows; ++r) {
      Acc sum = Acc(0);
      const T* run = m_data + std::size_t(r) * std::size_t(m_cols);
      for (int k = 0; k < m_cols; ++k) sum = Acc(sum + Acc(run[k]));
      if (r == 0 || U(sum) > best) best = U(sum);
    }
    return best;
  }

 protected:
  /// Sets rows and cols; when both are >= 1 attaches rows·cols zeros and the column
  /// pointers, owning. Otherwise only the counts are set.
  void init(int rows, int cols);

  int m_rows;     ///< length of each column
  int m_cols;     ///< number of columns
  T* m_data;      ///< rows·cols elements, column-major
  T** m_columns;  ///< m_columns[j] = m_data + j·rows
  int m_owns;     ///< nonzero when the matrix allocated data and columns
};

// The free operators, declared for each of the ten element types:
//  a + b, a - b: a copy of a, then += or -= b;
//    @throws char* "NURBSWrongSize2D" unless the shapes agree.
//  s * m: every element times s; integers in double, truncated toward zero and wrapped
//    modulo 2^bits (NaN or beyond +-2^63 gives 0); points componentwise, w included.
//  a == b, a != b: exact elementwise comparison (all components of points; -0 == +0, a NaN
//    equals nothing). @throws char* "NURBSWrongSize2D" on a shape mismatch: a different
//    shape does not make the result false, deliberately.
#define QVMATH_MATRIX_FREE_OPS(T)                                         \
  QVMATH_API Matrix<T> operator+(const Matrix<T>& a, const Matrix<T>& b); \
  QVMATH_API Matrix<T> operator-(const Matrix<T>& a, const Matrix<T>& b); \
  QVMATH_API Matrix<T> operator*(double s, const Matrix<T>& m);           \
  QVMATH_API bool operator==(const Matrix<T>& a, const Matrix<T>& b);     \
  QVMATH_API bool operator!=(const Matrix<T>& a, const Matrix<T>& b);
QVMATH_FOR_EACH_ELEMENT_TYPE(QVMATH_MATRIX_FREE_OPS)
#undef QVMATH_MATRIX_FREE_OPS

// A * B and comm(A, B) = A·B − B·A, for the six scalar types and HPoint3D.
//  A * B: C (A.rows × B.cols) starts at zero; for each row i from the last, for each k from
//    A.cols-1 down to 0, a = A(i, k) is skipped when it compares equal to zero (so an
//    infinity or NaN in row k of B does not reach C through a zero of A; a NaN in A is not
//    skipped), else C(i, j) += a·B(k, j) for j from B.cols-1 down to 0. Each element's terms
//    are added in exactly this order, so results are reproducible to the last bit. For
//    HPoint3D the element product is componentwise (w included) and a is skipped when all
//    four components are zero. @throws char* "NURBSWrongSize2D" unless A.cols == B.rows.
//  comm(A, B): built from the two products and `-`, so mismatched shapes throw
//    "NURBSWrongSize2D".
#define QVMATH_MATRIX_PRODUCT_OPS(T)                                      \
  QVMATH_API Matrix<T> operator*(const Matrix<T>& A, const Matrix<T>& B); \
  QVMATH_API Matrix<T> comm(const Matrix<T>& A, const Matrix<T>& B);
QVMATH_FOR_EACH_SCALAR_TYPE(QVMATH_MATRIX_PRODUCT_OPS)
QVMATH_MATRIX_PRODUCT_OPS(HPoint3D)
#undef QVMATH_MATRIX_PRODUCT_OPS

// A * v for the six scalar types: a vector of A.rows elements, r(i) = Σ A(i, k)·v(k) summed
// from k = A.cols-1 down to 0 starting at zero, with no skip on zero (0·inf gives NaN).
// @throws char* "NURBSWrongSize2D" unless A.cols == v.size.
#define QVMATH_MATRIX_VECTOR_OP(T) \
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
