// Camera pixel formats: the PFNC codes and names that GenICam cameras (and
// Aravis, in arvenums.h) tag their frames with, and what each becomes in qvi.
//
//   const CameraFormat* f = FindCameraFormat(arv_buffer_get_image_pixel_format(buffer));
//   if (!f) throw UnsupportedFormat(code);        // names the code in hex and in words
//   // f->format is the qvi format of the pixels once unpacked (unpack.h),
//   // f->phase the Bayer phase to set on the buffer, if any.
//
// Every entry is a plain number and a qvi format: nothing here needs Aravis.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "qvi.h"

namespace qvi::camera {

// How the bytes of a camera line hold its samples.  The layouts are drawn in
// unpack.h.
enum class Packing : uint8_t {
  kNone,       // as the qvi format lays them out: nothing to unpack
  kLsb10,      // PFNC "p", 10 bits: a little-endian bit stream, 4 pixels in 5 bytes
  kLsb12,      // PFNC "p", 12 bits: a little-endian bit stream, 2 pixels in 3 bytes
  kGrouped10,  // GigE Vision "Packed", 10 bits: 2 pixels in 3 bytes, low bits in the middle byte
  kGrouped12,  // GigE Vision "Packed", 12 bits: 2 pixels in 3 bytes, low bits in the middle byte
};

struct CameraFormat {
  std::string_view name;  // the PFNC name, exactly as cameras spell it: "BayerRG12p"
  uint32_t code;          // the PFNC code: 0x010C0059
  // The qvi format of the pixels handed to the library: after unpacking,
  // for a packed format (BayerRG12p gives FMT_BAY12).
  ImageFormat format;
  // The colours of the top-left 2 x 2 cell for a Bayer format (BayerRG is
  // BAYER_PHASE_A, R G / G B); none for any other.
  std::optional<BayerPhase> phase;
  Packing packing;
  uint32_t bits;  // significant bits of a sample (8 for RGB8: bits of one colour)
};

// Every camera format qvi takes, grey first, then Bayer, then colour.
std::span<const CameraFormat> CameraFormats();

// The entry for a PFNC code, or nullptr when qvi does not take that code.
const CameraFormat* FindCameraFormat(uint32_t code);
// The entry for a PFNC name in any case ("bayerrg8" finds BayerRG8), or
// nullptr when qvi does not take it.
const CameraFormat* FindCameraFormat(std::string_view name);

// The PFNC name of a code, for the formats qvi takes and for the other
// common ones it knows but does not take ("Mono14p"); empty for a code it
// does not know.
std::string_view PfncName(uint32_t code);
// The code of a PFNC name in any case, taken or only known; nullopt when the
// name is not known.
std::optional<uint32_t> PfncCode(std::string_view name);

// "BayerRG8 (0x01080009)", or "0x12345678" for a code without a known name.
std::string DescribePixelFormat(uint32_t code);

// Thrown for a camera format qvi does not take.  The message names the code
// in hex and, where known, its PFNC name, and says which formats are taken.
class UnsupportedFormat : public std::runtime_error {
 public:
  explicit UnsupportedFormat(uint32_t code);
  uint32_t code() const { return code_; }

 private:
  uint32_t code_;
};

// The entry for `code`; throws UnsupportedFormat when there is none.
const CameraFormat& CameraFormatOf(uint32_t code);

// Bytes one line of `width` pixels of `format` occupies as the camera sends
// it (a packed line's last byte may be partly used), or nullopt when that
// exceeds 32 bits.
std::optional<uint32_t> CameraLineBytes(const CameraFormat& format, uint64_t width);
// Bytes of a whole frame whose lines follow one another with no padding, as
// a camera sends it: for the packed formats the lines form one bit stream,
// so a line need not start on a byte.
std::optional<uint64_t> CameraFrameBytes(const CameraFormat& format, uint64_t width, uint64_t height);

}  // namespace qvi::camera
