// SPDX-License-Identifier: MIT
#include <qvmath/core/colour.h>
#include <qvmath/core/rounding.h>

#include <algorithm>
#include <cmath>

namespace {

// One channel value to its byte, rounding ties up; bits beyond the byte are masked off.
std::uint32_t ChannelByte(double value) {
  return static_cast<std::uint32_t>(rndtoni(value * 255)) & 255u;
}

// A truncated ramp channel: toward zero, masked to 8 bits.
std::uint32_t RampByte(float value) {
  return static_cast<std::uint32_t>(static_cast<int>(value)) & 255u;
}

}  // namespace

void colorI2RGB(QV_rgb_color& color, std::uint32_t c) {
  color = QV_rgb_color((c & 255u) / 255.0, ((c >> 8) & 255u) / 255.0, ((c >> 16) & 255u) / 255.0);
}

void colorF2RGB(QV_rgb_color& color, const float* f) { color = QV_rgb_color(f[0], f[1], f[2]); }

std::uint32_t colorRGB2I(const QV_rgb_color& color) {
  return ChannelByte(color.red()) | ChannelByte(color.green()) << 8 |
         ChannelByte(color.blue()) << 16;
}

std::uint32_t colorF2I(const float* f) {
  return ChannelByte(f[0]) | ChannelByte(f[1]) << 8 | ChannelByte(f[2]) << 16;
}

std::uint32_t colorF2I_4(const float* f) {
  // Unsigned arithmetic gives the 32-bit two's-complement result without overflow.
  const std::uint32_t alpha = static_cast<std::uint32_t>(rndtoni(f[3] * 255.0));
  return colorF2I(f) | alpha << 24;
}

void colorI2F(std::uint32_t c, float* f) {
  f[0] = float((c & 255u) / 255.0);
  f[1] = float(((c >> 8) & 255u) / 255.0);
  f[2] = float(((c >> 16) & 255u) / 255.0);
}

std::uint32_t ColorMap(float t) {
  if (!(t >= 0.0f)) t = 0.0f;  // also catches NaN
  if (t > 1.0f) t = 1.0f;
  std::uint32_t red = 0, green = 0, blue = 0;
  if (t >= 0.5f) {
    const float u = 2.0f * t;
    green = RampByte((2.0f - u) * 255.0f);
    red = RampByte(255.0f * (u - 1.0f));
  } else {
    green = RampByte(510.0f * t);
    blue = RampByte((1.0f - 2.0f * t) * 255.0f);
  }
  return red | green << 8 | blue << 16;
}

void RGBtoHSV(const float* rgb, float& h, float& s, float& v) {
  const float r = rgb[0], g = rgb[1], b = rgb[2];
  const float mx = std::max(r, std::max(g, b));
  const float mn = std::min(r, std::min(g, b));
  v = mx;
  if (mx == 0.0f) {
    s = 0.0f;
    h = -1.0f;
    return;
  }
  s = (mx - mn) / mx;
  if (s == 0.0f) {
    h = 0.0f;
    return;
  }
  const float d = mx - mn;
  if (r == mx)
    h = (g - b) / d;
  else if (g == mx)
    h = 2.0f + (b - r) / d;
  else
    h = 4.0f + (r - g) / d;
  h *= 60.0f;
  if (h < 0.0f) h += 360.0f;
}

void HSVtoRGB(float h, float s, float v, float* rgb) {
  if (s == 0.0f) {
    rgb[0] = rgb[1] = rgb[2] = v;
    return;
  }
  const float x = h / 60.0f;
  // The sector stays a float: a cast of a huge or NaN hue to int would be undefined, and
  // every such hue falls into the last case anyway.
  const float i = std::floor(x);
  const float f = x - i;
  const float p = (1.0f - s) * v;
  const float q = (1.0f - f * s) * v;
  const float t = (1.0f - s * (1.0f - f)) * v;
  float r, g, b;
  if (i == 0.0f)
    r = v, g = t, b = p;
  else if (i == 1.0f)
    r = q, g = v, b = p;
  else if (i == 2.0f)
    r = p, g = v, b = t;
  else if (i == 3.0f)
    r = p, g = q, b = v;
  else if (i == 4.0f)
    r = t, g = p, b = v;
  else
    r = v, g = p, b = q;
  rgb[0] = r, rgb[1] = g, rgb[2] = b;
}
