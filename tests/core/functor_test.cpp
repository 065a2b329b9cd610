// SPDX-License-Identifier: MIT
#include <qvmath/core/functor.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace {

// A caller functor: derives from the instantiation a routine names.
class Affine : public REmath::Functor2<double, double, int*> {
 public:
  explicit Affine(double k) : m_k(k) {}
  double operator()(double x, int* flag) const override {
    if (flag) *flag = 0;
    return m_k * x;
  }

 private:
  double m_k;
};

struct Sum7 : REmath::Functor7<int, int, int, int, int, int, int, int> {
  int operator()(int a, int b, int c, int d, int e, int f, int g) const override {
    return a + b + c + d + e + f + g;
  }
};

}  // namespace

static_assert(std::is_abstract<REmath::Functor1<double, const double&>>::value,
              "the call operation is pure");
static_assert(!std::is_copy_constructible<REmath::FunctorBase>::value,
              "nothing copies a functor through its base");
static_assert(std::is_polymorphic<REmath::FunctorBase>::value, "virtual destructor");

TEST(FunctorTest, Dispatch_ThroughBaseReference) {
  const Affine twice(2.0);
  const REmath::Functor2<double, double, int*>& f = twice;
  int flag = 5;
  EXPECT_EQ(f(3.0, &flag), 6.0);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(f.Arity(), 2);
  const Sum7 s;
  const REmath::FunctorBase& base = s;
  EXPECT_EQ(base.Arity(), 7);
  EXPECT_EQ(s(1, 2, 3, 4, 5, 6, 7), 28);
  const Affine copy = twice;  // a derived functor copies as itself
  EXPECT_EQ(copy(1.5, nullptr), 3.0);
}
