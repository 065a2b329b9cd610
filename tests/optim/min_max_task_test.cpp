// SPDX-License-Identifier: MIT
#include <qvmath/optim/min_max_task.h>

#include <gtest/gtest.h>

#include <stdexcept>

using REmath::CMinMaxTask;
using REmath::Point3D_d;

namespace {

struct Constant : CMinMaxTask::TFunctor {
  explicit Constant(double v) : value(v) {}
  double operator()(const Point3D_d&) const override { return value; }
  double value;
};

struct Clamp : CMinMaxTask::IProjector {
  void Project(Point3D_d& x) const override { x.m_x = 0; }
};

}  // namespace

TEST(MinMaxTaskTest, Properties_FunctionsKeepOrderAndIndexIsRangeChecked) {
  Constant a(1), b(2), c(3);
  const CMinMaxTask task({&a, &b, &c}, Point3D_d(1, 2, 3), Point3D_d(0, 0, 0),
                         Point3D_d(4, 4, 4));
  ASSERT_EQ(task.NFunctions(), 3);
  EXPECT_EQ(&task.FnByIdx(0), &a);
  EXPECT_EQ(task.FnByIdx(2)(Point3D_d()), 3.0);
  EXPECT_THROW(task.FnByIdx(3), std::out_of_range);
  EXPECT_THROW(task.FnByIdx(-1), std::out_of_range);
  EXPECT_THROW(CMinMaxTask().FnByIdx(0), std::out_of_range);
  EXPECT_THROW(CMinMaxTask({&a, nullptr}, Point3D_d(), Point3D_d(), Point3D_d()),
               std::invalid_argument);
  EXPECT_EQ(CMinMaxTask().GetProjector(), nullptr);
}

TEST(MinMaxTaskTest, Properties_CopiesShareFunctionsAndProjector) {
  Constant a(1), b(2);
  Clamp clamp;
  CMinMaxTask task({&a}, Point3D_d(1, 2, 3), Point3D_d(-1, -1, -1), Point3D_d(5, 5, 5), &clamp);
  CMinMaxTask copy(task);
  CMinMaxTask assigned({&a, &b}, Point3D_d(), Point3D_d(), Point3D_d());
  assigned = task;
  for (const CMinMaxTask* t : {&copy, &assigned}) {
    ASSERT_EQ(t->NFunctions(), 1);
    EXPECT_EQ(&t->FnByIdx(0), &a);  // the same object, not a copy
    EXPECT_EQ(t->GetProjector(), &clamp);
    EXPECT_EQ(t->GetInitApprox().m_z, 3.0);
    EXPECT_EQ(t->GetLimitMin().m_x, -1.0);
    EXPECT_EQ(t->GetLimitMax().m_y, 5.0);
  }
  copy.SetLimitMax(Point3D_d(9, 9, 9));
  copy.SetProjector(nullptr);
  EXPECT_EQ(task.GetLimitMax().m_x, 5.0) << "copies are independent values";
  EXPECT_EQ(task.GetProjector(), &clamp);
}
