// The fast row kernels against the portable ones: the same walkers run once
// with NoVec and once with each vector policy the processor can run, on the
// same random input, and whole destination buffers (canary-filled, with
// padding and bytes around the image) must come out identical.  Widths
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
#include "buffer/formats.h"
#include "buffer/simd.h"
#include "convert/lines.h"
#include "field/field_rows.h"
#include "file/tiff_rows.h"

namespace qvi::test {
namespace {

#if QVI_HAVE_SSE2 || QVI_HAVE_NEON

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

// A kernel's portable variant and its fast ones: SSE2, AVX2, AVX2 with masked
// stores, AVX-512, NEON (null where the kernel has no such variant).
template <class F>
struct Twins {
  F portable;
  F fast[5];
  const char* name = "";
};

constexpr const char* kKindNames[] = {"SSE2 ", "AVX2 ", "AVX2 masked ", "AVX-512 ", "NEON "};
bool CanRun(int kind) {
  if (kind == 4) return QVI_HAVE_NEON;
  return QVI_HAVE_SSE2 &&
         (kind == 0 || (kind == 3 ? CpuHasAvx512() : CpuHasAvx2() && (kind == 1 || CpuHasMaskedStores())));
}

// Runs `run(kernel, out)` with each variant the processor can run, `out`
// being g.dst_offset bytes into a buffer of its own: canary, then `bytes`
// for the image, then 7 more canary bytes.  Every fast variant's whole
// buffer must equal the portable one's.
template <class F, class Run>
::testing::AssertionResult SameAsPortable(const Twins<F>& twins, const Geometry& g, uint64_t bytes, Run run) {
  std::vector<uint8_t> portable(g.dst_offset + bytes + 7, kCanary), fast;
  run(twins.portable, portable.data() + g.dst_offset);
  for (int kind = 0; kind < 5; ++kind) {
    if (!CanRun(kind) || twins.fast[kind] == nullptr) continue;
    fast.assign(portable.size(), kCanary);
    run(twins.fast[kind], fast.data() + g.dst_offset);
    const auto at = std::mismatch(portable.begin(), portable.end(), fast.begin()).first - portable.begin();
    if (at != std::ssize(portable))
      return ::testing::AssertionFailure() << kKindNames[kind] << twins.name << "byte " << at << " of " << portable.size()
                                           << " is " << int(fast[at]) << ", not " << int(portable[at]) << "; strides +"
                                           << g.src_extra << " +" << g.dst_extra << " offsets " << g.src_offset << " "
                                           << g.dst_offset;
  }
  return ::testing::AssertionSuccess();
}

// ---- Demosaic: every member, interior pairs in blocks of 8 (16 pixels). ----

using Entry = Status (*)(BufferHandle, BufferHandle, uint32_t);

template <class M>
Twins<Entry> DemosaicVariants() {
  using bayer::Demosaic;
  Twins<Entry> t{&Demosaic<M, bayer::NoVec>, {}};
#if QVI_HAVE_SSE2
  t.fast[0] = &Demosaic<M, bayer::sse2::Vec>;
  t.fast[1] = &Demosaic<M, bayer::avx2::Vec>;
  if constexpr (bayer::kMaskedStoresPay<M>) t.fast[2] = &Demosaic<M, bayer::avx2::MaskedVec>;
#else
  t.fast[4] = &Demosaic<M, bayer::neon::Vec>;
#endif
  return t;
}

#define QVI_MEMBER(depth, packing, method, phase, deviations)                                                   \
  DemosaicVariants<bayer::Member<bayer::Depth::depth, bayer::Packing::packing, bayer::Method::method,           \
                                 bayer::Phase::phase, bayer::deviations>>(),
const Twins<Entry> kDemosaicTwins[] = {
#include "bayer/members.def"
};
#undef QVI_MEMBER

TEST(Differential, EveryDemosaicMemberMatchesThePortableLoop) {
  ASSERT_EQ(std::size(kDemosaicTwins), DemosaicMembers().size());
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
        ASSERT_TRUE(SameAsPortable(kDemosaicTwins[m], g, uint64_t{dst_stride} * h, [&](Entry entry, uint8_t* out) {
          EXPECT_EQ(entry(source, AddFakeBuffer(out, member.destination_format(), w, h, dst_stride), bits), STATUS_OK);
        })) << member.name << " " << w << "x" << h << " bits " << bits;
      }
    }
  }
}

// ---- Conversions: every pixel route, through the line walker. ----

using Walk = void (*)(const buffer::ConversionPair&);
struct Route {
  Fmt source, destination;
  Twins<Walk> twins;
};

template <Fmt S, Fmt D>
Route RouteVariants() {
  using convert::WalkRoute;
  Route r{S, D, {&WalkRoute<S, D, convert::NoVec>, {}}};
#if QVI_HAVE_SSE2
  using R = convert::Reader<S>;
  using W = convert::Writer<D>;
  r.twins.fast[0] = &WalkRoute<S, D, convert::sse2::Vec>;
  r.twins.fast[1] = &WalkRoute<S, D, convert::avx2::Vec>;
  if constexpr (convert::avx2::kMaskedStoresPay<R, W>) r.twins.fast[2] = &WalkRoute<S, D, convert::avx2::MaskedVec>;
  if constexpr (convert::avx512::kHasKernel<R, W>) r.twins.fast[3] = &WalkRoute<S, D, convert::avx512::Vec>;
#endif
#if QVI_HAVE_NEON
  r.twins.fast[4] = &WalkRoute<S, D, convert::neon::Vec>;
#endif
  return r;
}

#define QVI_PIXELS(S, D) RouteVariants<Fmt::S, Fmt::D>(),
#define QVI_COPY(S, D) QVI_PIXELS(S, D)
#define QVI_BAYER(S, D)
const Route kRoutes[] = {
#include "convert/routes.def"
};
#undef QVI_PIXELS
#undef QVI_COPY
#undef QVI_BAYER

// Bytes a source line of w pixels spans: whole pairs for the packed formats.
uint32_t SourceLineBytes(Fmt f, uint32_t w) {
  return f == Fmt::Y12P ? 3 * ((w + 1) / 2) : f == Fmt::YUV422 ? 4 * ((w + 1) / 2) : w * BytesPerPixel(f);
}

TEST(Differential, EveryConversionRouteMatchesThePortableLoop) {
  std::mt19937 rng(11);
  uint32_t i = 0;
  for (const Route& route : kRoutes) {
    for (uint32_t w : {1, 2, 15, 16, 17, 31, 32, 33, 47, 50, 63, 64, 65, 96, 97, 129, 130}) {
      for (uint32_t h : {1, 3}) {
        const Geometry g(i++);
        buffer::ConversionPair p;
        p.src_stride = SourceLineBytes(route.source, w) + g.src_extra;
        p.dst_stride = w * BytesPerPixel(route.destination) + g.dst_extra;
        p.src_width = p.dst_width = w;
        p.src_height = p.dst_height = h;
        auto src = g.Source(uint64_t{p.src_stride} * h, 0, rng);
        p.src = src.data() + g.src_offset;
        ASSERT_TRUE(SameAsPortable(route.twins, g, uint64_t{p.dst_stride} * h, [&](Walk walk, uint8_t* out) { p.dst = out, walk(p); }))
            << "route " << int(route.source) << " -> " << int(route.destination) << " " << w << "x" << h;
      }
    }
  }
}

// ---- De-interlacing: the missing-line kernels of every shape; and the
// TIFF strip's row, which has the same shape of call. ----

using RowKernel = void (*)(const uint8_t*, const uint8_t*, uint8_t*, uint32_t);

// The TIFF strip's BGR24 pixels in file order, from one source line.
template <class V>
void TiffTriplets(const uint8_t* line, const uint8_t*, uint8_t* out, uint32_t n) {
  file::tiff::ReversedTripletRow<V>::Convert(out, line, n / 3);
}

// The vector policies of a subsystem's rows.
template <class NoV, class Sse2, class Avx2, class Neon>
struct Policies {
  using No = NoV;
  using Sse2Vec = Sse2;
  using Avx2Vec = Avx2;
  using NeonVec = Neon;
};
#if QVI_HAVE_SSE2
using FieldPolicies = Policies<field::NoVec, field::sse2::Vec, field::avx2::Vec, void>;
using TiffPolicies = Policies<file::tiff::NoVec, file::tiff::sse2::Vec, file::tiff::avx2::Vec, void>;
#else
using FieldPolicies = Policies<field::NoVec, void, void, field::neon::Vec>;
using TiffPolicies = Policies<file::tiff::NoVec, void, void, file::tiff::neon::Vec>;
#endif

// The kernel `of.operator()<V>()` for the portable policy and each fast one built here.
template <class P, class Of>
Twins<RowKernel> RowVariants(Of of, const char* name) {
  Twins<RowKernel> t{of.template operator()<typename P::No>(), {}, name};
#if QVI_HAVE_SSE2
  t.fast[0] = of.template operator()<typename P::Sse2Vec>();
  t.fast[1] = of.template operator()<typename P::Avx2Vec>();
#else
  t.fast[4] = of.template operator()<typename P::NeonVec>();
#endif
  return t;
}

template <field::Shape S, class Op>
Twins<RowKernel> Interpolated(const char* name) {
  return RowVariants<FieldPolicies>([]<class V>() -> RowKernel { return &field::InterpolatedRow<S, Op, V>; }, name);
}

TEST(Differential, EveryDeinterlacingRowMatchesThePortableLoop) {
  using field::Bilinear;
  using field::Median;
  using field::Shape;
  const Twins<RowKernel> rows[] = {
      RowVariants<FieldPolicies>([]<class V>() -> RowKernel { return &field::MeanRow<V>; }, "mean "),
      Interpolated<Shape::Grey8, Bilinear>("bilinear grey "), Interpolated<Shape::Triple, Bilinear>("bilinear triple "),
      Interpolated<Shape::Quad, Bilinear>("bilinear quad "), Interpolated<Shape::Yuv422, Bilinear>("bilinear 4:2:2 "),
      Interpolated<Shape::Grey8, Median>("median grey "), Interpolated<Shape::Triple, Median>("median triple "),
      Interpolated<Shape::Quad, Median>("median quad "), Interpolated<Shape::Yuv422, Median>("median 4:2:2 "),
      RowVariants<TiffPolicies>([]<class V>() -> RowKernel { return &TiffTriplets<V>; }, "TIFF "),
  };
  std::mt19937 rng(13);
  uint32_t i = 0;
  for (const Twins<RowKernel>& row : rows) {
    for (uint32_t n = 0; n <= 200; ++n) {
      const Geometry g(i++);
      // The two field lines back to back, the allocation ending with the second.
      const auto lines = g.Source(2 * n, 0, rng);
      const uint8_t* above = lines.data() + g.src_offset;
      ASSERT_TRUE(SameAsPortable(row, g, n, [&](RowKernel kernel, uint8_t* out) { kernel(above, above + n, out, n); }))
          << "over " << n << " bytes";
    }
  }
}

#else

TEST(Differential, NeedsVectorKernels) { GTEST_SKIP() << "no vector kernels on this processor"; }

#endif

}  // namespace
}  // namespace qvi::test
