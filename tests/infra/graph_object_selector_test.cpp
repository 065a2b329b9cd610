// SPDX-License-Identifier: MIT
#include <qvmath/infra/graph_object_selector.h>

#include <gtest/gtest.h>

#include <memory>

#include <qvmath/infra/graph_object.h>

TEST(GraphObjectSelectorTest, Total_AcceptsEveryObjectAndCopies) {
  std::unique_ptr<KvF::IGraphObjectSelector> total(KvF::IGraphObjectSelector::CreateTotal());
  std::unique_ptr<KvF::IGraphObjectSelector> copy(total->Copy());
  ASSERT_NE(copy.get(), total.get());
  KvF::CGraphObject o;
  EXPECT_TRUE((*total)(&o));
  EXPECT_TRUE((*copy)(&o));
  EXPECT_FALSE((*total)(nullptr));
  // Active and selected, both needed.
  EXPECT_FALSE(total->IsActiveAndSelected(o));
  o.setActive(true);
  EXPECT_FALSE(total->IsActiveAndSelected(o));
  o.setSelected(true);
  EXPECT_TRUE(copy->IsActiveAndSelected(o));
}
