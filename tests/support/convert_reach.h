// What QVI_Convert may read of its source, shared by the guard-page,
// differential and golden tests and the convert fuzzer: the bytes of a
// source line, and the bytes from the source's address the call may read
// (stride x height, or for a Bayer source the documented over-read of the
// member the method and phase reach).
#pragma once

#include "buffer/formats.h"
#include "qvi.h"
#include "support/demosaic_members.h"
#include "support/documented_reach.h"

namespace qvi::test {

// The tightest stride of a line of w pixels: whole bytes of 12-bit packed
// grey, whole pairs of luma/chroma.
inline uint32_t TightStride(Fmt f, uint32_t w) {
  return f == Fmt::Y12P ? (3 * w + 1) / 2 : f == Fmt::YUV422 ? (w + 1) / 2 * 4 : w * BytesPerPixel(f);
}

// The bytes a conversion reads of a line of w pixels: whole pairs of both
// packed formats (an odd width's last pixel comes with a partner).
inline uint32_t LineReadBytes(Fmt f, uint32_t w) {
  return f == Fmt::Y12P ? 3 * ((w + 1) / 2) : f == Fmt::YUV422 ? 4 * ((w + 1) / 2) : w * BytesPerPixel(f);
}

// The demosaic member a Bayer route calls for this method and phase, or
// null when it calls none.
inline const DemosaicMember* ReachedMember(Fmt src, Fmt dst, uint32_t method, uint32_t phase) {
  const uint32_t m = method >> 8, f = phase >> 8;
  if ((method & 0xFF) != 0x09 || (phase & 0xFF) != 0x0A || m < 1 || m > 3 || f < 1 || f > 4) return nullptr;
  for (const DemosaicMember& member : DemosaicMembers()) {
    if (member.deep() == (src != Fmt::BAY8) && member.destination_format() == FullCode(dst) &&
        member.method == bayer::Method(m - 1) && member.phase == bayer::Phase(f - 1))
      return &member;
  }
  return nullptr;
}

inline uint64_t ConvertSourceBytes(Fmt src, Fmt dst, uint32_t method, uint32_t phase, uint32_t w, uint32_t h,
                                   uint32_t stride) {
  const DemosaicMember* member = MosaicBits(src) != 0 ? ReachedMember(src, dst, method, phase) : nullptr;
  if (member == nullptr) return uint64_t{stride} * h;
  return DemosaicSourceBytes(w, h, stride, member->sample_bytes(), member->over_read_samples(w, h));
}

}  // namespace qvi::test
