// SPDX-License-Identifier: MIT
#include <qvmath/infra/log_sinks.h>

#include <gtest/gtest.h>

#include <string>

namespace {
std::string g_seen;
void SinkA(const char* s) { g_seen += std::string("A:") + s; }
void SinkB(const char* s) { g_seen += std::string("B:") + s; }
}  // namespace

TEST(LogSinksTest, Install_LastOneWinsAndNullRemoves) {
  EXPECT_EQ(gpWriteLogFcn, nullptr);
  EXPECT_EQ(gpWriteOutputFcn, nullptr);
  QVmath_setCB_WriteLog(SinkA);
  QVmath_setCB_WriteLog(SinkB);
  EXPECT_EQ(g_seen, "") << "installing calls nothing";
  ASSERT_EQ(gpWriteLogFcn, &SinkB);
  gpWriteLogFcn("x");
  EXPECT_EQ(g_seen, "B:x");
  QVmath_setCB_WriteOutput(SinkA);
  EXPECT_EQ(gpWriteOutputFcn, &SinkA);
  EXPECT_EQ(gpWriteLogFcn, &SinkB) << "the two sinks are independent";
  QVmath_setCB_WriteLog(nullptr);
  QVmath_setCB_WriteOutput(nullptr);
  EXPECT_EQ(gpWriteLogFcn, nullptr);
  EXPECT_EQ(gpWriteOutputFcn, nullptr);
}
