// SPDX-License-Identifier: MIT
#include <qvmath/optim/min_max_params.h>

#include <gtest/gtest.h>

using REmath::CMinMaxParams;

namespace {

void ExpectDefaults(const CMinMaxParams& p) {
  EXPECT_EQ(p.GetTolerance(), 1e-5);
  EXPECT_EQ(p.GetMaxIter(), 4);
  EXPECT_EQ(p.GetMaxGradientMoveAttempts(), 3);
  EXPECT_EQ(p.GetGradientScale(), 0.5);
  EXPECT_EQ(p.GetGradCalcRelDelta(), 1e-5);
}

}  // namespace

TEST(MinMaxParamsTest, Properties_DefaultsFromConstructorAndSetDefault) {
  CMinMaxParams p;
  ExpectDefaults(p);
  p.SetTolerance(0.25);
  p.SetMaxIter(100);
  p.SetMaxGradientMoveAttempts(-2);  // taken as given
  p.SetGradientScale(0.9);
  p.SetGradCalcRelDelta(1e-3);
  EXPECT_EQ(p.GetMaxGradientMoveAttempts(), -2);
  EXPECT_EQ(p.GetGradCalcRelDelta(), 1e-3);
  p.SetDefault();
  ExpectDefaults(p);
}
