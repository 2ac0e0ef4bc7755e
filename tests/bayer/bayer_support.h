// Test support for the demosaic family: the member table as data, a reference
// model of every member, and images made for them.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bayer/member.h"
#include "support/image.h"

namespace qvi::test {

using bayer::Depth;
using bayer::Method;
using bayer::Packing;
using bayer::Phase;

struct MemberInfo {
  std::string name;
  Depth depth;
  Packing packing;
  Method method;
  Phase phase;
  bayer::Deviations deviations;  // as listed in members.def
  Status (*call)(BufferHandle source, BufferHandle destination, uint32_t bits);  // bits ignored for BAY8
};

// Every exported member, in export order.
const std::vector<MemberInfo>& Members();
// The member with these properties, or nullptr.
const MemberInfo* FindMember(Depth d, Packing p, Method m, Phase f);

uint32_t SampleBytes(Depth d);
uint32_t PixelBytes(Packing p);
uint32_t FormatOf(Depth d);  // FMT_BAY8, or FMT_BAY16 for n-bit
uint32_t FormatOf(Packing p);

// Samples the member reads past the end of the source's stride x height when
// the stride is exactly one row: the documented over-read of odd widths.
uint32_t OverReadSamples(const MemberInfo& m, uint32_t width, uint32_t height);

// The destination bytes the member must leave: `dst` holds the destination
// before the call and receives every pixel the rules produce.  The source is
// read through its stride, so samples past a row's end are whatever the
// memory holds there.
void ReferenceDemosaic(const MemberInfo& m, const uint8_t* src, uint32_t src_stride, uint32_t width,
                       uint32_t height, uint32_t bits, uint8_t* dst, uint32_t dst_stride);

// A source and a destination for one member, the source filled by the
// caller.  The source carries exactly the documented over-read as slack, so
// any further read leaves the allocation.
struct Job {
  Job(const MemberInfo& m, uint32_t width, uint32_t height, uint32_t src_extra = 0, uint32_t dst_extra = 0);
  void PutSample(uint32_t y, uint32_t x, uint32_t v);  // x may run into the padding
  Status Run(uint32_t bits);                           // the member itself
  std::vector<uint8_t> Expected(uint32_t bits);        // the model on a fresh canary destination
  std::vector<uint8_t> At(uint32_t y, uint32_t x);     // destination bytes of one pixel

  const MemberInfo& member;
  uint32_t width, height;
  TestImage src, dst;
};

}  // namespace qvi::test
