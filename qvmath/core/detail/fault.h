// SPDX-License-Identifier: MIT
// Internal: the C-string faults of the containers and solvers. They are thrown as `char*`
// (not `const char*`), so that host handlers for `char*`, `const char*` and `void*` all
// catch them, as hosts of the library have always written them. Not installed.
#pragma once

namespace REmath {
namespace detail {

[[noreturn]] inline void ThrowFault(const char* what) { throw const_cast<char*>(what); }

}  // namespace detail
}  // namespace REmath
