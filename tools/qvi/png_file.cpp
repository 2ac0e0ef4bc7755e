#include "png_file.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "error.h"

namespace qvi::tool {
namespace {

// libpng reports errors by longjmp; this function holds no object with a
// destructor, so jumping out of it is safe.  Returns an error text or null.
const char* WritePngFile(std::FILE* file, uint32_t width, uint32_t height, const uint8_t* pixels,
                         size_t stride, PngPixels layout) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!png) return "libpng could not start";
  png_infop info = png_create_info_struct(png);
  if (!info) {
    png_destroy_write_struct(&png, nullptr);
    return "libpng could not start";
  }
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return "libpng failed to write the file";
  }
  png_init_io(png, file);
  png_set_compression_level(png, 9);
  png_set_IHDR(png, info, width, height, 8, layout == PngPixels::kBgr ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  if (layout == PngPixels::kBgr) png_set_bgr(png);
  for (uint32_t y = 0; y < height; ++y) png_write_row(png, pixels + stride * y);
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return nullptr;
}

}  // namespace

void WritePng(const std::string& path, uint32_t width, uint32_t height, const uint8_t* pixels,
              size_t stride, PngPixels layout) {
  if (width == 0 || height == 0) throw Error("a PNG file needs at least one pixel");
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) throw Error("cannot open " + path + " for writing: " + std::strerror(errno));
  const char* failure = WritePngFile(file, width, height, pixels, stride, layout);
  const bool closed = std::fclose(file) == 0;
  if (failure) throw Error(std::string("writing a PNG file failed: ") + failure);
  if (!closed) throw Error("writing a PNG file failed: closing it failed (the disk may be full)");
}

}  // namespace qvi::tool
