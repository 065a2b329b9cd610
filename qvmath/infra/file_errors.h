// SPDX-License-Identifier: MIT
// Format and file errors of the save/load framework: read, write and unknown-format
// failures, distinguished by type.
#pragma once

#include <qvmath/platform/export.h>
#include <qvmath/platform/korva_exception.h>

namespace KvF {

/// A file could not be read as expected (for example a stream that never ends).
/// Default-constructed; carries no text of its own (`what()` returns "").
class QVMATH_API CFileReadError : public CKorvaException {
 public:
  CFileReadError() = default;
  ~CFileReadError() override;
};

/// A file could not be written. Declared for the host's writers; no routine of this
/// library throws it. Carries no text of its own.
class QVMATH_API CFileWriteError : public CKorvaException {
 public:
  CFileWriteError() = default;
  ~CFileWriteError() override;
};

/// The data read are not in the expected format (an unrecognised or incomplete inner
/// header, a component that consumed another number of bytes than recorded).
/// Carries no text of its own.
class QVMATH_API CUnknownFormatError : public CKorvaException {
 public:
  CUnknownFormatError() = default;
  ~CUnknownFormatError() override;
};

}  // namespace KvF
