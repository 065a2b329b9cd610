// SPDX-License-Identifier: MIT
// REmath::ECloudFileError: the error of the point-cloud file readers and writers, a message
// naming what is wrong with the data (and the file, when one was named).
#pragma once

#include <qvmath/platform/export.h>
#include <qvmath/platform/korva_exception.h>

#include <string>

namespace REmath {

/// A malformed, truncated or unreadable point-cloud file or buffer, or a write that failed.
/// `what()` is one line: for the file forms "<path>: <problem>", for the buffer forms
/// "<FORMAT>: <problem>" (for example "PLY: element vertex: 1000000 records need 12000000
/// bytes, 36 remain"). Derives from `CKorvaException`, so hosts that catch the library's
/// file errors catch it too. Copyable.
class QVMATH_API ECloudFileError : public CKorvaException {
 public:
  explicit ECloudFileError(const std::string& message) : CKorvaException(message) {}
  ~ECloudFileError() override;
};

}  // namespace REmath
