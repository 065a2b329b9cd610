// SPDX-License-Identifier: MIT
#include <qvmath/platform/korva_exception.h>

// Out-of-line destructors anchor the vtables (and the type information that handlers
// in the host match against) in the shared library.
CKorvaException::~CKorvaException() = default;

CUserIntrException::~CUserIntrException() = default;

const char* CUserIntrException::what() const noexcept { return "User interrupt"; }
