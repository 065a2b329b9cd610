// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/core/colour.h>

#include <cmath>
#include <cstdint>

TEST(ColourTest, Packing_LayoutRoundingAndIgnoredTopByte) {
  EXPECT_EQ(colorRGB2I(QV_rgb_color(1.0, 0.5, 0.0)), 0x000080FFu);  // 127.5 rounds up
  QV_rgb_color c;
  colorI2RGB(c, 0xFF0000FFu);
  EXPECT_TRUE(c.red() == 1.0 && c.green() == 0.0 && c.blue() == 0.0) << "top byte ignored";
  EXPECT_EQ(QV_rgb_color(510, -1, 0).red(), 510 * 0.00392156862745098) << "unclamped";
  // Every packed 24-bit colour survives unpack and repack, through doubles and floats.
  for (std::uint32_t v = 0; v < (1u << 24); v += 4093) {
    colorI2RGB(c, v | 0xAB000000u);
    EXPECT_EQ(colorRGB2I(c), v);
    float f[3];
    colorI2F(v, f);
    EXPECT_EQ(colorF2I(f), v);
  }
  const float f[3] = {0.2f, 0.4f, 0.6f};
  colorF2RGB(c, f);
  EXPECT_TRUE(c.green() == double(0.4f) && colorRGB2I(c) == 0x00996633u);
}

TEST(ColourTest, Packing_AlphaIsNotMasked) {
  // 2.0: 510 << 24 keeps bit 24 and up; -1/255: -1 sets the whole top byte; -1.0: -255,
  // whose low byte in two's complement is 0x01.
  const float c[4][4] = {{0, 0, 0, 0.5f}, {1, 0, 0, 2.0f}, {0, 1, 0, -1.0f / 255}, {0, 0, 0, -1}};
  const std::uint32_t packed[4] = {0x80000000u, 0xFE0000FFu, 0xFF00FF00u, 0x01000000u};
  for (int k = 0; k < 4; ++k) EXPECT_EQ(colorF2I_4(c[k]), packed[k]) << k;
}

TEST(ColourTest, ColorMap_RampEndsAndClamping) {
  // The ends clamp, NaN maps to the start, 0.25 gives trunc(127.5) in two channels.
  const float t[] = {-3.0f, 0.0f, 1.0f, 7.0f, 0.5f, 0.25f, std::nanf("")};
  const std::uint32_t want[] = {0x00FF0000u, 0x00FF0000u, 0x000000FFu, 0x000000FFu,
                                0x0000FF00u, 0x007F7F00u, 0x00FF0000u};
  for (int k = 0; k < 7; ++k) EXPECT_EQ(ColorMap(t[k]), want[k]) << t[k];
  for (int k = 0; k <= 1000; ++k) {
    const std::uint32_t c = ColorMap(k / 1000.0f);
    const bool r = c & 0xFF, g = c & 0xFF00, b = c & 0xFF0000;
    EXPECT_FALSE(r && g && b) << "never all three channels, t=" << k / 1000.0;
    EXPECT_EQ(c >> 24, 0u);
  }
}

TEST(ColourTest, Hsv_SpecialCasesAndRoundTrip) {
  float h, s, v;
  const float black[3] = {0, 0, 0}, grey[3] = {0.5f, 0.5f, 0.5f};
  RGBtoHSV(black, h, s, v);
  EXPECT_TRUE(h == -1.0f && s == 0.0f && v == 0.0f) << "black: hue undefined (-1)";
  RGBtoHSV(grey, h, s, v);
  EXPECT_TRUE(h == 0.0f && s == 0.0f && v == 0.5f);
  float rgb[3];
  HSVtoRGB(400.0f, 1.0f, 1.0f, rgb);
  EXPECT_TRUE(rgb[0] == 1.0f && rgb[1] == 0.0f && std::abs(rgb[2] - 1.0f / 3) < 1e-6f);
  HSVtoRGB(123.0f, 0.0f, 0.7f, rgb);
  EXPECT_EQ(rgb[1], 0.7f);
  HSVtoRGB(std::nanf(""), 1.0f, 1.0f, rgb);  // no undefined cast: the last case
  EXPECT_EQ(rgb[0], 1.0f);
  // Round trip over a grid of saturated colours.
  for (int i = 1; i <= 10; ++i)
    for (int j = 0; j <= 10; ++j)
      for (int k = 0; k <= 10; ++k) {
        const float in[3] = {i / 10.0f, j / 10.0f, k / 10.0f};
        RGBtoHSV(in, h, s, v);
        ASSERT_TRUE(h >= 0.0f && h < 360.0f) << h;
        HSVtoRGB(h, s, v, rgb);
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(rgb[c], in[c], 2e-6f);
      }
}
