// SPDX-License-Identifier: MIT
// CRotationMatrix lives in the core subsystem (the symmetric eigen-solver takes it); this
// header keeps the geometry include path of earlier releases working.
#pragma once

#include <qvmath/core/rotation_matrix.h>
