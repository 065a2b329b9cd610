// SPDX-License-Identifier: MIT
// Export macros of the shared library: QVMATH_API on every class and function the host
// names, QVMATH_EXTERN_TEMPLATE / QVMATH_TEMPLATE_DEF on explicit template instantiations.
#pragma once

#if defined(_WIN32)
#if defined(QVMATH_BUILDING)
#define QVMATH_API __declspec(dllexport)
#define QVMATH_EXTERN_TEMPLATE          // MSVC warns on dllexport + 'extern'
#define QVMATH_TEMPLATE_DEF QVMATH_API  // ...and wants it on the definition
#else
#define QVMATH_API __declspec(dllimport)
#define QVMATH_EXTERN_TEMPLATE QVMATH_API
#define QVMATH_TEMPLATE_DEF
#endif
#else  // GCC/Clang: on the declaration only
#define QVMATH_API __attribute__((visibility("default")))
#define QVMATH_EXTERN_TEMPLATE QVMATH_API
#define QVMATH_TEMPLATE_DEF
#endif
