// SPDX-License-Identifier: MIT
#include <qvmath/infra/component_filter.h>

#include <gtest/gtest.h>

#include <qvmath/infra/inner_header_wrapper.h>

#include "infra/stream_test_util.h"

using KvF::CComponentFilterStub;

TEST(ComponentFilterStubTest, StandsInForAnAbsentComponent) {
  qvtest::MemoryStream stream;
  qvtest::NullDeltaLogger logger;
  CComponentFilterStub stub(L"absent", stream);
  EXPECT_EQ(stub.Save(), 0);
  EXPECT_EQ(stub.Load(logger), 0);
  EXPECT_EQ(stream.getPosition(), 0);
  EXPECT_EQ(stub.GetBlockMark(), "STUB");

  // Wrapped, it leaves a bare header that a reader expecting a real component skips,
  // and that a wrapped stub loads back as an empty block.
  EXPECT_EQ(KvF::CInnerHeaderWrapper(&stub, nullptr, L"absent").Save(), 128);
  stream.Rewind();
  qvtest::PayloadFilter real(stream, "Mesh", 1);
  qvtest::RecordingLog log;
  EXPECT_EQ(KvF::CInnerHeaderWrapper(&real, &log, L"mesh").Load(logger), 128);
  EXPECT_EQ(real.loads, 0);
  EXPECT_EQ(log.entries.size(), 1u);
  stream.Rewind();
  EXPECT_EQ(KvF::CInnerHeaderWrapper(&stub, &log, L"absent").Load(logger), 128);
  EXPECT_EQ(log.entries.size(), 1u);
}
