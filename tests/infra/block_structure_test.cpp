// SPDX-License-Identifier: MIT
#include <qvmath/infra/block_structure.h>

#include "block_test_host.h"
#include "test_util.h"

using BlockProc::Block_iter;
using qvtest::IdOf;
using qvtest::LineStructure;

TEST(BlockStructure, Regions_WalkCompareAndIndex) {
  LineStructure s(3);
  Block_iter it = s.begin();
  EXPECT_EQ(IdOf(*it), 0);
  Block_iter before = it++;
  EXPECT_EQ(IdOf(*before), 0);
  EXPECT_EQ(IdOf(*it), 1);
  EXPECT_EQ(IdOf(*++it), 2);
  ++it;
  EXPECT_TRUE(it == s.end());
  ++it;  // incrementing the end stays at the end
  EXPECT_TRUE(it == s.end());
  // Equal descriptors of different structures are different positions.
  LineStructure other(3);
  EXPECT_FALSE(Block_iter(s.begin().Descriptor(), &other) == s.begin());
  EXPECT_TRUE(Block_iter() == Block_iter(nullptr, nullptr));
  // The default block index is the iteration order; -1 for the end and foreign blocks.
  for (int n : {0, 1, 7}) {
    LineStructure t(n);
    int expected = 0;
    for (Block_iter j = t.begin(); j != t.end(); ++j) EXPECT_EQ(t.BlockIndex(j), expected++);
    EXPECT_EQ(expected, n);
    EXPECT_EQ(t.BlockIndex(t.end()), -1);
  }
  EXPECT_EQ(s.BlockIndex(other.At(2)), -1);
}
