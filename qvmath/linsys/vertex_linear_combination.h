// SPDX-License-Identifier: MIT
// REmath::CVertexLinearCombination<T>: a sum of vertex monomials (identifier → coefficient)
// with its forward iterator, and EvaluateLinCombination against a position informer.
#pragma once

#include <qvmath/linsys/vertex_monom.h>
#include <qvmath/linsys/vertex_pos_informer.h>
#include <qvmath/platform/export.h>

#include <map>

namespace REmath {

template <class T>
class CLinearCombIterator;

/// A linear combination Σ c·x(v) of vertex positions: an ordered map from vertex
/// identifier to coefficient, held by pointer. Each identifier occurs at most once;
/// iteration runs in ascending identifier order. A coefficient of zero is an entry like any
/// other: nothing ever removes entries (`AddVertex(5, 1)` then `AddVertex(5, -1)` leaves the
/// entry (5, 0)).
///
/// Ownership: the map is allocated by the constructors, copied deeply by the copy
/// constructor and `operator=`, and freed by the destructor. A polymorphic value: virtual
/// operations in slot order are `operator=` and then the destructor. Instantiated and
/// exported for `float` and `double`. Thread safety: none (a value type); concurrent const
/// use is safe.
template <class T>
class CVertexLinearCombination {
 public:
  typedef CLinearCombIterator<T> const_iterator;

  /// An empty combination.
  CVertexLinearCombination();
  /// A deep copy of other's entries.
  CVertexLinearCombination(const CVertexLinearCombination& other);
  /// Replaces the entries by a deep copy of other's; self-assignment does nothing.
  /// @return *this.
  virtual CVertexLinearCombination& operator=(const CVertexLinearCombination& other);
  virtual ~CVertexLinearCombination();

  /// Adds the term c·x(v): when v is present its coefficient becomes coefficient + c
  /// (rounded to T; the entry stays even when the sum is 0), otherwise the entry (v, c) is
  /// inserted (also for c = 0).
  void AddVertex(int v, T c);
  /// @return the coefficient of v, or 0 when v is absent (nothing is inserted).
  T VertexCoeff(int v) const;
  /// Multiplies every coefficient by s; entries whose product is 0 stay. @return *this.
  CVertexLinearCombination& operator*=(T s);
  /// `AddVertex(v, c)` for every entry (v, c) of other, in other's ascending order;
  /// `lc += lc` doubles every coefficient. @return *this.
  CVertexLinearCombination& operator+=(const CVertexLinearCombination& other);

  /// @return an iterator at the entry with the smallest identifier.
  const_iterator begin() const;
  /// @return the iterator past the entry with the largest identifier.
  const_iterator end() const;

 private:
  std::map<int, T>* m_coeffs;  ///< vertex identifier → coefficient; never null
};

/// A forward iterator over the entries of a `CVertexLinearCombination<T>` in ascending
/// identifier order. It holds its position in the combination's map and a
/// `CVertexMonom<T>` copy of the current entry, created and destroyed with the iterator,
/// so that dereferencing yields a monom with the current identifier and coefficient. The
/// monom is a snapshot taken at the last step: a later `AddVertex` or `*=` is not seen
/// until the next increment. Positions stay valid while entries are added; assigning to or
/// destroying the combination invalidates its iterators. Dereferencing the end iterator is
/// undefined.
/// Instantiated and exported for `float` and `double`.
template <class T>
class CLinearCombIterator {
 public:
  typedef typename std::map<int, T>::const_iterator Position;

  /// An iterator at pos of a map whose end is end.
  CLinearCombIterator(Position pos, Position end);

  /// @return the current entry as a monom (identifier, coefficient).
  const CVertexMonom<T>& operator*() const { return m_current; }
  const CVertexMonom<T>* operator->() const { return &m_current; }
  /// Steps to the next entry. @return *this.
  CLinearCombIterator& operator++();
  /// Steps to the next entry. @return a copy of the iterator before the step.
  CLinearCombIterator operator++(int);

  /// @return the position in the map; two iterators are equal when these are.
  Position GetPosition() const { return m_pos; }

 private:
  void Refresh();

  Position m_pos;             ///< current entry of the map
  Position m_end;             ///< end of the map, so that the end is never read
  CVertexMonom<T> m_current;  ///< copy of the current entry (unspecified at the end)
};

/// @return true when a and b stand at the same position of the same combination.
template <class T>
bool operator==(const CLinearCombIterator<T>& a, const CLinearCombIterator<T>& b) {
  return a.GetPosition() == b.GetPosition();
}
/// @return the negation of `a == b`.
template <class T>
bool operator!=(const CLinearCombIterator<T>& a, const CLinearCombIterator<T>& b) {
  return !(a == b);
}

/// The value Σ c·position(v) of lc, with the positions taken from informer.
/// The entries are walked in ascending identifier order and accumulated in T as
/// sum = position(v)·c + sum, rounded to T at each step, starting from 0. An entry whose
/// coefficient compares equal to 0 is skipped without asking the informer (deliberately:
/// a zero entry for a vertex the informer does not know is harmless).
/// @return the sum; 0 for an empty combination, which never calls the informer.
QVMATH_API float EvaluateLinCombination(const CVertexLinearCombination<float>& lc,
                                        const IVertexPosInformer<float>& informer);
QVMATH_API double EvaluateLinCombination(const CVertexLinearCombination<double>& lc,
                                         const IVertexPosInformer<double>& informer);

extern template class QVMATH_EXTERN_TEMPLATE CVertexLinearCombination<float>;
extern template class QVMATH_EXTERN_TEMPLATE CVertexLinearCombination<double>;
extern template class QVMATH_EXTERN_TEMPLATE CLinearCombIterator<float>;
extern template class QVMATH_EXTERN_TEMPLATE CLinearCombIterator<double>;

}  // namespace REmath
