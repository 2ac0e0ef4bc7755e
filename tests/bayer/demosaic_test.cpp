// The demosaic members: every member against the reference model, the values
// the documentation works out, each deviation in isolation, the frame they
// share (query order, refusals, input outside the contract), and how
// QVI_Convert chooses them.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>

#include "bayer/demosaic.h"
#include "bayer_support.h"
#include "support/routes.h"

namespace qvi::test {
namespace {

// All sizes up to 9x7 (below 2x2 nothing is written), tight and padded (odd)
// strides, several value patterns and depths.  Whole destinations are
// compared, so X bytes and padding must keep their canary; the source holds
// exactly the documented over-read as slack, so under AddressSanitizer any
// further read fails.
class EveryMember : public ::testing::TestWithParam<size_t> {};

TEST_P(EveryMember, MatchesTheReferenceModel) {
  ResetFakeBuffers();
  const DemosaicMember& m = DemosaicMembers()[GetParam()];
  const uint32_t depths[] = {10, 12, 14, 16, 13, 7}, step = m.sample_bytes();
  std::mt19937 rng(static_cast<uint32_t>(GetParam()) + 1);
  size_t run = 0;
  for (uint32_t w = 0; w <= 9; ++w)
    for (uint32_t h = 1; h <= 7; ++h)
      for (int pattern = 0; pattern < 4; ++pattern)  // in depth, any 16 bits, all maximum, impulses
        for (uint32_t extra : {0u, 3u}) {
          const uint32_t bits = m.deep() ? depths[run++ % std::size(depths)] : 8, max = (1u << std::min(bits, 16u)) - 1;
          Job job(m, w, h, extra, extra ? 5 : 0);
          std::vector<uint8_t>& bytes = job.src.bytes();  // padding and slack included
          for (size_t i = 0; i + step <= bytes.size(); i += step) {
            const uint32_t v = pattern == 0 ? rng() % (max + 1) : pattern == 1 ? rng() : pattern == 2 ? max
                               : rng() % 7 == 0 ? max : 0;
            bytes[i] = static_cast<uint8_t>(v);
            if (step == 2) bytes[i + 1] = static_cast<uint8_t>(v >> 8);
          }
          ASSERT_EQ(job.Run(bits), STATUS_OK);
          ASSERT_EQ(job.dst.bytes(), ReferenceDemosaic(m, job.src, w, h, bits, job.dst))
              << m.name << " " << w << "x" << h << " pattern " << pattern << " bits " << bits << " +" << extra;
        }
}

INSTANTIATE_TEST_SUITE_P(Demosaic, EveryMember, ::testing::Range<size_t>(0, DemosaicMembers().size()),
                         [](const auto& info) { return DemosaicMembers()[info.param].name; });

// Values the documentation works out: phase A, 4x4 mosaics of `fill` but for
// the (y, x, value) samples listed; BGR24 pixels read {B, G, R}.
TEST(Demosaic, WorkedValues) {
  ResetFakeBuffers();
  using Samples = std::vector<std::tuple<uint32_t, uint32_t, uint32_t>>;
  const Samples cross = {{0, 1, 10}, {1, 0, 200}, {2, 1, 30}, {1, 2, 40}};  // N, W, S, E of the blue site (1, 1)
  const struct {
    Method method;
    uint32_t bits, y, x, fill;  // bits 8: the BAY8 member
    Samples samples;
    std::vector<uint8_t> pixel;  // two bytes: the RGB16 member, else BGR24
  } cases[] = {
      {Method::med, 8, 1, 1, 12, cross, {12, 35, 12}},  // the median drops the 200
      {Method::ave, 8, 1, 1, 12, cross, {12, 70, 12}},
      // n-bit: the median of raw samples, then reduced: ((0x400 + 0x800) >> 1) >> 4.
      {Method::med, 12, 2, 2, 0, {{1, 2, 0x400}, {2, 1, 0x400}, {3, 2, 0x800}, {2, 3, 0xFFF}}, {0, 96, 0}},
      // Samples wider than the depth wrap (not clamped); the low field of
      // RGB16 runs into green (R = G = 0, blue sample 0xFFFF).
      {Method::dup, 12, 0, 0, 0x2000, {}, {0, 0, 0}},
      {Method::dup, 12, 0, 0, 0, {{1, 1, 0xFFFF}}, {0xFF, 0x01}},
  };
  for (const auto& c : cases) {
    const Packing packing = c.pixel.size() == 2 ? Packing::RGB16 : Packing::BGR24;
    const DemosaicMember& m = *FindDemosaicMember(c.bits == 8 ? Depth::BAY8 : Depth::BAYn, packing, c.method, Phase::A);
    Job job(m, 4, 4);
    for (uint32_t i = 0; i < 16; ++i) job.PutSample(i / 4, i % 4, c.fill);
    for (auto [y, x, v] : c.samples) job.PutSample(y, x, v);
    ASSERT_EQ(job.Run(c.bits), STATUS_OK);
    EXPECT_EQ(job.At(c.y, c.x), c.pixel) << m.name << " (" << c.y << ", " << c.x << ")";
  }
}

// Each deviation in isolation: the member as exported against the same member
// built without its deviation.  On input designed to show it, the pixels that
// differ are exactly the documented ones.  (That they never differ elsewhere,
// on any input, follows from the reference model, which has no flags.)
TEST(Deviations, EachShowsExactlyAtItsDocumentedPixels) {
  ResetFakeBuffers();
  // The deviating members, each with the member built without its deviation.
  using Entry = Status (*)(BufferHandle, BufferHandle, uint32_t);
  std::vector<std::tuple<const DemosaicMember*, bayer::Deviations, Entry>> all;
#define QVI_MEMBER(d, p, m, f, x)                                                            \
  if constexpr (bayer::x != bayer::kNone)                                                    \
    all.emplace_back(FindDemosaicMember(Depth::d, Packing::p, Method::m, Phase::f), bayer::x, \
                     [](BufferHandle s, BufferHandle d, uint32_t bits) {                    \
                       return bayer::Demosaic<bayer::Member<Depth::d, Packing::p, Method::m, Phase::f, bayer::kNone>>( \
                           s, d, bits);                                                                  \
                     });
#include "bayer/members.def"
#undef QVI_MEMBER
  // dup: eight phase-B and two RGB16 phase-D members; ave: one; med: two and two.
  ASSERT_EQ(all.size(), 8u + 2u + 1u + 2u + 2u);
  for (const auto& [member, deviation, without] : all) {
    // The unreduced means show on a uniform 10-bit image of 0x200 (reduced:
    // 128; unreduced: low byte 0).  The others on a steep horizontal ramp,
    // padding included, where a sample one column further right, or a right
    // neighbour instead of the pixel above, differs by at least 8.
    const bool unreduced = deviation & (bayer::kUnreducedRedAtClosingColumn | bayer::kUnreducedBlueAtColumn0);
    const uint32_t bits = unreduced ? 10 : 16;
    for (uint32_t w = 2; w <= 9; ++w) {
      for (uint32_t h = 2; h <= 6; ++h) {
        Job a(*member, w, h, 4), b(*member, w, h, 4);  // both read a's source
        for (uint32_t i = 0; i < h * (w + 2); ++i) {
          const uint32_t v = unreduced ? 0x200 : (20 * (i % (w + 2)) + 10) << 8;
          a.PutSample(i / (w + 2), i % (w + 2), member->deep() ? v : v >> 8);
        }
        ASSERT_EQ(a.Run(bits), STATUS_OK);
        ASSERT_EQ(without(a.src.handle(), b.dst.handle(), bits), STATUS_OK);
        // Where each deviation shows, in the words of the header.
        for (uint32_t y = 0; y < h; ++y) {
          const bool interior = y > 0 && y + 1 < h;
          const bool blue_row = "RGGBGRBGGBRGBGGR"[4 * int(member->phase) + 2 * (y % 2)] == 'B';
          for (uint32_t x = 0; x < w; ++x) {
            const bool documented =
                (deviation == bayer::kGreenFromRightAtColumn0Blue && x == 0 && y > 0 && blue_row) ||
                (deviation == bayer::kUnreducedRedAtClosingColumn && interior && y % 2 && w % 2 == 0 && x == w - 1) ||
                (deviation == bayer::kUnreducedBlueAtColumn0 && interior && y % 2 == 0 && x == 0) ||
                (deviation == bayer::kBelowRowOneAhead && (w % 2 ? interior : (y == 0 && x == w - 1)));
            EXPECT_EQ(a.At(y, x) != b.At(y, x), documented)
                << member->name << " " << w << "x" << h << " (" << y << ", " << x << ")";
          }
        }
      }
    }
  }
}

// Queries in the fixed order; refusals (an invalid handle, or for n-bit input
// a depth of exactly 8) write nothing.  Outside the contract (no memory, a
// stride shorter than a row) nothing is written either and the call succeeds.
TEST(DemosaicFrame, QueriesInOrderAndWritesNothingWhenRefusingOrOutsideTheContract) {
  ResetFakeBuffers();
  for (const DemosaicMember& m : DemosaicMembers()) {
    Job job(m, 4, 3);
    const BufferHandle s = job.src.handle(), d = job.dst.handle();
    const std::vector<Query> all = {{s, BUF_PARAM_VALID},  {d, BUF_PARAM_VALID},   {s, BUF_PARAM_ADDRESS},
                                    {s, BUF_PARAM_STRIDE}, {d, BUF_PARAM_STRIDE},  {d, BUF_PARAM_ADDRESS},
                                    {s, BUF_PARAM_HEIGHT}, {s, BUF_PARAM_WIDTH}};
    auto run = [&](uint64_t src_valid, uint64_t dst_valid, uint32_t bits, Status status, size_t queries) {
      job.src.params().valid = src_valid, job.dst.params().valid = dst_valid;
      ClearQueryLog();
      EXPECT_EQ(job.Run(bits), status) << m.name;
      EXPECT_EQ(QueryLog(), std::vector<Query>(all.begin(), all.begin() + queries)) << m.name;
    };
    run(0, 1, 12, STATUS_BAD_BUFFER, 1);
    run(1, 0, 12, STATUS_BAD_BUFFER, 2);
    if (m.deep()) run(1, 1, 8, STATUS_BAD_BUFFER, 2);  // no other depth is refused
    EXPECT_TRUE(AllBytesAre(job.dst.bytes(), kCanary)) << m.name;
    run(1, 1, m.deep() ? 7 : 8, STATUS_OK, all.size());
    for (int c = 0; c < 4; ++c) {  // no source memory, no destination memory, each stride short of a row
      Job outside(m, 4, 3);
      FakeBuffer& p = c % 2 ? outside.dst.params() : outside.src.params();
      if (c < 2) p.address = 0;
      else p.stride = 4 * (c == 2 ? m.sample_bytes() : m.pixel_bytes()) - 1;  // n-bit: 7 rounds down to 6
      EXPECT_EQ(outside.Run(12), STATUS_OK) << m.name;
      EXPECT_TRUE(AllBytesAre(outside.dst.bytes(), kCanary)) << m.name << " case " << c;
    }
  }
}

// QVI_Convert's Bayer routes, with every method and phase value, valid or
// not: refused with STATUS_BAD_BAYER_MODE and untouched, or converted exactly
// as the reference model of the member of that name at the source format's
// depth.  (The size rule, checked first, is tested with the other routes.)
TEST(BayerRoutes, MethodAndPhaseChooseTheMemberAndTheDepth) {
  ResetFakeBuffers();
  // The first three methods and four phases are valid, in enum order.
  const uint32_t methods[] = {DEMOSAIC_METHOD_DUP, DEMOSAIC_METHOD_AVE, DEMOSAIC_METHOD_MED, 0x409, 0x100, 0x9, 0};
  const uint32_t phases[] = {BAYER_PHASE_A, BAYER_PHASE_B, BAYER_PHASE_C, BAYER_PHASE_D, 0x50A, 0x10B, 0xA, 0};
  std::mt19937 rng(9);
  size_t converted = 0;
  for (auto [s, d, bayer] : ConversionRoutes()) {
    if (!bayer) continue;
    const uint32_t bits = MosaicBits(s);
    // A member that writes the destination format: its packing and pixel size.
    const auto into = std::ranges::find(DemosaicMembers(), FullCode(d), &DemosaicMember::destination_format);
    for (size_t mi = 0; mi < std::size(methods); ++mi) {
      for (size_t fi = 0; fi < std::size(phases); ++fi) {
        // RGBX32 takes only dup, BGR16 only dup in phase A.
        const bool refused = mi > 2 || fi > 3 || ((d == Fmt::RGBX32 || d == Fmt::BGR16) && mi != 0) ||
                             (d == Fmt::BGR16 && fi != 0);
        TestImage src(FullCode(s), 5, 4, 5 * (bits == 8 ? 1 : 2) + 2, 0, 0);
        for (uint8_t& b : src.bytes()) b = static_cast<uint8_t>(rng());
        src.params().method = methods[mi], src.params().phase = phases[fi];
        TestImage dst(FullCode(d), 5, 4, 5 * into->pixel_bytes() + 1);
        std::vector<uint8_t> expected(dst.bytes().size(), kCanary);
        const DemosaicMember* m =
            FindDemosaicMember(bits == 8 ? Depth::BAY8 : Depth::BAYn, into->packing, Method(mi), Phase(fi));
        if (m != nullptr && !refused) expected = ReferenceDemosaic(*m, src, 5, 4, bits, dst);
        const auto what = ::testing::Message() << int(s) << "->" << int(d) << " " << methods[mi] << "/" << phases[fi];
        EXPECT_EQ(QVI_Convert(src.handle(), dst.handle()), refused ? STATUS_BAD_BAYER_MODE : STATUS_OK) << what;
        EXPECT_EQ(dst.bytes(), expected) << what;
        converted += refused ? 0 : 1;
      }
    }
  }
  // Five source formats, each into three packings x three methods x four
  // phases and into RGBX32 (dup, four phases); plus 8-bit into BGR16.
  EXPECT_EQ(converted, 5u * (3u * 3u * 4u + 4u) + 1u);
}

}  // namespace
}  // namespace qvi::test
