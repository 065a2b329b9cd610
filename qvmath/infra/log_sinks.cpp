// SPDX-License-Identifier: MIT
#include <qvmath/infra/log_sinks.h>

// The designed process-wide hooks of the host; no routine of the library writes through
// them today, and any future writer tests them for null first.
void (*gpWriteLogFcn)(const char*) = nullptr;
void (*gpWriteOutputFcn)(const char*) = nullptr;

void QVmath_setCB_WriteLog(void (*sink)(const char*)) { gpWriteLogFcn = sink; }

void QVmath_setCB_WriteOutput(void (*sink)(const char*)) { gpWriteOutputFcn = sink; }
