// The fast row kernels against the portable ones: the same walkers run once
// with the portable code and once with each instruction set of the build's
// list (buffer/isas.h) that the processor runs and that has kernels of its
// own for the job, on the same random input, and whole destination buffers
// (canary-filled, with padding and bytes around the image) must come out
// identical.  Widths
// straddle one and two vector blocks, strides are tight, odd and padded,
// addresses unaligned; values include the extremes and deep samples wider
// than their depth.  Sources end exactly where the portable path's documented
// over-read ends, so under AddressSanitizer a vector kernel that reads
// further fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "bayer/demosaic.h"
#include "bayer_support.h"
#include "buffer/dispatch.h"
#include "buffer/formats.h"
#include "convert/lines.h"
#include "field/field_rows.h"
#include "field/row_kernels.h"
#include "file/tiff_rows.h"
#include "support/convert_reach.h"

namespace qvi::test {
namespace {


// Geometry number `i` of a sweep: stride extras, offsets and value patterns
// rotate with different periods so that they meet every width.
struct Geometry {
  explicit Geometry(uint32_t i)
      : src_extra(kExtras[i % 5]), dst_extra(kExtras[(i / 5 + i) % 5]), src_offset(i % 4), dst_offset(kDstOffsets[i % 3]),
        values(i % 3) {}
  static constexpr uint32_t kExtras[] = {0, 1, 2, 3, 64};
  static constexpr uint32_t kDstOffsets[] = {0, 1, 3};
  uint32_t src_extra, dst_extra, src_offset, dst_offset, values;

  // A source of `bytes` after src_offset more: random, all 0xFF, or random
  // 16-bit words within `word_bits` (where 9 to 15; else random).
  std::vector<uint8_t> Source(uint64_t bytes, uint32_t word_bits, std::mt19937& rng) const {
    std::vector<uint8_t> src(src_offset + bytes);
    for (size_t i = 0; i < src.size(); ++i) {
      src[i] = values == 1 ? 0xFF : static_cast<uint8_t>(rng());
      if (values == 2 && word_bits > 8 && word_bits < 16 && i % 2 == 1)
        src[i] &= static_cast<uint8_t>((1u << (word_bits - 8)) - 1);
    }
    return src;
  }
};

// Runs `run(isa, out)` with the portable code and with each set of the
// build's list that the processor runs and `own` holds, `out` being
// g.dst_offset bytes into a buffer of its own: canary, then `bytes` for the
// image, then 7 more canary bytes.  Every set's whole buffer must equal the
// portable one's.
template <class Run>
::testing::AssertionResult SameAsPortable(const Geometry& g, uint64_t bytes, IsaSet own, Run run) {
  std::vector<uint8_t> portable(g.dst_offset + bytes + 7, kCanary), fast;
  run(Isa::portable, portable.data() + g.dst_offset);
  for (Isa isa : kIsas) {
    if (!own.Has(isa) || !Runs(isa)) continue;
    fast.assign(portable.size(), kCanary);
    run(isa, fast.data() + g.dst_offset);
    const auto at = std::mismatch(portable.begin(), portable.end(), fast.begin()).first - portable.begin();
    if (at != std::ssize(portable))
      return ::testing::AssertionFailure() << NameOf(isa) << ": byte " << at << " of " << portable.size() << " is "
                                           << int(fast[at]) << ", not " << int(portable[at]) << "; strides +"
                                           << g.src_extra << " +" << g.dst_extra << " offsets " << g.src_offset << " "
                                           << g.dst_offset;
  }
  return ::testing::AssertionSuccess();
}

// ---- Demosaic: every member, interior pairs in blocks of 8 (16 pixels). ----

using Entry = Status (*)(BufferHandle, BufferHandle, uint32_t, Isa);

#define QVI_MEMBER(depth, packing, method, phase, deviations)                                                   \
  &bayer::Demosaic<bayer::Member<bayer::Depth::depth, bayer::Packing::packing, bayer::Method::method,           \
                                 bayer::Phase::phase, bayer::deviations>>,
const Entry kDemosaicEntries[] = {
#include "bayer/members.def"
};
#undef QVI_MEMBER

TEST(Differential, EveryDemosaicMemberMatchesThePortableLoop) {
  ASSERT_EQ(std::size(kDemosaicEntries), DemosaicMembers().size());
  const uint32_t depths[] = {12, 10, 14, 16, 9, 13, 7, 6, 40, 11, 15};
  std::mt19937 rng(7);
  for (size_t m = 0; m < DemosaicMembers().size(); ++m) {
    const DemosaicMember& member = DemosaicMembers()[m];
    const uint32_t sample = member.sample_bytes(), pixel = member.pixel_bytes();
    uint32_t i = static_cast<uint32_t>(m);
    for (uint32_t w : {2, 3, 16, 17, 18, 19, 32, 33, 34, 35, 49, 51, 66, 67, 97, 98, 99}) {
      for (uint32_t h : {2, 3, 5}) {
        ResetFakeBuffers();
        const Geometry g(i++);
        const uint32_t bits = member.deep() ? depths[i % std::size(depths)] : 8;
        const uint32_t src_stride = w * sample + g.src_extra, dst_stride = w * pixel + g.dst_extra;
        const auto src = g.Source(uint64_t{src_stride} * h + member.over_read_samples(w, h) * sample, bits, rng);
        const BufferHandle source = AddFakeBuffer(src.data() + g.src_offset, member.source_format(), w, h, src_stride);
        const IsaSet own = bayer::KernelSetsOf(member.packing);
        ASSERT_TRUE(SameAsPortable(g, uint64_t{dst_stride} * h, own, [&](Isa isa, uint8_t* out) {
          const BufferHandle destination = AddFakeBuffer(out, member.destination_format(), w, h, dst_stride);
          EXPECT_EQ(kDemosaicEntries[m](source, destination, bits, isa), STATUS_OK);
        })) << member.name << " " << w << "x" << h << " bits " << bits;
      }
    }
  }
}

// ---- Conversions: every pixel route, through the line walker. ----

using Walk = void (*)(const View& source, const View& destination, Isa);
struct Route {
  Fmt source, destination;
  Walk walk;
  IsaSet own;
};

#define QVI_PIXELS(S, D, ...) \
  Route{Fmt::S, Fmt::D, &convert::WalkRoute<Fmt::S, Fmt::D>, convert::kRouteKernels[convert::RouteIndex(Fmt::S, Fmt::D)].sets},
#define QVI_COPY(S, D, ...) QVI_PIXELS(S, D)
#define QVI_BAYER(S, D)
const Route kRoutes[] = {
#include "convert/routes.def"
};
#undef QVI_PIXELS
#undef QVI_COPY
#undef QVI_BAYER

TEST(Differential, EveryConversionRouteMatchesThePortableLoop) {
  std::mt19937 rng(11);
  uint32_t i = 0;
  for (const Route& route : kRoutes) {
    for (uint32_t w : {1, 2, 15, 16, 17, 31, 32, 33, 47, 50, 63, 64, 65, 96, 97, 129, 130}) {
      for (uint32_t h : {1, 3}) {
        const Geometry g(i++);
        const uint32_t src_stride = LineReadBytes(route.source, w) + g.src_extra;
        const uint32_t dst_stride = w * BytesPerPixel(route.destination) + g.dst_extra;
        auto src = g.Source(uint64_t{src_stride} * h, 0, rng);
        const View source{src.data() + g.src_offset, src_stride, w, h, 0};
        ASSERT_TRUE(SameAsPortable(g, uint64_t{dst_stride} * h, route.own, [&](Isa isa, uint8_t* out) {
          route.walk(source, View{out, dst_stride, w, h, 0}, isa);
        }))
            << "route " << int(route.source) << " -> " << int(route.destination) << " " << w << "x" << h;
      }
    }
  }
}

// ---- De-interlacing: the missing-line kernels of every shape; and the
// TIFF strip's row, which has the same shape of call. ----

// A missing line from the two lines around it, with the kernels of a set.
using Row = void (*)(const uint8_t* above, const uint8_t* below, uint8_t* out, uint32_t n, Isa isa);

template <field::Shape S, class Op>
void Interpolated(const uint8_t* above, const uint8_t* below, uint8_t* out, uint32_t n, Isa isa) {
  field::InterpolatedRow<S, Op>(above, below, out, n, field::FieldKernelsOf(isa));
}

// The TIFF strip's BGR24 pixels in file order, from one source line.
void TiffTriplets(const uint8_t* line, const uint8_t*, uint8_t* out, uint32_t n, Isa isa) {
  using Triplets = file::tiff::ReversedTripletRow;
  Triplets::Convert(out, line, n / 3, convert::LineKernelOf(Triplets::kFastRoute, isa));
}

TEST(Differential, EveryDeinterlacingRowMatchesThePortableLoop) {
  using field::Bilinear, field::Median, field::Shape;
  const IsaSet sets = field::kFieldKernelSets;
  const std::tuple<const char*, Row, IsaSet> rows[] = {
      {"mean",
       [](const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n, Isa isa) {
         field::LineMeanRow(a, b, out, n, field::FieldKernelsOf(isa));
       },
       sets},
      {"bilinear grey", &Interpolated<Shape::Grey8, Bilinear>, sets},
      {"bilinear triple", &Interpolated<Shape::Triple, Bilinear>, sets},
      {"bilinear quad", &Interpolated<Shape::Quad, Bilinear>, sets},
      {"bilinear 4:2:2", &Interpolated<Shape::Yuv422, Bilinear>, sets},
      {"median grey", &Interpolated<Shape::Grey8, Median>, sets},
      {"median triple", &Interpolated<Shape::Triple, Median>, sets},
      {"median quad", &Interpolated<Shape::Quad, Median>, sets},
      {"median 4:2:2", &Interpolated<Shape::Yuv422, Median>, sets},
      {"TIFF", &TiffTriplets, convert::kRouteKernels[file::tiff::ReversedTripletRow::kFastRoute].sets},
  };
  std::mt19937 rng(13);
  uint32_t i = 0;
  for (const auto& [name, row, own] : rows) {
    const Row kernel = row;  // for the lambda below: Clang 14 cannot capture a structured binding
    for (uint32_t n = 0; n <= 200; ++n) {
      const Geometry g(i++);
      // The two field lines back to back, the allocation ending with the second.
      const auto lines = g.Source(2 * n, 0, rng);
      const uint8_t* above = lines.data() + g.src_offset;
      ASSERT_TRUE(SameAsPortable(g, n, own, [&](Isa isa, uint8_t* out) { kernel(above, above + n, out, n, isa); }))
          << name << " over " << n << " bytes";
    }
  }
}

}  // namespace
}  // namespace qvi::test
