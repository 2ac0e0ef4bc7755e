// De-interlacing: the order of the queries and where each failed check stops;
// every method, format, line order and geometry against a model stated per
// frame line (not walked); and QVS_median6 against sorting.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "support/image.h"

namespace qvi::test {
namespace {

const FieldToFrameMethod kNotAMethod = 4;

// Each case spoils answers about a field of 4 pixels x 2 lines at stride 8
// and a frame of stride 8 x 2 lines (the size check weighs 2 x 4 x 2 = 16
// against 16).  Every method is run directly and through the dispatcher,
// which tests both validities itself first.
TEST(FieldChecks, AskInOrderAndStopAtTheFailedCheckWithNothingWritten) {
  ResetFakeBuffers();
  Status (*const methods[])(BufferHandle, BufferHandle, FieldParity) = {
      QVI_FieldToFrame_LineDup, QVI_FieldToFrame_LineAve, QVI_FieldToFrame_Bilinear, QVI_FieldToFrame_Median};
  const Status kOk = STATUS_OK, kBuffer = STATUS_BAD_BUFFER, kParameter = STATUS_BAD_PARAMETER;
  const struct {
    const char* what;
    void (*spoil)(FakeBuffer& f, FakeBuffer& d);
    Status line_methods, interpolating;
    size_t queries;  // made by a method called directly; 0: all of them
  } cases[] = {
      {"all good", [](FakeBuffer&, FakeBuffer&) {}, kOk, kOk, 0},
      {"field invalid", [](FakeBuffer& f, FakeBuffer&) { f.valid = 0; }, kBuffer, kBuffer, 1},
      {"frame invalid", [](FakeBuffer&, FakeBuffer& d) { d.valid = 0; }, kOk, kOk, 0},  // not looked at
      {"field without memory", [](FakeBuffer& f, FakeBuffer&) { f.address = 0; }, kBuffer, kBuffer, 4},
      {"frame without memory", [](FakeBuffer&, FakeBuffer& d) { d.address = 0; }, kBuffer, kBuffer, 4},
      {"frame a byte short", [](FakeBuffer&, FakeBuffer& d) { d.stride = 15, d.height = 1; }, kBuffer, kBuffer, 0},
      {"short frame, no format", [](FakeBuffer& f, FakeBuffer& d) { f.format = 0, d.height = 1; }, kBuffer, kBuffer, 0},
      {"no format", [](FakeBuffer& f, FakeBuffer&) { f.format = 0; }, kOk, kParameter, 0},
      {"FMT_Y16", [](FakeBuffer& f, FakeBuffer&) { f.format = FMT_Y16; }, kOk, kParameter, 0},
      {"past the table", [](FakeBuffer& f, FakeBuffer&) { f.format = FMT_Y12_ALT; }, kOk, kParameter, 0},
  };
  for (FieldToFrameMethod method = 0; method <= kNotAMethod; ++method)
    for (const auto& c : cases)
      for (bool dispatched : {false, true}) {
        if (method == kNotAMethod && !dispatched) continue;
        TestImage field(FMT_RGB24, 4, 2, 8, 0, 0x40), frame(FMT_Y8, 8, 2, 8, 32);
        c.spoil(field.params(), frame.params());
        const BufferHandle f = field.handle(), d = frame.handle();
        const bool interpolating = method >= FIELD_TO_FRAME_BILINEAR, valid = field.params().valid != 0;
        std::vector<Query> expected = {{f, BUF_PARAM_VALID}, {d, BUF_PARAM_VALID}, {f, BUF_PARAM_ADDRESS},
                                       {d, BUF_PARAM_ADDRESS}};
        if (interpolating) expected.push_back({f, BUF_PARAM_FORMAT});
        for (BufferParameter id : {BUF_PARAM_STRIDE, BUF_PARAM_HEIGHT, BUF_PARAM_WIDTH})
          expected.insert(expected.end(), {{f, id}, {d, id}});
        if (c.queries) expected.resize(c.queries);
        Status status = interpolating ? c.interpolating : c.line_methods;
        if (dispatched) {
          expected.insert(expected.begin(), {{f, BUF_PARAM_VALID}, {d, BUF_PARAM_VALID}});
          if (!valid || frame.params().valid == 0 || method == kNotAMethod) {
            status = valid && frame.params().valid ? kParameter : kBuffer;
            expected.resize(valid ? 2 : 1);
          }
        }
        SCOPED_TRACE(::testing::Message() << "method " << method << (dispatched ? " dispatched: " : ": ") << c.what);
        ClearQueryLog();
        EXPECT_EQ(dispatched ? QVI_FieldToFrame(f, d, method, 1) : methods[method](f, d, 1), status);
        EXPECT_EQ(QueryLog(), expected);
        EXPECT_EQ(AllBytesAre(frame.bytes(), kCanary), status != STATUS_OK);
      }
}

enum class Method { Dup, Ave, Bilinear, Median };  // in FieldToFrameMethod order

uint32_t SortedMedian6(std::array<uint32_t, 6> v) {
  for (auto& x : v) x %= 256;
  std::sort(v.begin(), v.end());
  return (v[2] + v[3]) / 2;
}

// The bytes of a missing line, and how far the frame and the field go on
// after it.  Only the interpolating methods shorten the missing lines of the
// 4-byte formats, to whole pixels; the median also moves on by that length.
std::pair<uint32_t, uint32_t> MissingLine(Method m, uint32_t f, uint32_t s) {
  const bool quad = f == FMT_XBGR32 || f == FMT_BGRX32 || f == FMT_XRGB32 || f == FMT_RGBX32;
  if (!quad || m < Method::Bilinear) return {s, s};
  if (m == Method::Bilinear) return {s >= 8 ? 8 + 4 * ((s - 8) >> 2) : s & ~3u, s};
  const uint32_t n = s >= 24 ? ((s - 4) >> 2) - 4 : 0, line = s >= 8 ? 4 * (n + 2) : s & ~3u;
  return {line, line};
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

// The frame made from a field of h lines of stride s: `frame_bytes` of canary
// of which the first `extent` receive the frame up to the first line that
// does not fit.
std::vector<uint8_t> ModelFrame(Method m, uint32_t format, uint32_t parity, const uint8_t* field, uint32_t s,
                                uint32_t h, uint64_t extent, size_t frame_bytes) {
  std::vector<uint8_t> out(frame_bytes, kCanary);
  const auto [bytes, advance] = MissingLine(m, format, s);
  uint64_t at = 0;
  for (uint32_t k = 0; k < 2 * h; ++k) {  // frame line k is field line `src` or the missing line below it
    const bool missing = parity == 0 ? k > 0 && k % 2 == 0 : k % 2 == 1 && k + 1 < 2 * h;
    const uint8_t* a = field + uint64_t{parity == 0 ? (k == 0 ? 0 : (k - 1) / 2) : k / 2} * advance;
    const uint8_t* b = missing ? a + s : a;
    const uint32_t len = missing ? bytes : s;
    if (at + len > extent) break;
    for (uint32_t j = 0; j < len; ++j) {
      const uint32_t t = missing && m >= Method::Bilinear ? StepOf(format, j, len) : 0;
      uint32_t v = a[j];
      if (missing && m != Method::Dup && t == 0) v = (a[j] + b[j]) / 2;
      else if (missing && m == Method::Bilinear)
        v = ((a[j] + b[j]) * 105 + (a[j - t] + a[j + t] + b[j - t] + b[j + t]) * 75) / 512;
      else if (missing && m == Method::Median) v = SortedMedian6({a[j - t], a[j], a[j + t], b[j - t], b[j], b[j + t]});
      out[at + j] = static_cast<uint8_t>(v);
    }
    at += missing ? advance : s;
  }
  return out;
}

// Random fields of every taken format, strides from 0 (4-byte strides that
// are not multiples of 4 and odd 4:2:2 strides included), heights from 0 and
// parities 0, 1, 2 and 0xFFFFFFFF, into a frame of 2H + 1 lines of another
// stride and into one two lines short (it passes the size check as the
// field's width is 0; with parity 0 it ends before a missing line).  Each
// frame equals the model and keeps its canary elsewhere; fields are exactly
// stride x height bytes so that the sanitizers see stray reads.
// The model's median lines on 4-byte formats are 20 bytes at stride 32, 8 at 16.
TEST(FieldFrames, EveryMethodFormatAndGeometryMatchesTheModel) {
  ASSERT_EQ(MissingLine(Method::Median, FMT_BGRX32, 32), std::pair(20u, 20u));
  ASSERT_EQ(MissingLine(Method::Median, FMT_RGBX32, 16), std::pair(8u, 8u));
  ResetFakeBuffers();
  std::mt19937 rng(11);
  for (uint32_t m = 0; m < 4; ++m)
    for (uint32_t format : {FMT_Y8, FMT_XBGR32, FMT_BGRX32, FMT_XRGB32, FMT_RGBX32, FMT_BGR24, FMT_RGB24, FMT_YUV422})
      for (uint32_t s : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 15u, 16u, 20u, 24u, 30u, 32u, 33u})
        for (uint32_t h : {0u, 1u, 2u, 3u, 5u})
          for (auto [parity, short_frame] :
               {std::pair{0u, false}, {2u, false}, {0xFFFFFFFFu, false}, {0u, true}, {1u, true}}) {
            if (short_frame && h == 0) continue;
            TestImage field(format, 0, h, s);
            for (auto& b : field.bytes()) b = static_cast<uint8_t>(rng());
            const uint32_t frame_stride = short_frame ? s : s + 3;
            const uint32_t frame_height = short_frame ? 2 * h - 2 : 2 * h + 1;
            TestImage frame(format, 0, frame_height, frame_stride, 9);
            ASSERT_EQ(QVI_FieldToFrame(field.handle(), frame.handle(), m, parity), STATUS_OK);
            ASSERT_EQ(frame.bytes(), ModelFrame(Method(m), format, parity, field.data(), s, h,
                                                uint64_t{frame_stride} * frame_height, frame.bytes().size()))
                << "method " << m << std::hex << " format " << format << std::dec << " s " << s << " h " << h
                << " parity " << parity << " short " << short_frame;
          }
}

// Every arrangement of four levels (ties in every position) with noise above
// the low byte, then random values.
TEST(FieldFrames, Median6AgainstSorting) {
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
