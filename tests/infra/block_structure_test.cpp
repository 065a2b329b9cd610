// SPDX-License-Identifier: MIT
#include <qvmath/infra/block_structure.h>

#include "block_test_host.h"
#include "test_util.h"

using BlockProc::Block_iter;
using qvtest::IdOf;
using qvtest::LineStructure;

TEST(BlockIter, Regions_WalkCompareAndDereference) {
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
}

TEST(BlockStructure, Properties_DefaultBlockIndexIsIterationOrder) {
  for (int n : {0, 1, 7}) {
    LineStructure s(n);
    int expected = 0;
    for (Block_iter it = s.begin(); it != s.end(); ++it) EXPECT_EQ(s.BlockIndex(it), expected++);
    EXPECT_EQ(expected, n);
    EXPECT_EQ(s.BlockIndex(s.end()), -1);
  }
  LineStructure a(4), b(4);
  EXPECT_EQ(a.BlockIndex(b.At(2)), -1);  // not a block of this structure
}
