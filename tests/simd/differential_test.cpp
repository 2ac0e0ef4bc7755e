// The fast row kernels against the portable ones: the same walkers run once
// with NoVec and once with each vector policy the processor can run, on the
// same random input, and
// whole destination buffers (canary-filled, with padding and bytes around the
// image) must come out identical.  Widths straddle one and two vector blocks,
// strides are tight, odd and padded, addresses unaligned; values include the
// extremes and deep samples wider than their depth.  Sources end exactly
// where the portable path's documented over-read ends, so under
// AddressSanitizer a vector kernel that reads further fails.
#include <gtest/gtest.h>

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

#if QVI_HAVE_SSE2

enum class Values { kRandom, kAllMax, kInDepth };

// Bytes of a pattern; `word_bits` (9 to 15) bounds the kInDepth samples of
// 16-bit words.
void Fill(uint8_t* p, size_t n, Values values, uint32_t word_bits, std::mt19937& rng) {
  for (size_t i = 0; i < n; ++i) {
    switch (values) {
      case Values::kRandom: p[i] = static_cast<uint8_t>(rng()); break;
      case Values::kAllMax: p[i] = 0xFF; break;
      case Values::kInDepth:
        p[i] = static_cast<uint8_t>(rng());
        if (word_bits > 8 && word_bits < 16 && i % 2 == 1) p[i] &= static_cast<uint8_t>((1u << (word_bits - 8)) - 1);
        break;
    }
  }
}

// A buffer `offset` bytes into its allocation, which ends `slack` bytes after
// stride x height; everything around the image is canary.
struct Placed {
  Placed(uint32_t format, uint32_t w, uint32_t h, uint32_t stride, uint32_t offset, uint32_t slack)
      : bytes(offset + uint64_t{stride} * h + slack, kCanary),
        handle(AddFakeBuffer(bytes.data() + offset, format, w, h, stride)) {}
  std::vector<uint8_t> bytes;
  BufferHandle handle;
};

// Geometry number `i` of a sweep: stride extras, offsets and value patterns
// rotate with different periods so that they meet every width.
struct Geometry {
  explicit Geometry(uint32_t i)
      : src_extra(kExtras[i % 5]), dst_extra(kExtras[(i / 5 + i) % 5]), src_offset(i % 4), dst_offset(kDstOffsets[i % 3]),
        values(static_cast<Values>(i % 3)) {}
  static constexpr uint32_t kExtras[] = {0, 1, 2, 3, 64};
  static constexpr uint32_t kDstOffsets[] = {0, 1, 3};
  uint32_t src_extra, dst_extra, src_offset, dst_offset;
  Values values;
};

// ---- Demosaic: every member, interior pairs in blocks of 8 (16 pixels). ----

using Entry = Status (*)(BufferHandle, BufferHandle, uint32_t);
struct Twins {
  Entry portable;
  Entry fast[3];  // SSE2, AVX2, AVX2 with masked stores (null: not a variant of this member)
};

template <class M>
constexpr Entry Masked() {
  if constexpr (bayer::kMaskedStoresPay<M>) return &bayer::Demosaic<M, bayer::avx2::MaskedVec>;
  return nullptr;
}

#define QVI_M(depth, packing, method, phase, deviations)                                                 \
  bayer::Member<bayer::Depth::depth, bayer::Packing::packing, bayer::Method::method, bayer::Phase::phase, \
                bayer::deviations>
#define QVI_MEMBER(depth, packing, method, phase, deviations)                                          \
  {&bayer::Demosaic<QVI_M(depth, packing, method, phase, deviations), bayer::NoVec>,                  \
   {&bayer::Demosaic<QVI_M(depth, packing, method, phase, deviations), bayer::sse2::Vec>,             \
    &bayer::Demosaic<QVI_M(depth, packing, method, phase, deviations), bayer::avx2::Vec>,              \
    Masked<QVI_M(depth, packing, method, phase, deviations)>()}},
const Twins kDemosaicTwins[] = {
#include "bayer/members.def"
};
#undef QVI_MEMBER
#undef QVI_M

// The vector kernels: SSE2 always, the others where the processor has them.
constexpr const char* kKindNames[] = {"SSE2 ", "AVX2 ", "AVX2 masked ", "AVX-512 "};
bool CanRun(int kind) {
  if (kind == 3) return CpuHasAvx512();
  return kind == 0 || (kind == 1 ? CpuHasAvx2() : CpuHasAvx2() && CpuHasMaskedStores());
}

TEST(Differential, EveryDemosaicMemberMatchesThePortableLoop) {
  ASSERT_EQ(std::size(kDemosaicTwins), DemosaicMembers().size());
  const uint32_t widths[] = {2, 3, 16, 17, 18, 19, 32, 33, 34, 35, 49, 51, 66, 67, 97, 98, 99};
  const uint32_t heights[] = {2, 3, 5};
  const uint32_t depths[] = {12, 10, 14, 16, 9, 13, 7, 6, 40, 11, 15};
  std::mt19937 rng(7);
  for (size_t m = 0; m < DemosaicMembers().size(); ++m) {
    const DemosaicMember& member = DemosaicMembers()[m];
    const uint32_t sample = member.sample_bytes(), pixel = member.pixel_bytes();
    uint32_t i = static_cast<uint32_t>(m);
    for (uint32_t w : widths) {
      for (uint32_t h : heights) {
        ResetFakeBuffers();
        const Geometry g(i++);
        const uint32_t bits = member.deep() ? depths[i % std::size(depths)] : 8;
        const uint32_t src_stride = w * sample + g.src_extra, dst_stride = w * pixel + g.dst_extra;
        Placed src(member.source_format(), w, h, src_stride, g.src_offset, member.over_read_samples(w, h) * sample);
        Fill(src.bytes.data(), src.bytes.size(), g.values, member.deep() ? bits : 0, rng);
        Placed portable(member.destination_format(), w, h, dst_stride, g.dst_offset, 7);
        ASSERT_EQ(kDemosaicTwins[m].portable(src.handle, portable.handle, bits), STATUS_OK);
        for (int kind = 0; kind < 3; ++kind) {
          if (!CanRun(kind) || kDemosaicTwins[m].fast[kind] == nullptr) continue;
          Placed fast(member.destination_format(), w, h, dst_stride, g.dst_offset, 7);
          ASSERT_EQ(kDemosaicTwins[m].fast[kind](src.handle, fast.handle, bits), STATUS_OK);
          ASSERT_EQ(portable.bytes, fast.bytes)
              << kKindNames[kind] << member.name << " " << w << "x" << h << " bits " << bits
              << " strides +" << g.src_extra << " +" << g.dst_extra << " offsets " << g.src_offset << " "
              << g.dst_offset;
        }
      }
    }
  }
}

// ---- Conversions: every pixel route, through the line walker. ----

using Walk = void (*)(const buffer::ConversionPair&);
struct RouteTwins {
  Fmt source, destination;
  Walk portable;
  Walk fast[4];  // as Twins::fast, then AVX-512
};

template <Fmt S, Fmt D>
constexpr Walk MaskedRoute() {
  if constexpr (convert::avx2::kMaskedStoresPay<convert::Reader<S>, convert::Writer<D>>) {
    return &convert::WalkRoute<S, D, convert::avx2::MaskedVec>;
  }
  return nullptr;
}
template <Fmt S, Fmt D>
constexpr Walk Avx512Route() {
  if constexpr (convert::avx512::kHasKernel<convert::Reader<S>, convert::Writer<D>>) {
    return &convert::WalkRoute<S, D, convert::avx512::Vec>;
  }
  return nullptr;
}

#define QVI_PIXELS(S, D)                                                                                \
  {Fmt::S, Fmt::D, &convert::WalkRoute<Fmt::S, Fmt::D, convert::NoVec>,                                \
   {&convert::WalkRoute<Fmt::S, Fmt::D, convert::sse2::Vec>, &convert::WalkRoute<Fmt::S, Fmt::D, convert::avx2::Vec>, \
    MaskedRoute<Fmt::S, Fmt::D>(), Avx512Route<Fmt::S, Fmt::D>()}},
#define QVI_COPY(S, D) QVI_PIXELS(S, D)
#define QVI_BAYER(S, D)
const RouteTwins kRouteTwins[] = {
#include "convert/routes.def"
};
#undef QVI_PIXELS
#undef QVI_COPY
#undef QVI_BAYER

// Bytes a source line of w pixels spans: whole pairs for the packed formats.
uint32_t SourceLineBytes(Fmt f, uint32_t w) {
  if (f == Fmt::Y12P) return 3 * ((w + 1) / 2);
  if (f == Fmt::YUV422) return 4 * ((w + 1) / 2);
  return w * BytesPerPixel(f);
}

TEST(Differential, EveryConversionRouteMatchesThePortableLoop) {
  const uint32_t widths[] = {1, 2, 15, 16, 17, 31, 32, 33, 47, 50, 63, 64, 65, 96, 97, 129, 130};
  const uint32_t heights[] = {1, 3};
  std::mt19937 rng(11);
  uint32_t i = 0;
  for (const RouteTwins& route : kRouteTwins) {
    for (uint32_t w : widths) {
      for (uint32_t h : heights) {
        const Geometry g(i++);
        const uint32_t src_stride = SourceLineBytes(route.source, w) + g.src_extra;
        const uint32_t dst_stride = w * BytesPerPixel(route.destination) + g.dst_extra;
        std::vector<uint8_t> src(g.src_offset + uint64_t{src_stride} * h);
        Fill(src.data(), src.size(), g.values == Values::kAllMax ? Values::kAllMax : Values::kRandom, 0, rng);
        std::vector<uint8_t> portable(g.dst_offset + uint64_t{dst_stride} * h + 7, kCanary);
        buffer::ConversionPair p;
        p.src = src.data() + g.src_offset;
        p.src_stride = src_stride;
        p.dst_stride = dst_stride;
        p.src_width = p.dst_width = w;
        p.src_height = p.dst_height = h;
        p.dst = portable.data() + g.dst_offset;
        route.portable(p);
        for (int kind = 0; kind < 4; ++kind) {
          if (!CanRun(kind) || route.fast[kind] == nullptr) continue;
          std::vector<uint8_t> fast(portable.size(), kCanary);
          p.dst = fast.data() + g.dst_offset;
          route.fast[kind](p);
          ASSERT_EQ(portable, fast) << kKindNames[kind] << "route " << int(route.source) << " -> "
                                    << int(route.destination) << " " << w << "x" << h << " strides +" << g.src_extra
                                    << " +" << g.dst_extra << " offsets " << g.src_offset << " " << g.dst_offset;
        }
      }
    }
  }
}

// ---- De-interlacing: the missing-line kernels of every shape; and the
// TIFF strip's row, which has the same shape of call. ----

using RowKernel = void (*)(const uint8_t*, const uint8_t*, uint8_t*, uint32_t);
struct RowTwins {
  const char* name;
  RowKernel portable;
  RowKernel fast[2];  // SSE2, AVX2
};

// The TIFF strip's BGR24 pixels in file order, from one source line.
template <class V>
void TiffTriplets(const uint8_t* line, const uint8_t*, uint8_t* out, uint32_t n) {
  file::tiff::ReversedTripletRow<V>::Convert(out, line, n / 3);
}

template <field::Shape S, class Op>
constexpr RowTwins Interpolated(const char* name) {
  return {name,
          &field::InterpolatedRow<S, Op, field::NoVec>,
          {&field::InterpolatedRow<S, Op, field::sse2::Vec>, &field::InterpolatedRow<S, Op, field::avx2::Vec>}};
}

TEST(Differential, EveryDeinterlacingRowMatchesThePortableLoop) {
  using field::Bilinear;
  using field::Median;
  using field::Shape;
  const RowTwins rows[] = {
      {"mean", &field::MeanRow<field::NoVec>, {&field::MeanRow<field::sse2::Vec>, &field::MeanRow<field::avx2::Vec>}},
      Interpolated<Shape::Grey8, Bilinear>("bilinear grey"),
      Interpolated<Shape::Triple, Bilinear>("bilinear triple"),
      Interpolated<Shape::Quad, Bilinear>("bilinear quad"),
      Interpolated<Shape::Yuv422, Bilinear>("bilinear 4:2:2"),
      Interpolated<Shape::Grey8, Median>("median grey"),
      Interpolated<Shape::Triple, Median>("median triple"),
      Interpolated<Shape::Quad, Median>("median quad"),
      Interpolated<Shape::Yuv422, Median>("median 4:2:2"),
      // The TIFF strip's BGR24 pixels in file order (one source line).
      {"TIFF triplets",
       &TiffTriplets<file::tiff::NoVec>,
       {&TiffTriplets<file::tiff::sse2::Vec>, &TiffTriplets<file::tiff::avx2::Vec>}},
  };
  std::mt19937 rng(13);
  uint32_t i = 0;
  for (const RowTwins& row : rows) {
    for (uint32_t n = 0; n <= 200; ++n) {
      const Geometry g(i++);
      // The two field lines back to back, the allocation ending with the second.
      std::vector<uint8_t> lines(g.src_offset + 2 * n);
      Fill(lines.data(), lines.size(), g.values == Values::kAllMax ? Values::kAllMax : Values::kRandom, 0, rng);
      const uint8_t* above = lines.data() + g.src_offset;
      std::vector<uint8_t> portable(g.dst_offset + n + 7, kCanary);
      row.portable(above, above + n, portable.data() + g.dst_offset, n);
      for (int kind = 0; kind < 2; ++kind) {
        if (!CanRun(kind)) continue;
        std::vector<uint8_t> fast(portable.size(), kCanary);
        row.fast[kind](above, above + n, fast.data() + g.dst_offset, n);
        ASSERT_EQ(portable, fast) << kKindNames[kind] << row.name << " over " << n
                                  << " bytes, offsets " << g.src_offset << " " << g.dst_offset;
      }
    }
  }
}

#else

TEST(Differential, NeedsSse2) { GTEST_SKIP() << "no vector kernels on this processor"; }

#endif

}  // namespace
}  // namespace qvi::test
