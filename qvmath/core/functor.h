// SPDX-License-Identifier: MIT
// Abstract callable templates through which the library calls back into the host:
// FunctorBase and Functor1 ... Functor7 (result type first, then the argument types).
#pragma once

#include <qvmath/platform/export.h>

namespace REmath {

/// Root of the callable templates. The host derives from the `FunctorK` instantiation that
/// a routine names and implements its call operation. The library takes functors by
/// reference or pointer and never copies or frees them; copying through a base reference
/// is impossible (the copy operations are protected), so a derived functor is never sliced.
/// Virtual operations in slot order: the destructor, `Arity()`, then (in `FunctorK`) the
/// call operation.
class QVMATH_API FunctorBase {
 public:
  virtual ~FunctorBase() = default;
  /// @return the number of call arguments of the concrete template (1..7).
  virtual int Arity() const = 0;

 protected:
  FunctorBase() = default;
  FunctorBase(const FunctorBase&) = default;
  FunctorBase& operator=(const FunctorBase&) = default;
};

/// A callable R(A1) const. Implement `operator()`.
template <class R, class A1>
class QVMATH_API Functor1 : public FunctorBase {
 public:
  int Arity() const override { return 1; }
  virtual R operator()(A1) const = 0;
};

/// A callable R(A1, A2) const. Implement `operator()`.
template <class R, class A1, class A2>
class QVMATH_API Functor2 : public FunctorBase {
 public:
  int Arity() const override { return 2; }
  virtual R operator()(A1, A2) const = 0;
};

/// A callable R(A1, A2, A3) const. Implement `operator()`.
template <class R, class A1, class A2, class A3>
class QVMATH_API Functor3 : public FunctorBase {
 public:
  int Arity() const override { return 3; }
  virtual R operator()(A1, A2, A3) const = 0;
};

/// A callable R(A1, ..., A4) const. Implement `operator()`.
template <class R, class A1, class A2, class A3, class A4>
class QVMATH_API Functor4 : public FunctorBase {
 public:
  int Arity() const override { return 4; }
  virtual R operator()(A1, A2, A3, A4) const = 0;
};

/// A callable R(A1, ..., A5) const. Implement `operator()`.
template <class R, class A1, class A2, class A3, class A4, class A5>
class QVMATH_API Functor5 : public FunctorBase {
 public:
  int Arity() const override { return 5; }
  virtual R operator()(A1, A2, A3, A4, A5) const = 0;
};

/// A callable R(A1, ..., A6) const. Implement `operator()`.
template <class R, class A1, class A2, class A3, class A4, class A5, class A6>
class QVMATH_API Functor6 : public FunctorBase {
 public:
  int Arity() const override { return 6; }
  virtual R operator()(A1, A2, A3, A4, A5, A6) const = 0;
};

/// A callable R(A1, ..., A7) const. Implement `operator()`.
template <class R, class A1, class A2, class A3, class A4, class A5, class A6, class A7>
class QVMATH_API Functor7 : public FunctorBase {
 public:
  int Arity() const override { return 7; }
  virtual R operator()(A1, A2, A3, A4, A5, A6, A7) const = 0;
};

}  // namespace REmath
