// SPDX-License-Identifier: MIT
// Replaces the array forms of operator new and delete of the including test program (and so
// of the library it loads) by malloc and free, with a way to make the next allocations
// fail: the only deterministic way to reach the allocation-failure paths. Include it in
// one source file of a test program only.
#pragma once

#include <cstdlib>
#include <new>

namespace qvtest {
/// The number of coming array allocations that fail (thrown std::bad_alloc, or null from
/// the nothrow form), after g_passArrayNews more have succeeded.
inline int g_failArrayNews = 0;
inline int g_passArrayNews = 0;
inline bool FailThisArrayNew() {
  if (g_failArrayNews <= 0) return false;
  if (g_passArrayNews > 0) {
    --g_passArrayNews;
    return false;
  }
  return g_failArrayNews-- > 0;
}
}  // namespace qvtest

void* operator new[](std::size_t n) {
  if (!qvtest::FailThisArrayNew())
    if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept {
  return qvtest::FailThisArrayNew() ? nullptr : std::malloc(n ? n : 1);
}
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
