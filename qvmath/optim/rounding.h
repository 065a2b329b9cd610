// SPDX-License-Identifier: MIT
// The rounding helpers live in the core subsystem (colours and the progress counter round
// too); this header keeps the optim include path of earlier releases working.
#pragma once

#include <qvmath/core/rounding.h>
