// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/infra/graph_object.h>

#include <vector>

namespace {

// Records the hook calls with the flag value they saw.
class RecordingObject : public KvF::CGraphObject {
 public:
  std::vector<bool> activations, visibilities;

 private:
  void OnActivation(bool active) override {
    EXPECT_EQ(isActive(), active);  // called after the change
    activations.push_back(active);
  }
  void OnChangeVisibility(bool visible) override {
    EXPECT_EQ(isVisible(), visible);
    visibilities.push_back(visible);
  }
};

}  // namespace

TEST(GraphObjectTest, Hooks_CalledOnRealChangesOnly) {
  RecordingObject o;
  EXPECT_FALSE(o.isActive());
  EXPECT_TRUE(o.isVisible());
  o.setActive(false);
  o.setActive(true);
  o.setActive(true);
  o.setActive(false);
  o.setVisible(true);
  o.setVisible(false);
  EXPECT_EQ(o.activations, (std::vector<bool>{true, false}));
  EXPECT_EQ(o.visibilities, (std::vector<bool>{false}));
}
