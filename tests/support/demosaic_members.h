// Every demosaic entry point as data, read from the library's member table,
// for the programs that pick members at run time: the guard-page test, the
// demosaic fuzzer and the concurrency test.  (tests/bayer keeps a richer table
// with a reference model; it needs the recording fake, these programs may
// link the bundled buffer library instead.)
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
  Status (*call)(BufferHandle source, BufferHandle destination, uint32_t bits);  // bits ignored for BAY8

  bool deep() const { return depth == bayer::Depth::BAYn; }
  uint32_t sample_bytes() const { return deep() ? 2 : 1; }
  uint32_t pixel_bytes() const {
    return packing == bayer::Packing::BGR24 ? 3 : (packing == bayer::Packing::RGBX32 || packing == bayer::Packing::BGRX32 ? 4 : 2);
  }
  bool has_x_byte() const { return pixel_bytes() == 4; }
  uint32_t source_format() const { return deep() ? FMT_BAY16 : FMT_BAY8; }
  uint32_t destination_format() const {
    const uint32_t formats[] = {FMT_RGBX32, FMT_BGRX32, FMT_BGR24, FMT_RGB16, FMT_BGR16};
    return formats[static_cast<int>(packing)];
  }
  // The documented over-read past the last source row.
  uint32_t over_read_samples(uint32_t width, uint32_t height) const {
    const bool ahead = method == bayer::Method::med && packing == bayer::Packing::RGB16 && phase == bayer::Phase::C;
    return DemosaicOverReadSamples(method != bayer::Method::dup, ahead, width, height);
  }
};

inline const std::vector<DemosaicMember>& DemosaicMembers() {
  using namespace bayer;
  static const std::vector<DemosaicMember> members = {
#define QVI_MEMBER(depth, packing, method, phase, deviations) QVI_ENTRY_##depth(packing, method, phase)
#define QVI_ENTRY_BAY8(P, M, F)                                                      \
  {"QVI_BAY8_to_" #P "_" #M "_" #F, Depth::BAY8, Packing::P, Method::M, Phase::F, \
   [](BufferHandle s, BufferHandle d, uint32_t) { return QVI_BAY8_to_##P##_##M##_##F(s, d); }},
#define QVI_ENTRY_BAYn(P, M, F) \
  {"QVI_BAYn_to_" #P "_" #M "_" #F, Depth::BAYn, Packing::P, Method::M, Phase::F, &QVI_BAYn_to_##P##_##M##_##F},
#include "bayer/members.def"
#undef QVI_ENTRY_BAYn
#undef QVI_ENTRY_BAY8
#undef QVI_MEMBER
  };
  return members;
}

}  // namespace qvi::test
