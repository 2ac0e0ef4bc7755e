// The vocabulary the front-ends share: every pixel format of qvi.h with its
// name (as typed on a command line or passed from Python), bytes per pixel
// and layout; words for each Status; and the conversions QVI_Convert has,
// asked of the library itself.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qvi.h"

namespace qvi::camera {

struct FormatInfo {
  std::string_view name;  // the FMT_ name without its prefix: "BAY12"
  ImageFormat code;
  // Bytes of `pixels_per_group` pixels: 3 bytes per 2 pixels for Y12P.
  uint32_t group_bytes;
  uint32_t pixels_per_group;
  std::string_view layout;
};

// Every format of qvi.h, in the order of their codes.
std::span<const FormatInfo> AllFormats();

// Looks a format up by name; case does not matter and an "FMT_" prefix is
// accepted.  Returns nullptr for an unknown name.
const FormatInfo* FindFormat(std::string_view name);
const FormatInfo& FormatOf(ImageFormat code);  // code must be in the table

// Bytes that one line of `width` pixels occupies (pairs round up), or nullopt
// when it does not fit in 32 bits.
std::optional<uint32_t> LineBytes(const FormatInfo& format, uint64_t width);
// "2", "3 per 2 pixels", ...
std::string BytesPerPixelText(const FormatInfo& format);

bool IsBayer(ImageFormat code);
bool IsGrey(ImageFormat code);  // Y8, Y10 ... Y16, Y32 and Y12_ALT (not the packed Y12P)
// Significant bits of a Bayer format: 8 for BAY8, 12 for BAY12, ...
uint32_t BayerBits(ImageFormat code);

// "STATUS_BAD_BUFFER" and its meaning in a few words.
std::string_view StatusName(Status status);
std::string_view StatusMeaning(Status status);
// "STATUS_BAD_BUFFER (8: invalid buffer, ...)"
std::string DescribeStatus(Status status);

// The destinations QVI_Convert accepts for `source`, learned by asking it on
// small buffers: a pair that answers STATUS_BAD_PARAMETER is not a route.
// Bayer sources are asked with method dup and phase A.
std::vector<const FormatInfo*> ConversionsFrom(const FormatInfo& source);
// Whether QVI_Convert has a route from `source` to `destination`, asked the
// same way.
bool HasConversion(const FormatInfo& source, const FormatInfo& destination);

}  // namespace qvi::camera
