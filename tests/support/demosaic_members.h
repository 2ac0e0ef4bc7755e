// Every demosaic entry point as data, read from the library's member table,
// with what the tests derive from a member's type: the bayer tests' reference
// model, the fast-kernel comparison, the guard-page and concurrency tests and
// the demosaic fuzzer.  It needs no buffer library, so programs may link the
// recording fake or the bundled one.
#pragma once

#include <cstdint>
#include <vector>

#include "bayer/member.h"
#include "qvi.h"
#include "support/documented_reach.h"

namespace qvi::test {

struct DemosaicMember {
  const char* name;
  bayer::Depth depth;
  bayer::Packing packing;
  bayer::Method method;
  bayer::Phase phase;
  bayer::Deviations deviations;
  Status (*call)(BufferHandle source, BufferHandle destination, uint32_t bits);  // bits ignored for BAY8

  bool deep() const { return depth == bayer::Depth::BAYn; }
  uint32_t sample_bytes() const { return deep() ? 2 : 1; }
  uint32_t pixel_bytes() const {
    return packing == bayer::Packing::BGR24 ? 3 : packing <= bayer::Packing::BGRX32 ? 4 : 2;
  }
  bool has_x_byte() const { return pixel_bytes() == 4; }
  uint32_t source_format() const { return deep() ? FMT_BAY16 : FMT_BAY8; }
  uint32_t destination_format() const {
    const uint32_t formats[] = {FMT_RGBX32, FMT_BGRX32, FMT_BGR24, FMT_RGB16, FMT_BGR16};
    return formats[static_cast<int>(packing)];
  }
  // Rows of 16-bit samples, and of the 16-bit packings, lie at the stride
  // rounded down to even.
  uint32_t source_pitch(uint32_t stride) const { return deep() ? stride & ~1u : stride; }
  uint32_t destination_pitch(uint32_t stride) const { return pixel_bytes() == 2 ? stride & ~1u : stride; }
  // The members that read the row below one sample ahead.
  bool below_row_ahead() const { return (deviations & bayer::kBelowRowOneAhead) != 0; }
  // The documented over-read past the last source row.
  uint32_t over_read_samples(uint32_t width, uint32_t height) const {
    return DemosaicOverReadSamples(method != bayer::Method::dup, below_row_ahead(), width, height);
  }
};

// Every exported member, in export order.
inline const std::vector<DemosaicMember>& DemosaicMembers() {
  using namespace bayer;
  static const std::vector<DemosaicMember> members = {
#define QVI_MEMBER(depth, packing, method, phase, deviations) QVI_ENTRY_##depth(packing, method, phase, deviations)
#define QVI_ENTRY_BAY8(P, M, F, X)                                                      \
  {"QVI_BAY8_to_" #P "_" #M "_" #F, Depth::BAY8, Packing::P, Method::M, Phase::F, X, \
   [](BufferHandle s, BufferHandle d, uint32_t) { return QVI_BAY8_to_##P##_##M##_##F(s, d); }},
#define QVI_ENTRY_BAYn(P, M, F, X)                                                         \
  {"QVI_BAYn_to_" #P "_" #M "_" #F, Depth::BAYn, Packing::P, Method::M, Phase::F, X, \
   &QVI_BAYn_to_##P##_##M##_##F},
#include "bayer/members.def"
#undef QVI_ENTRY_BAYn
#undef QVI_ENTRY_BAY8
#undef QVI_MEMBER
  };
  return members;
}

// The member of that type, or null when none is exported.
inline const DemosaicMember* FindDemosaicMember(bayer::Depth d, bayer::Packing p, bayer::Method m, bayer::Phase f) {
  for (const DemosaicMember& member : DemosaicMembers())
    if (member.depth == d && member.packing == p && member.method == m && member.phase == f) return &member;
  return nullptr;
}

}  // namespace qvi::test
