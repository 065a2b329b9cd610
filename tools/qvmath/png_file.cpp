// SPDX-License-Identifier: MIT
#include "png_file.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace qvtool {

namespace {

// libpng reports errors by longjmp; nothing with a destructor lives in this frame.
bool WriteRows(std::FILE* f, int width, int height, png_bytep* rows) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!png) return false;
  png_infop info = png_create_info_struct(png);
  if (!info || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_init_io(png, f);
  png_set_IHDR(png, info, png_uint_32(width), png_uint_32(height), 8, PNG_COLOR_TYPE_RGB,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  png_write_image(png, rows);
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

}  // namespace

void WritePng(const std::string& path, int width, int height,
              const std::vector<unsigned char>& rgb) {
  std::vector<png_bytep> rows(static_cast<std::size_t>(height));
  for (int y = 0; y < height; ++y)
    rows[std::size_t(y)] =
        const_cast<png_bytep>(rgb.data()) + std::size_t(y) * std::size_t(width) * 3;
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) throw std::runtime_error(path + ": cannot write: " + std::strerror(errno));
  const bool ok = WriteRows(f, width, height, rows.data());
  const bool closed = std::fclose(f) == 0;
  if (!ok || !closed) throw std::runtime_error(path + ": cannot write the PNG image");
}

}  // namespace qvtool
