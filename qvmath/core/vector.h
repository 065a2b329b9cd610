// SPDX-License-Identifier: MIT
// REmath::Vector<T>: the library's one-dimensional array of numbers or points, owning its
// block or viewing caller memory, for exactly ten element types.
#pragma once

#include <qvmath/core/element_types.h>
#include <qvmath/platform/export.h>

namespace REmath {

/// A dense vector: a size, a capacity and a contiguous block of elements that the vector
/// owns or merely views. Instantiated and exported for `char`, `unsigned char`, `int`,
/// `unsigned int`, `float`, `double`, `Point3D`, `Point3D_d`, `HPoint3D`, `HPoint3D_d`.
///
/// Ownership: `Vector(T* mem, int n)` views the caller's memory (never freed by the
/// vector) and keeps viewing it until a reallocation (a growing `resize`) gives the
/// vector a block of its own. All other constructors allocate and own. Copies (copy
/// constructor, free operators, `get`) are owning deep copies.
///
/// Faults: dimension and range faults throw a `char*` to "NURBSsize" (sizes differ) or
/// "NURBSmatrix_err" (range outside the vector); nothing is modified before a throw.
/// Allocation failure is reported by `resize` as -1; the constructors, `operator=`, `get`,
/// the free operators and the conversions, which have no result to report it in, throw
/// `std::bad_alloc`. Element access is not bounds-checked. Integer elements wrap modulo
/// 2^bits in `+=`, `-=`; point elements add componentwise (w included).
/// Thread safety: not synchronised; distinct vectors may be used on different threads.
template <class T>
class Vector {
 public:
  /// One zero element (size 1, not empty — deliberate), owning.
  Vector();
  /// n zero elements, owning (through `resize(n)`); n <= 0 gives an empty vector without
  /// a block.
  explicit Vector(int n);
  /// A view on mem[0..n): size = capacity = n, not owning (a negative n views nothing).
  Vector(T* mem, int n);
  /// An owning deep copy of the other's size elements.
  Vector(const Vector& other);
  /// Frees the block when owning.
  virtual ~Vector();

  /// @return the logical size (the same as `size()` and `rows()`).
  int n() const { return m_size; }
  /// @return the logical size.
  int size() const { return m_size; }
  /// @return the logical size.
  int rows() const { return m_size; }
  /// @return the data pointer (of the owned block or of the viewed memory).
  T* memory() const { return m_data; }
  /// @return element i; not bounds-checked.
  T& operator[](int i) { return m_data[i]; }
  /// @return element i; not bounds-checked.
  const T& operator[](int i) const { return m_data[i]; }

  /// Changes the size. With capacity c and size s: n = c or n < s only sets the size
  /// (no memory moves; elements beyond stay); s < n < c zeroes elements s..n-1; otherwise
  /// a new block of exactly n elements receives the s old elements, the rest zeroed, and
  /// the vector owns it (an old block is freed only if owned).
  /// @return n, or -1 when the allocation fails or n < 0 (the vector is then unchanged).
  int resize(int n);
  /// `resize(other.size())`.
  int resize(const Vector& other);
  /// Sets size = n when 0 <= n <= capacity; otherwise does nothing. The block is untouched.
  void trim(int n);
  /// Sets size = capacity.
  void untrim();
  /// Sets each of the size elements to value.
  virtual void reset(T value);
  /// Calls `reset(value)` through the virtual table. @return value.
  T operator=(T value);

  /// Copies the other's elements, resizing first when the sizes differ; self-assignment
  /// does nothing. A view of the same size stays a view and receives the elements.
  Vector& operator=(const Vector& other);
  /// @return an owning vector of elements start..start+count-1.
  /// @throws char* "NURBSmatrix_err" when start + count > size; a negative start or count
  ///         leaves the vector as well and throws the same.
  Vector get(int start, int count) const;
  /// Copies src into this vector from position start on.
  /// @throws char* "NURBSmatrix_err" when src.size() + start > size or start < 0.
  void as(int start, const Vector& src);

  /// Elementwise in place. @throws char* "NURBSsize" when the sizes differ.
  Vector& operator+=(const Vector& other);
  /// Elementwise in place. @throws char* "NURBSsize" when the sizes differ.
  Vector& operator-=(const Vector& other);

  /// Index of the minimum; element 0 is read even for an empty vector (0 is returned when
  /// there is no block at all).
  /// Scalars: walking i = 1..size-1, element i is taken whenever the running minimum is
  /// >= element i, so ties go to the last equal element and NaNs are never taken.
  /// Points: element i is taken unless the running minimum is strictly less in every one
  /// of x, y and z (an order-dependent dominance rule, deliberately).
  int minIndex() const;
  /// @return the element at `minIndex()` (a zero element when there is no block at all).
  T minimum() const;

 protected:
  int m_capacity;  ///< elements the block holds
  int m_owns;      ///< nonzero when the vector allocated the block and frees it
  int m_size;      ///< logical length, 0 <= size <= capacity
  T* m_data;       ///< first element
};

// The free operators, declared for each of the ten element types:
//  a + b, a - b: a copy of a, then += or -= b; @throws char* "NURBSsize" on a size mismatch.
//  v * s: a new vector of each element times s; integers in double, truncated toward zero
//    and wrapped modulo 2^bits (NaN or beyond +-2^63 gives 0); float as the double product
//    rounded to float; points componentwise, w included.
//  a == b, a != b: equal sizes and equal elements; scalars and homogeneous points exactly,
//    Point3D and Point3D_d per component within the relative machine epsilon
//    (|a - b| <= (|a| + |b|)·eps, so 0 equals only 0 and an infinity equals nothing).
#define QVMATH_VECTOR_FREE_OPS(T)                                         \
  QVMATH_API Vector<T> operator+(const Vector<T>& a, const Vector<T>& b); \
  QVMATH_API Vector<T> operator-(const Vector<T>& a, const Vector<T>& b); \
  QVMATH_API Vector<T> operator*(const Vector<T>& v, double s);           \
  QVMATH_API bool operator==(const Vector<T>& a, const Vector<T>& b);     \
  QVMATH_API bool operator!=(const Vector<T>& a, const Vector<T>& b);
QVMATH_FOR_EACH_ELEMENT_TYPE(QVMATH_VECTOR_FREE_OPS)
#undef QVMATH_VECTOR_FREE_OPS

/// s·v, the same as v·s; offered for float and double vectors only.
QVMATH_API Vector<float> operator*(double s, const Vector<float>& v);
QVMATH_API Vector<double> operator*(double s, const Vector<double>& v);

/// Resizes dst to src's size and narrows each component to float (nearest; overflow gives
/// infinities). @throws std::bad_alloc when dst cannot be resized.
QVMATH_API void copy_vector_d2f(const Vector<Point3D_d>& src, Vector<Point3D>& dst);
/// Resizes dst to src's size and widens each component to double (exact).
/// @throws std::bad_alloc when dst cannot be resized.
QVMATH_API void copy_vector_f2d(const Vector<Point3D>& src, Vector<Point3D_d>& dst);

#define QVMATH_VECTOR_EXTERN(T) extern template class QVMATH_EXTERN_TEMPLATE Vector<T>;
QVMATH_FOR_EACH_ELEMENT_TYPE(QVMATH_VECTOR_EXTERN)
#undef QVMATH_VECTOR_EXTERN

}  // namespace REmath
