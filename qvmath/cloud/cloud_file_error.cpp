// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_file_error.h>

namespace REmath {

// Out of line: anchors the vtable and the type information that the host's handlers match.
ECloudFileError::~ECloudFileError() = default;

}  // namespace REmath
