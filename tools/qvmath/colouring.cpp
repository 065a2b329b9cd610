// SPDX-License-Identifier: MIT
#include "colouring.h"

#include <qvmath/core/colour.h>

#include <algorithm>
#include <cmath>

namespace qvtool {

namespace {
constexpr std::uint32_t kGrey = 0x00B4B4B4;
}

std::uint32_t LabelColour(int label) {
  if (label < 0) return kGrey;
  const double hue = std::fmod(label * 0.6180339887498949, 1.0) * 360.0;
  float rgb[3];
  HSVtoRGB(static_cast<float>(hue), 0.75f, 0.95f, rgb);
  return colorF2I(rgb);
}

void RampColours(const std::vector<float>& values, bool symmetric,
                 std::vector<std::uint32_t>& colours, float& lo, float& hi) {
  std::vector<float> finite;
  finite.reserve(values.size());
  for (const float v : values)
    if (std::isfinite(v)) finite.push_back(symmetric ? std::fabs(v) : v);
  lo = hi = 0;
  if (!finite.empty()) {
    const std::size_t n = finite.size();
    auto at = [&](double q) {
      const std::size_t i = std::min(n - 1, static_cast<std::size_t>(q * double(n - 1)));
      std::nth_element(finite.begin(), finite.begin() + std::ptrdiff_t(i), finite.end());
      return finite[i];
    };
    hi = at(0.98);
    lo = symmetric ? -hi : at(0.02);
  }
  RampColoursInRange(values, lo, hi, colours);
}

void RampColoursInRange(const std::vector<float>& values, float lo, float hi,
                        std::vector<std::uint32_t>& colours) {
  const float span = hi > lo ? hi - lo : 1.0f;
  colours.resize(values.size());
  for (std::size_t i = 0; i < values.size(); ++i)
    colours[i] = std::isfinite(values[i]) ? ColorMap((values[i] - lo) / span) : kGrey;
}

std::uint32_t NormalColour(const REmath::Point3D& n) {
  const float rgb[3] = {0.5f * (n.x() + 1), 0.5f * (n.y() + 1), 0.5f * (n.z() + 1)};
  return colorF2I(rgb);
}

}  // namespace qvtool
