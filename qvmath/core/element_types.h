// SPDX-License-Identifier: MIT
// The closed list of element types of the vector and matrix templates, as an X-macro
// used to write one declaration or instantiation line per type.
#pragma once

#include <qvmath/core/hpoint3d.h>
#include <qvmath/core/point3d.h>

/// Expands X(type) for the six scalar element types.
#define QVMATH_FOR_EACH_SCALAR_TYPE(X) \
  X(char)                              \
  X(unsigned char)                     \
  X(int)                               \
  X(unsigned int)                      \
  X(float)                             \
  X(double)

/// Expands X(type) for the four point element types.
#define QVMATH_FOR_EACH_POINT_TYPE(X) \
  X(REmath::Point3D)                  \
  X(REmath::Point3D_d)                \
  X(REmath::HPoint3D)                 \
  X(REmath::HPoint3D_d)

/// Expands X(type) for all ten element types of `Vector<T>` and `Matrix<T>`.
#define QVMATH_FOR_EACH_ELEMENT_TYPE(X) \
  QVMATH_FOR_EACH_SCALAR_TYPE(X)        \
  QVMATH_FOR_EACH_POINT_TYPE(X)
