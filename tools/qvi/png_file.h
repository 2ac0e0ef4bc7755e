// PNG output for pictures.  It lives in the tool: the library writes only raw
// and TIFF files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qvi::tool {

enum class PngPixels { kGrey, kBgr };  // 1 byte a pixel, or bytes B, G, R

// Writes an 8-bit grey or colour PNG file; throws Error on failure.
void WritePng(const std::string& path, uint32_t width, uint32_t height, const uint8_t* pixels,
              size_t stride, PngPixels layout);

}  // namespace qvi::tool
