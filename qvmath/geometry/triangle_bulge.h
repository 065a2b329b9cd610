// SPDX-License-Identifier: MIT
// Relative bulge of a middle point over its chord: the squared ratio of the point's distance
// from the chord line to the chord length, in the plane and in space.
#pragma once

#include <qvmath/platform/export.h>

/// Squared relative bulge of the planar point i over the chord from point i − 1 to point
/// i + 1: with A = point i − 1, B = point i, C = point i + 1, u = B − A, w = C − A,
/// t = (u·w)/|w|² and e = u − t·w, the result is |e|²/|w|² (B's distance from the chord
/// line over the chord length, squared). Float arithmetic.
/// @param[in] xs, ys coordinates; entries i − 1, i and i + 1 are read.
/// @return the squared ratio; not finite for a zero chord (not guarded).
QVMATH_API float GetTriangleBulge2(float* xs, float* ys, int i);

/// The same squared relative bulge in space: mid is the bulging point, start and end the
/// chord ends (three floats each). Float arithmetic; not finite for a zero chord.
QVMATH_API float GetTriangleBulge(float* mid, float* start, float* end);
