// The plugin's own table between GStreamer's format names and qvi's formats,
// and what the library can do with each, asked of the library once.
#pragma once

#include <gst/gst.h>
#include <gst/video/video.h>

#include <cstdint>
#include <span>
#include <vector>

#include "qvi.h"

namespace qvi::gst {

// A video/x-raw format of GStreamer with the qvi format of the same bytes.
struct RawFormat {
  GstVideoFormat gst;
  ImageFormat code;
  // Every component is one byte, so a byte-wise mean of two pixels is the
  // mean of their colours.
  bool byte_components;
};
std::span<const RawFormat> RawFormats();
const RawFormat* FindRaw(GstVideoFormat format);

// A video/x-bayer format: "rggb", "grbg12le", ...
struct BayerFormat {
  const char* name;
  ImageFormat code;  // FMT_BAY8 .. FMT_BAY16
  BayerPhase phase;  // from the colours of the top-left 2 x 2 cell
  uint32_t sample_bytes;
};
std::span<const BayerFormat> BayerFormats();
const BayerFormat* FindBayer(const char* name);

// Demosaic methods in the order of the element's enumeration.
inline constexpr DemosaicMethod kDemosaicMethods[] = {DEMOSAIC_METHOD_DUP, DEMOSAIC_METHOD_AVE,
                                                      DEMOSAIC_METHOD_MED};

// Whether QVI_Convert demosaics `bayer` into `out` with `method`, asked of the
// library on a small image (the answers are learned once).
bool DemosaicProduces(const BayerFormat& bayer, DemosaicMethod method, const RawFormat& out);

// Samples past the end of the last source row that the demosaic member reads
// (include/qvi.h: odd widths, and the RGB16 median of phase C).
uint32_t DemosaicTailSamples(const BayerFormat& bayer, DemosaicMethod method, const RawFormat& out,
                             uint32_t width, uint32_t height);

// One conversion of qviconvert: the caps formats on both sides and the qvi
// formats the library is handed.
struct Route {
  const RawFormat* in;
  const RawFormat* out;
  ImageFormat in_code, out_code;
};
// Every conversion between two different formats, from the library's list.
std::span<const Route> ConvertRoutes();
const Route* FindRoute(GstVideoFormat in, GstVideoFormat out);

// Whether qvideinterlace offers `format` with `method` (FIELD_TO_FRAME_*).
bool FieldMethodTakes(FieldToFrameMethod method, const RawFormat& format);

// The caps names of every format of the tables above, in their order.
std::vector<const char*> RawNames();
std::vector<const char*> BayerNames();

// A GST_TYPE_LIST of format names (a single string when there is one).
void SetFormatList(GstStructure* s, const std::vector<const char*>& names);
// The format names of a caps structure: its "format" string or list, or
// every name of `all` when the field is absent.
std::vector<const char*> FormatNames(const GstStructure* s, const std::vector<const char*>& all);

}  // namespace qvi::gst
