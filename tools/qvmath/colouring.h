// SPDX-License-Identifier: MIT
// Colours of the program's outputs and previews, from the library's false-colour ramp and
// HSV conversion; packed as the library packs colours (red in the low byte).
#pragma once

#include <qvmath/core/point3d.h>

#include <cstdint>
#include <vector>

namespace qvtool {

/// The colour of plane label `label`: hues spread by the golden ratio so that consecutive
/// labels differ; light grey for -1 (no plane).
std::uint32_t LabelColour(int label);

/// Colours `values` on the ramp (`ColorMap`: blue low, green middle, red high) over a range
/// that ignores the 2 % extremes at each end; with `symmetric` the range is ±(98th
/// percentile of |v|), so zero is green. NaN values are grey. The range is returned.
void RampColours(const std::vector<float>& values, bool symmetric,
                 std::vector<std::uint32_t>& colours, float& lo, float& hi);

/// Colours `values` on the ramp over the given range [lo, hi] (values beyond it take the
/// end colours); NaN values are grey.
void RampColoursInRange(const std::vector<float>& values, float lo, float hi,
                        std::vector<std::uint32_t>& colours);

/// The colour of unit normal n: (n + 1)/2 as red, green, blue.
std::uint32_t NormalColour(const REmath::Point3D& n);

}  // namespace qvtool
