// SPDX-License-Identifier: MIT
#include <qvmath/platform/crit_section.h>

CKorvaCritSection::CKorvaCritSection() = default;
CKorvaCritSection::~CKorvaCritSection() = default;

void CKorvaCritSection::Lock() { m_mutex.lock(); }
bool CKorvaCritSection::TryLock() { return m_mutex.try_lock(); }
void CKorvaCritSection::Unlock() { m_mutex.unlock(); }
