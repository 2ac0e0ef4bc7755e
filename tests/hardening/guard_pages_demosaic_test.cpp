// Every demosaic entry point over random geometries (odd and even widths,
// exact and padded strides, odd strides of 16-bit sources, images too small
// to demosaic), source and destination each placed against a protected page
// (after the end, then before the start).  The source carries exactly the
// documented over-read past its last row and no more.
#include <gtest/gtest.h>

#include <random>

#include "support/demosaic_members.h"
#include "support/fenced_image.h"

namespace qvi::test {
namespace {

class DemosaicGuardPages : public ::testing::TestWithParam<Fence> {
 protected:
  void SetUp() override { ResetFakeBuffers(); }
};

TEST_P(DemosaicGuardPages, MembersStayInsideTheirBuffers) {
  std::mt19937 rng(3);
  const auto below = [&rng](uint32_t n) { return static_cast<uint32_t>(rng() % n); };
  for (const DemosaicMember& m : DemosaicMembers()) {
    for (int trial = 0; trial < 12; ++trial) {
      const bool tiny = trial == 0;  // below 2x2: nothing may be read or written
      const uint32_t w = tiny ? below(2) : 2 + below(19), h = tiny ? below(4) : 2 + below(6);
      const uint32_t src_stride = w * m.sample_bytes() + (trial % 3 == 0 ? 0 : below(5));
      const uint32_t dst_stride = w * m.pixel_bytes() + (trial % 2 == 0 ? 0 : below(7));
      const uint32_t bits = 10 + 2 * below(4);
      const uint64_t src_bytes =
          DemosaicSourceBytes(w, h, src_stride, m.sample_bytes(), m.over_read_samples(w, h));
      FencedImage src(m.source_format(), w, h, src_stride, static_cast<uint32_t>(src_bytes - uint64_t{src_stride} * h),
                      GetParam(), 0x3C);
      FencedImage dst(m.destination_format(), w, h, dst_stride, 0, GetParam());
      ASSERT_EQ(m.call(src.handle(), dst.handle(), bits), STATUS_OK)
          << m.name << " " << w << "x" << h << " strides " << src_stride << " " << dst_stride;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fences, DemosaicGuardPages, ::testing::Values(Fence::AfterEnd, Fence::BeforeStart));

}  // namespace
}  // namespace qvi::test
