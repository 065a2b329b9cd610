// SPDX-License-Identifier: MIT
// A re-entrant mutual-exclusion lock with Lock/Unlock, as the system library's critical
// section, and a scope guard for it.
#pragma once

#include <qvmath/platform/export.h>

#include <mutex>

/// A critical section: a lock that its owning thread may take again (re-entrant), released
/// when Unlock has been called as often as Lock. Not copyable.
/// Thread safety: Lock blocks until no other thread owns the section.
class QVMATH_API CKorvaCritSection {
 public:
  CKorvaCritSection();
  ~CKorvaCritSection();
  CKorvaCritSection(const CKorvaCritSection&) = delete;
  CKorvaCritSection& operator=(const CKorvaCritSection&) = delete;

  /// Takes the section, waiting for other threads; the owner may take it again.
  void Lock();
  /// Takes the section when it is free or already owned by this thread.
  /// @return true when taken (and to be released by Unlock), false otherwise.
  bool TryLock();
  /// Releases one level of ownership; the calling thread must own the section.
  void Unlock();

 private:
  std::recursive_mutex m_mutex;
};

/// Holds a `CKorvaCritSection` for the lifetime of the guard (also while an exception
/// passes), or until `Release`. A null section makes the guard inert.
class QVMATH_API CKorvaCritSectionGuard {
 public:
  explicit CKorvaCritSectionGuard(CKorvaCritSection* section) : m_section(section) {
    if (m_section) m_section->Lock();
  }
  explicit CKorvaCritSectionGuard(CKorvaCritSection& section) : CKorvaCritSectionGuard(&section) {}
  ~CKorvaCritSectionGuard() { Release(); }
  CKorvaCritSectionGuard(const CKorvaCritSectionGuard&) = delete;
  CKorvaCritSectionGuard& operator=(const CKorvaCritSectionGuard&) = delete;
  /// Leaves the section before the end of the scope; the guard is inert afterwards.
  void Release() {
    if (m_section) m_section->Unlock();
    m_section = nullptr;
  }

 private:
  CKorvaCritSection* m_section;
};
