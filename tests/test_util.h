// SPDX-License-Identifier: MIT
// Shared helpers of the test suites: a seeded random source, machine epsilons, and a check
// for the library's faults thrown as a char* text.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace qvtest {

template <class T>
constexpr double Eps() {
  return std::numeric_limits<T>::epsilon();
}

/// A seeded random source; put `SCOPED_TRACE(rng.Trace())` in a test so that the seed is
/// printed with every failure.
class TestRng {
 public:
  explicit TestRng(std::uint64_t seed) : m_seed(seed), m_engine(seed) {}
  std::string Trace() const { return "random seed " + std::to_string(m_seed); }
  double Uniform(double lo, double hi) {
    return std::uniform_real_distribution<double>(lo, hi)(m_engine);
  }
  int Int(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(m_engine); }
  std::mt19937_64& Engine() { return m_engine; }

 private:
  std::uint64_t m_seed;
  std::mt19937_64 m_engine;
};

/// The text of a `char*` fault thrown by stmt, "" when it throws nothing, "<other>" for
/// any other exception type.
template <class F>
std::string ThrownText(F&& stmt) {
  try {
    stmt();
  } catch (char* text) {
    return text ? std::string(text) : std::string("<null>");
  } catch (...) {
    return "<other>";
  }
  return "";
}

}  // namespace qvtest

/// Expects stmt to throw a char* whose text is exactly `text`.
#define EXPECT_THROWS_TEXT(stmt, text) \
  EXPECT_EQ(qvtest::ThrownText([&] { stmt; }), std::string(text))
