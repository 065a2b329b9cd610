// SPDX-License-Identifier: MIT
// Colours: an RGB colour of three doubles, packed 32-bit colours, float colour arrays,
// a blue-green-red false-colour ramp and RGB/HSV conversions.
#pragma once

#include <qvmath/platform/export.h>

#include <cstdint>

/// An RGB colour, each channel a double nominally in 0..1 (never checked or clamped).
/// Packed form (`std::uint32_t`, 32 bits on every platform): red in bits 0-7, green 8-15,
/// blue 16-23, alpha 24-31 in the four-channel form; channel byte = rndtoni(value·255).
class QVMATH_API QV_rgb_color {
 public:
  /// Black (0, 0, 0).
  QV_rgb_color() : m_red(0), m_green(0), m_blue(0) {}
  /// The channels as given, unchecked.
  QV_rgb_color(double r, double g, double b) : m_red(r), m_green(g), m_blue(b) {}
  /// Byte channels: each value times 0.00392156862745098 (a multiplication by 1/255, not a
  /// division), unclamped; (255, 0, 128) gives (1, 0, 0.50196...).
  QV_rgb_color(int r, int g, int b)
      : m_red(r * kInv255), m_green(g * kInv255), m_blue(b * kInv255) {}

  double red() const { return m_red; }
  double green() const { return m_green; }
  double blue() const { return m_blue; }
  double& blue() { return m_blue; }
  void set_red(double v) { m_red = v; }
  void set_green(double v) { m_green = v; }
  void set_blue(double v) { m_blue = v; }

 private:
  static constexpr double kInv255 = 0.00392156862745098;
  double m_red, m_green, m_blue;
};

/// Unpacks c: each of the low three bytes / 255; the top byte is ignored.
QVMATH_API void colorI2RGB(QV_rgb_color& color, std::uint32_t c);
/// Copies f[0..2] into the channels.
QVMATH_API void colorF2RGB(QV_rgb_color& color, const float* f);
/// Packs: (rndtoni(r·255) & 255) | (rndtoni(g·255) & 255) << 8 | (rndtoni(b·255) & 255) << 16.
/// Ties round up: (1, 0.5, 0) gives 0x000080FF.
QVMATH_API std::uint32_t colorRGB2I(const QV_rgb_color& color);
/// The same packing from f[0..2].
QVMATH_API std::uint32_t colorF2I(const float* f);
/// colorF2I(f) | rndtoni(f[3]·255) << 24. The alpha term is not masked to 8 bits,
/// deliberately: in the 32-bit word, bits shifted past bit 31 are lost, so an alpha above
/// 1 changes nothing below bit 24, and a negative alpha contributes the low byte of its
/// two's complement (alpha -1/255 sets the whole top byte).
QVMATH_API std::uint32_t colorF2I_4(const float* f);
/// f[0..2] = the three low bytes of c / 255; no alpha is produced.
QVMATH_API void colorI2F(std::uint32_t c, float* f);

/// Packed colour of the false-colour ramp at t, clamped to [0, 1]: 0 is pure blue
/// (0x00FF0000), 0.5 pure green (0x0000FF00), 1 pure red (0x000000FF), through cyan- and
/// yellow-like mixtures, never lighting all three channels. In float: for t >= 0.5, with
/// u = 2t, green = trunc((2 - u)·255), red = trunc(255·(u - 1)); below, green = trunc(510·t),
/// blue = trunc((1 - 2t)·255). NaN gives pure blue.
QVMATH_API std::uint32_t ColorMap(float t);

/// RGB (three floats in 0..1) to HSV, in float: v = max; black gives s = 0, h = -1 (hue
/// undefined); grey gives s = 0, h = 0; otherwise h in [0, 360) degrees.
QVMATH_API void RGBtoHSV(const float* rgb, float& h, float& s, float& v);

/// HSV to RGB, in float: s = 0 gives grey (v, v, v) whatever h is; otherwise with
/// x = h/60, i = floor(x), f = x - i, p = (1-s)v, q = (1-fs)v, t = (1-s(1-f))v the sector i
/// gives 0 (v,t,p), 1 (q,v,p), 2 (p,v,t), 3 (p,q,v), 4 (t,p,v), and any other value —
/// 5, hues outside 0..360, NaN — gives (v,p,q): HSVtoRGB(400, 1, 1) is (1, 0, 1/3).
QVMATH_API void HSVtoRGB(float h, float s, float v, float* rgb);
