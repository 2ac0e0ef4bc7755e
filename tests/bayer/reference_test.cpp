// Every member against the reference model: all sizes from 2x2 to 9x7, tight
// and padded strides (odd ones included), several value patterns and depths.
// Whole destination buffers are compared, so X bytes and padding must keep
// their canary; the source holds exactly the documented over-read as slack,
// so under AddressSanitizer any further read fails.
#include <gtest/gtest.h>

#include "bayer_support.h"

namespace qvi::test {
namespace {

enum class Pattern { kInDepth, kWide, kAllMax, kImpulses };

// Fills the whole source allocation (padding and slack too).
void Fill(Job& job, Pattern pattern, uint32_t bits, std::mt19937& rng) {
  const bool deep = job.member.depth == Depth::BAYn;
  const uint32_t max = deep ? (1u << (bits < 16 ? bits : 16)) - 1 : 0xFF;
  std::vector<uint8_t>& bytes = job.src.bytes();
  const size_t step = deep ? 2 : 1;
  for (size_t i = 0; i + step <= bytes.size(); i += step) {
    uint32_t v = 0;
    switch (pattern) {
      case Pattern::kInDepth: v = rng() % (max + 1); break;
      case Pattern::kWide: v = rng(); break;
      case Pattern::kAllMax: v = max; break;
      case Pattern::kImpulses: v = rng() % 7 == 0 ? max : 0; break;
    }
    bytes[i] = static_cast<uint8_t>(v);
    if (deep) bytes[i + 1] = static_cast<uint8_t>(v >> 8);
  }
}

class EveryMember : public ::testing::TestWithParam<size_t> {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

TEST_P(EveryMember, MatchesTheReferenceModel) {
  const MemberInfo& m = Members()[GetParam()];
  const uint32_t depths[] = {10, 12, 14, 16, 13, 7};
  std::mt19937 rng(static_cast<uint32_t>(GetParam()) + 1);
  size_t run = 0;
  for (uint32_t w = 2; w <= 9; ++w) {
    for (uint32_t h = 2; h <= 7; ++h) {
      for (Pattern pattern : {Pattern::kInDepth, Pattern::kWide, Pattern::kAllMax, Pattern::kImpulses}) {
        for (auto [src_extra, dst_extra] : {std::pair{0u, 0u}, std::pair{3u, 5u}}) {
          const uint32_t bits = m.depth == Depth::BAY8 ? 8 : depths[run++ % std::size(depths)];
          Job job(m, w, h, src_extra, dst_extra);
          Fill(job, pattern, bits, rng);
          ASSERT_EQ(job.Run(bits), STATUS_OK);
          ASSERT_EQ(job.dst.bytes(), job.Expected(bits))
              << m.name << " " << w << "x" << h << " pattern " << int(pattern) << " bits " << bits << " strides +"
              << src_extra << " +" << dst_extra;
          ClearQueryLog();
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Demosaic, EveryMember, ::testing::Range<size_t>(0, Members().size()),
                         [](const auto& info) { return Members()[info.param].name; });

}  // namespace
}  // namespace qvi::test
