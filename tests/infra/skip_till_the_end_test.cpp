// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/infra/skip_till_the_end.h>

#include <vector>

#include "infra/stream_test_util.h"

using KvF::CSkipTillTheEnd;

TEST(SkipTillTheEndTest, Load_ConsumesTheRestAndLogsTheName) {
  qvtest::MemoryStream stream;
  stream.Bytes().assign(1000, 7);
  unsigned char head[300];
  stream.readData(300, head);
  qvtest::RecordingLog log;
  qvtest::NullDeltaLogger logger;
  CSkipTillTheEnd skip(stream, &log, L"trailer");
  EXPECT_EQ(skip.Load(logger), 700);
  EXPECT_EQ(stream.getPosition(), 1000);
  ASSERT_EQ(log.entries.size(), 1u);
  EXPECT_EQ(log.entries[0], std::make_pair(std::wstring(L"trailer"), KvF::kSaveLoadLogSkipped));

  // Already at the end: nothing read, still logged.
  EXPECT_EQ(skip.Load(logger), 0);
  EXPECT_EQ(log.entries.size(), 2u);
  // Without a name or without a log nothing is logged.
  EXPECT_EQ(CSkipTillTheEnd(stream, &log, L"").Load(logger), 0);
  EXPECT_EQ(CSkipTillTheEnd(stream, nullptr, L"x").Load(logger), 0);
  EXPECT_EQ(log.entries.size(), 2u);
}
