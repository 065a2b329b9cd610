// SPDX-License-Identifier: MIT
// Model sizer: the extents of a point set, the derived sizes, hooks overridden by a host.

#include <qvmath/analysis/model_sizer.h>

#include <gtest/gtest.h>

namespace {

// A host keeping the size elsewhere (here: doubled on the way in).
class DoublingSizer : public IModelSizer {
  REmath::Point3D_d m_stored{0.0, 0.0, 0.0};
  REmath::Point3D_d OnGetModelSize() const override { return m_stored; }
  void OnSetModelSize(const REmath::Point3D_d& s) override {
    m_stored = s;
    m_stored *= 2.0;
  }
};

TEST(ModelSizer, Regions_ExtentsAndHooks) {
  const REmath::Point3D pts[3] = {{1e6f, -2, 3}, {1e6f + 4, 1, 3}, {1e6f + 2, 0, 15}};
  IModelSizer plain;
  double lo, hi;
  plain.GetLimits(lo, hi);
  EXPECT_EQ(lo, 1.0);
  plain.updateLimits(3, pts);
  plain.GetLimits(lo, hi);
  EXPECT_EQ(lo, 3.0);
  EXPECT_EQ(hi, 12.0);
  EXPECT_EQ(plain.GetLinearLimits(), 13.0);  // √(16 + 9 + 144)
  plain.updateLimits(0, nullptr);
  EXPECT_EQ(plain.GetLinearLimits(), 13.0);
  plain.ResetModelSizeDefault();
  EXPECT_EQ(plain.GetModelSize().x(), 1.0);
  DoublingSizer host;
  host.updateLimits(3, pts);
  EXPECT_EQ(host.GetLinearLimits(), 26.0);
}

}  // namespace
