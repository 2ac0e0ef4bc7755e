// The frames the four methods write: worked values, then every method,
// format, line order and geometry against a model stated per frame line
// (not walked), the median's drift in numbers, and QVS_median6 against
// sorting.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <utility>

#include "support/image.h"

namespace qvi::test {
namespace {

enum class Method { Dup, Ave, Bilinear, Median };  // in FieldToFrameMethod order

uint32_t SortedMedian6(std::array<uint32_t, 6> v) {
  for (auto& x : v) x %= 256;
  std::sort(v.begin(), v.end());
  return (v[2] + v[3]) / 2;
}

// Bytes of a missing line, and how far the frame and the field go on after it.
std::array<uint32_t, 3> MissingLine(Method m, uint32_t f, uint32_t s) {
  const bool quad = f == FMT_XBGR32 || f == FMT_BGRX32 || f == FMT_XRGB32 || f == FMT_RGBX32;
  if (!quad || m < Method::Bilinear) return {s, s, s};
  if (m == Method::Bilinear) return {s >= 8 ? 8 + 4 * ((s - 8) >> 2) : s & ~3u, s, s};
  const uint32_t n = s >= 24 ? ((s - 4) >> 2) - 4 : 0, line = s >= 8 ? 4 * (n + 2) : s & ~3u;
  return {line, line, line};
}

// 0 when byte j of an n-byte missing line is a vertical mean, else the
// distance to its same-kind neighbours.
uint32_t StepOf(uint32_t format, uint32_t j, uint32_t n) {
  switch (format) {
    case FMT_Y8: return j == 0 || j + 1 >= n ? 0 : 1;
    case FMT_BGR24:
    case FMT_RGB24: return j < 3 || j + 3 >= n ? 0 : 3;
    case FMT_YUV422: return j < 2 || j == 3 || j + 3 >= n || (n % 2 == 1 && j + 4 == n) ? 0 : 2 + 2 * (j % 2);
    default: return j < 4 || j + 4 >= n ? 0 : 4;
  }
}

// The frame made from a field of h lines of stride s, over `frame_bytes` of
// canary, up to the first line that does not fit.
std::vector<uint8_t> ModelFrame(Method m, uint32_t format, uint32_t parity, const uint8_t* field, uint32_t s,
                                uint32_t h, uint64_t frame_bytes) {
  std::vector<uint8_t> out(frame_bytes, kCanary);
  const auto [bytes, frame_pitch, field_pitch] = MissingLine(m, format, s);
  uint64_t at = 0;
  for (uint32_t k = 0; k < 2 * h; ++k) {  // frame line k is field line `src` or the missing line below it
    const bool missing = parity == 0 ? k > 0 && k % 2 == 0 : k % 2 == 1 && k + 1 < 2 * h;
    const uint8_t* a = field + uint64_t{parity == 0 ? (k == 0 ? 0 : (k - 1) / 2) : k / 2} * field_pitch;
    const uint8_t* b = missing ? a + s : a;
    const uint32_t len = missing ? bytes : s;
    if (at + len > frame_bytes) break;
    for (uint32_t j = 0; j < len; ++j) {
      const uint32_t t = missing && m >= Method::Bilinear ? StepOf(format, j, len) : 0;
      uint32_t v = a[j];
      if (missing && m != Method::Dup && t == 0) v = (a[j] + b[j]) / 2;
      else if (missing && m == Method::Bilinear)
        v = ((a[j] + b[j]) * 105 + (a[j - t] + a[j + t] + b[j - t] + b[j + t]) * 75) / 512;
      else if (missing && m == Method::Median) v = SortedMedian6({a[j - t], a[j], a[j + t], b[j - t], b[j], b[j + t]});
      out[at + j] = static_cast<uint8_t>(v);
    }
    at += missing ? frame_pitch : s;
  }
  return out;
}

// Three uniform FMT_Y8 field lines of stride 8 through the dispatcher: the
// fourth byte of each frame line.
TEST(FieldFrames, WorkedFrames) {
  ResetFakeBuffers();
  struct Case {
    FieldToFrameMethod method;
    FieldParity parity;
    std::array<uint8_t, 3> fill;
    std::array<uint8_t, 6> lines;
  };
  const Case cases[] = {
      {FIELD_TO_FRAME_LINE_DUP, 0, {16, 32, 48}, {16, 16, 16, 32, 32, 48}},
      {FIELD_TO_FRAME_LINE_DUP, 1, {16, 32, 48}, {16, 16, 32, 32, 48, 48}},
      {FIELD_TO_FRAME_LINE_AVE, 0, {16, 32, 48}, {16, 16, 24, 32, 40, 48}},
      {FIELD_TO_FRAME_LINE_AVE, 0xFFFFFFFF, {1, 2, 48}, {1, 1, 2, 25, 48, 48}},
      {FIELD_TO_FRAME_BILINEAR, 1, {16, 32, 48}, {16, 23, 32, 39, 48, 48}},     // (48 x 105 + 96 x 75) >> 9
      {FIELD_TO_FRAME_BILINEAR, 1, {255, 255, 255}, {255, 254, 255, 254, 255, 255}},  // the weights sum to 510
      {FIELD_TO_FRAME_MEDIAN, 1, {16, 32, 48}, {16, 24, 32, 40, 48, 48}},
  };
  for (const Case& c : cases) {
    TestImage field(FMT_Y8, 8, 3, 8);
    for (uint32_t y = 0; y < 3; ++y) std::fill_n(field.line(y), 8, c.fill[y]);
    TestImage frame(FMT_Y8, 8, 6, 8);
    ASSERT_EQ(QVI_FieldToFrame(field.handle(), frame.handle(), c.method, c.parity), STATUS_OK);
    for (uint32_t y = 0; y < 6; ++y) EXPECT_EQ(frame.line(y)[3], c.lines[y]) << c.method << " line " << y;
  }
}

// Random fields of every taken format, strides from 0 (4-byte strides that
// are not multiples of 4 and odd 4:2:2 strides included), heights from 0 and
// both parities, into a frame of 2H + 1 lines whose stride differs from the
// field's and into a frame two lines short (it passes the size check because
// the field's width is 0; with parity 0 it ends before a missing line).
// Each frame equals the model and keeps its canary everywhere else; fields
// are exactly stride x height bytes so that the sanitizers see stray reads.
TEST(FieldFrames, EveryMethodFormatAndGeometryMatchesTheModel) {
  ResetFakeBuffers();
  Status (*const runs[])(BufferHandle, BufferHandle, FieldParity) = {
      QVI_FieldToFrame_LineDup, QVI_FieldToFrame_LineAve, QVI_FieldToFrame_Bilinear, QVI_FieldToFrame_Median};
  std::mt19937 rng(11);
  for (uint32_t m = 0; m < 4; ++m) {
    for (uint32_t format :
         {FMT_Y8, FMT_XBGR32, FMT_BGRX32, FMT_XRGB32, FMT_RGBX32, FMT_BGR24, FMT_RGB24, FMT_YUV422}) {
      for (uint32_t s : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 15u, 16u, 20u, 24u, 30u, 32u, 33u}) {
        for (uint32_t h : {0u, 1u, 2u, 3u, 5u}) {
          for (auto [parity, short_frame] : {std::pair{0u, false}, {1u, false}, {0u, true}, {1u, true}}) {
            if (short_frame && h == 0) continue;
            TestImage field(format, 0, h, s);
            for (auto& b : field.bytes()) b = static_cast<uint8_t>(rng());
            const uint32_t frame_stride = short_frame ? s : s + 3;
            const uint32_t frame_height = short_frame ? 2 * h - 2 : 2 * h + 1;
            TestImage frame(format, 0, frame_height, frame_stride, 9);
            ASSERT_EQ(runs[m](field.handle(), frame.handle(), parity), STATUS_OK);
            const uint64_t extent = uint64_t{frame_stride} * frame_height;
            auto model = ModelFrame(Method(m), format, parity, field.data(), s, h, extent);
            model.resize(frame.bytes().size(), kCanary);
            ASSERT_EQ(frame.bytes(), model) << "method " << m << std::hex << " format " << format << std::dec << " s "
                                            << s << " h " << h << " parity " << parity << " short " << short_frame;
          }
        }
      }
    }
  }
}

// On 4-byte formats the median writes 2 x H x S - (S - line) x (H - 1)
// bytes, a missing line being 20 bytes at stride 32 and 8 at stride 16.
TEST(FieldFrames, MedianOnFourByteFormatsDrifts) {
  ResetFakeBuffers();
  for (auto [s, line] : {std::pair{32u, 20u}, std::pair{16u, 8u}}) {
    TestImage field(FMT_BGRX32, s / 4, 3, s, 0, 0x10);
    TestImage frame(FMT_BGRX32, s / 4, 6, s);
    ASSERT_EQ(QVI_FieldToFrame_Median(field.handle(), frame.handle(), 0), STATUS_OK);
    const size_t written = 6 * s - (s - line) * 2;
    for (size_t i = 0; i < frame.bytes().size(); ++i) ASSERT_EQ(frame.bytes()[i] != kCanary, i < written) << i;
  }
}

TEST(FieldFrames, Median6OfWorkedValuesAndAgainstSorting) {
  EXPECT_EQ(QVS_median6(1, 2, 3, 4, 5, 6), 3u);
  EXPECT_EQ(QVS_median6(0, 0, 0, 255, 255, 255), 127u);
  EXPECT_EQ(QVS_median6(0x107, 7, 7, 7, 7, 7), 7u);
  // Every arrangement of four levels (ties in every position) with noise
  // above the low byte, then random values.
  std::mt19937 rng(3);
  const uint32_t levels[] = {0, 1, 2, 255};
  for (uint32_t i = 0; i < 4096 + 200000; ++i) {
    std::array<uint32_t, 6> v;
    for (uint32_t k = 0; k < 6; ++k)
      v[k] = i < 4096 ? levels[(i >> (2 * k)) & 3] | (rng() & ~0xFFu) : rng() >> (rng() % 25);
    ASSERT_EQ(QVS_median6(v[0], v[1], v[2], v[3], v[4], v[5]), SortedMedian6(v)) << i;
  }
}

}  // namespace
}  // namespace qvi::test
