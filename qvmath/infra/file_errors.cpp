// SPDX-License-Identifier: MIT
#include <qvmath/infra/file_errors.h>

// Out-of-line destructors anchor the vtables and type information in the library, so
// that the host's handlers match these types across the module boundary.
namespace KvF {

CFileReadError::~CFileReadError() = default;
CFileWriteError::~CFileWriteError() = default;
CUnknownFormatError::~CUnknownFormatError() = default;

}  // namespace KvF
