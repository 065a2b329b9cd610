// SPDX-License-Identifier: MIT
// A parameterless action object of the host's framework code.
#pragma once

#include <qvmath/platform/export.h>

namespace KvFn {

/// An abstract callable: the host derives from it and implements the call, which takes no
/// argument and returns nothing. Deleted through the virtual destructor by its owner,
/// never by this library.
class QVMATH_API IFunctor {
 public:
  virtual ~IFunctor() = default;
  /// Performs the action.
  virtual void operator()() = 0;
};

}  // namespace KvFn
