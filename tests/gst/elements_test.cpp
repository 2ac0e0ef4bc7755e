// The plugin's three elements in a GstHarness, fed frames that end at a
// protected page, against the library on the same bytes: every Bayer format
// and method, the caps offered, accepted and refused, odd sizes and strides.
// Then a live pipeline from Aravis's fake GigE camera, which runs only inside
// a private network namespace.
#include <gst/check/gstharness.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "qvb.h"
#include "qvi.h"
#include "support/fenced_image.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes Random(size_t n, uint32_t seed) {
  std::mt19937 rng(seed);
  Bytes b(n);
  for (auto& x : b) x = static_cast<uint8_t>(rng());
  return b;
}

// A read-only buffer over `bytes` that ends at an inaccessible page.
GstBuffer* FencedBuffer(const Bytes& bytes) {
  auto* memory = new qvi::test::FencedMemory(bytes.size(), qvi::test::Fence::AfterEnd, 0);
  std::memcpy(memory->data(), bytes.data(), bytes.size());
  return gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, memory->data(), bytes.size(), 0, bytes.size(), memory,
                                     [](gpointer p) { delete static_cast<qvi::test::FencedMemory*>(p); });
}

void AddStride(GstBuffer* buffer, GstVideoFormat format, int width, int height, size_t offset, int stride) {
  gsize offsets[GST_VIDEO_MAX_PLANES] = {offset};
  gint strides[GST_VIDEO_MAX_PLANES] = {stride};
  gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, format, width, height, 1, offsets, strides);
}

// QVI_Convert or QVI_FieldToFrame on `in` (which holds anything the call
// reads past the frame), into a destination that starts as 0xFF like the
// elements' fresh output memory; the call must succeed unless `status` is given.
Bytes Library(Bytes in, uint32_t w, uint32_t h, uint32_t stride, ImageFormat from, ImageFormat to,
              uint32_t out_stride, uint32_t out_lines, DemosaicMethod method = 0, BayerPhase phase = 0,
              int field_method = -1, FieldParity parity = 0, Status* status = nullptr) {
  Bytes out(size_t{out_stride} * out_lines, 0xFF);
  BufferHandle src = 0, dst = 0;
  QVB_BufferCreate(in.data(), w, h, stride, from, &src);
  QVB_BufferCreate(out.data(), w, out_lines, out_stride, to, &dst);
  QVB_BufferParameterSet(src, BUF_PARAM_DEMOSAIC_METHOD, method);
  QVB_BufferParameterSet(src, BUF_PARAM_BAYER_PHASE, phase);
  const Status s = field_method < 0 ? QVI_Convert(src, dst) : QVI_FieldToFrame(src, dst, field_method, parity);
  if (status != nullptr) *status = s;
  EXPECT_TRUE(status != nullptr || s == STATUS_OK) << s;
  QVB_BufferDestroy(src);
  QVB_BufferDestroy(dst);
  return out;
}

// QVI_Convert's answer on a 2 x 2 image.
Status LibraryAnswer(ImageFormat from, ImageFormat to, DemosaicMethod method = 0, BayerPhase phase = 0) {
  Status status = STATUS_OK;
  Library(Bytes(64, 0), 2, 2, 16, from, to, 16, 2, method, phase, -1, 0, &status);
  return status;
}

std::string Caps(const char* media, const std::string& format, uint32_t w, uint32_t h) {
  return std::string(media) + ",format=" + format + ",width=" + std::to_string(w) + ",height=" + std::to_string(h) +
         ",framerate=0/1";
}

struct Out {
  GstFlowReturn flow;
  Bytes bytes;
  gint stride = 0;
};

// An element in a GstHarness, its properties set, negotiating `in` to `out`.
class Harness {
 public:
  Harness(const char* element, const std::string& in, const std::string& out,
          std::initializer_list<std::pair<const char*, const char*>> properties = {}, bool video_meta = false)
      : h_(gst_harness_new(element)), out_caps_(out) {
    for (auto [property, value] : properties) Set(property, value);
    if (video_meta) gst_harness_add_propose_allocation_meta(h_, GST_VIDEO_META_API_TYPE, nullptr);
    gst_harness_set_caps_str(h_, in.c_str(), out.c_str());
  }
  ~Harness() { gst_harness_teardown(h_); }
  Harness(const Harness&) = delete;
  Harness& operator=(const Harness&) = delete;

  void Set(const char* property, const char* value) { gst_util_set_object_arg(G_OBJECT(h_->element), property, value); }
  GstFlowReturn Push(GstBuffer* b) { return gst_harness_push(h_, b); }
  GstBuffer* Pull() { return gst_harness_try_pull(h_); }

  // Pushes one frame; on success, the output's bytes and stride.
  Out Run(GstBuffer* in) {
    Out out{Push(in), {}};
    if (out.flow != GST_FLOW_OK) return out;
    GstBuffer* buffer = Pull();
    EXPECT_NE(buffer, nullptr);
    if (buffer == nullptr) return {GST_FLOW_ERROR, {}};
    GstVideoInfo info;
    GstCaps* caps = gst_caps_from_string(out_caps_.c_str());
    gst_video_info_from_caps(&info, caps);
    gst_caps_unref(caps);
    const GstVideoMeta* meta = gst_buffer_get_video_meta(buffer);
    out.stride = meta != nullptr ? meta->stride[0] : GST_VIDEO_INFO_PLANE_STRIDE(&info, 0);
    out.bytes.resize(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, out.bytes.data(), out.bytes.size());
    gst_buffer_unref(buffer);
    return out;
  }

 private:
  GstHarness* h_;
  std::string out_caps_;
};

// Rows of `line` bytes at two strides are equal; with equal strides the
// bytes between and after them too.
void ExpectRows(const Out& got, const Bytes& want, uint32_t want_stride, uint32_t rows, uint32_t line,
                const std::string& what) {
  if (static_cast<uint32_t>(got.stride) == want_stride) {
    ASSERT_GE(got.bytes.size(), want.size()) << what;
    EXPECT_TRUE(std::equal(want.begin(), want.end(), got.bytes.begin())) << what;
    return;
  }
  for (uint32_t y = 0; y < rows; ++y)
    ASSERT_TRUE(std::equal(want.begin() + y * want_stride, want.begin() + y * want_stride + line,
                           got.bytes.begin() + y * got.stride))
        << what << ", row " << y;
}

// --- qvidemosaic -------------------------------------------------------

struct BayerCase {
  std::string name;
  ImageFormat code;
  BayerPhase phase;
  uint32_t sample_bytes;
};

// rggb = phase A, grbg = B, gbrg = C, bggr = D; 8-bit and 10-16-bit words.
std::vector<BayerCase> AllBayer() {
  const std::pair<const char*, ImageFormat> depths[] = {
      {"", FMT_BAY8}, {"10le", FMT_BAY10}, {"12le", FMT_BAY12}, {"14le", FMT_BAY14}, {"16le", FMT_BAY16}};
  const std::pair<const char*, BayerPhase> phases[] = {
      {"rggb", BAYER_PHASE_A}, {"grbg", BAYER_PHASE_B}, {"gbrg", BAYER_PHASE_C}, {"bggr", BAYER_PHASE_D}};
  std::vector<BayerCase> all;
  for (auto [suffix, code] : depths)
    for (auto [name, phase] : phases) all.push_back({std::string(name) + suffix, code, phase, code == FMT_BAY8 ? 1u : 2u});
  return all;
}
const std::vector<BayerCase> kBayer = AllBayer();
void PrintTo(const BayerCase& c, std::ostream* os) { *os << c.name; }

struct Method {
  const char* nick;
  DemosaicMethod code;
};
const Method kMethods[] = {{"dup", DEMOSAIC_METHOD_DUP}, {"ave", DEMOSAIC_METHOD_AVE}, {"med", DEMOSAIC_METHOD_MED}};

struct Output {
  const char* name;
  ImageFormat code;
  uint32_t pixel_bytes;
};
const Output kColour[] = {
    {"BGRx", FMT_BGRX32, 4}, {"BGR", FMT_BGR24, 3}, {"RGBx", FMT_RGBX32, 4}, {"RGB16", FMT_RGB16, 2},
    {"BGR16", FMT_BGR16, 2}};

uint32_t DefaultStride(const char* format, uint32_t w, uint32_t h) {
  GstVideoInfo info;
  gst_video_info_set_format(&info, gst_video_format_from_string(format), w, h);
  return static_cast<uint32_t>(GST_VIDEO_INFO_PLANE_STRIDE(&info, 0));
}

// qvidemosaic's output for `buffer`, and the library's for the frame `in`
// (at `stride`, with zeros past it where an odd width reads).
Out Demosaic(const BayerCase& bayer, const Method& method, const Output& out, uint32_t w, uint32_t h,
             GstBuffer* buffer) {
  Harness harness("qvidemosaic", Caps("video/x-bayer", bayer.name, w, h), Caps("video/x-raw", out.name, w, h),
                  {{"method", method.nick}});
  return harness.Run(buffer);
}
void ExpectLibraryDemosaic(const Out& got, const BayerCase& bayer, const Method& method, const Output& out,
                           uint32_t w, uint32_t h, Bytes in, uint32_t stride, const std::string& what) {
  in.resize(size_t{stride} * h + 2 * bayer.sample_bytes, 0);
  const uint32_t out_stride = DefaultStride(out.name, w, h);
  ExpectRows(got, Library(in, w, h, stride, bayer.code, out.code, out_stride, h, method.code, bayer.phase),
             out_stride, h, w * out.pixel_bytes, what);
}

class DemosaicFormat : public testing::TestWithParam<BayerCase> {};

// Every method into every colour format, even and odd sizes, rows back to
// back (odd widths read past the last row, so the element must demosaic a
// padded copy): the output is the library's, or negotiation fails exactly
// where the library has no member.
TEST_P(DemosaicFormat, MatchesLibraryOrIsRefused) {
  const BayerCase& bayer = GetParam();
  for (const Method& method : kMethods)
    for (const Output& out : kColour)
      for (auto [w, h] : {std::pair<uint32_t, uint32_t>{6, 4}, {7, 5}}) {
        const std::string what = bayer.name + " " + method.nick + " -> " + out.name + " " +
                                 std::to_string(w) + "x" + std::to_string(h);
        const uint32_t stride = w * bayer.sample_bytes;
        const Bytes in = Random(size_t{stride} * h, w * 131 + h);
        const Out got = Demosaic(bayer, method, out, w, h, FencedBuffer(in));
        if (LibraryAnswer(bayer.code, out.code, method.code, bayer.phase) != STATUS_OK) {
          EXPECT_EQ(got.flow, GST_FLOW_NOT_NEGOTIATED) << what;
          continue;
        }
        ASSERT_EQ(got.flow, GST_FLOW_OK) << what;
        ExpectLibraryDemosaic(got, bayer, method, out, w, h, in, stride, what);
      }
}

INSTANTIATE_TEST_SUITE_P(Bayer, DemosaicFormat, testing::ValuesIn(kBayer),
                         [](const auto& info) { return info.param.name; });

// Input layouts for an odd width: strides from a video meta (with padding
// enough for the reads past the last row, or not), GStreamer's rows rounded
// to 4 bytes, and memory whose zeroed padding lies beyond the buffer.
TEST(Demosaic, InputLayouts) {
  enum class Layout { MetaShortTail, MetaLongTail, Rounded, ZeroPadded };
  const uint32_t w = 7, h = 5;
  for (const BayerCase* bayer : {&kBayer[0], &kBayer[10]})  // rggb, gbrg12le
    for (const Output& out : {kColour[0], kColour[3]})
      for (const Method& method : {kMethods[1], kMethods[2]})
        for (Layout layout : {Layout::MetaShortTail, Layout::MetaLongTail, Layout::Rounded, Layout::ZeroPadded}) {
          const std::string what = bayer->name + " " + method.nick + " -> " + out.name + " layout " +
                                   std::to_string(static_cast<int>(layout));
          const uint32_t sb = bayer->sample_bytes, line = w * sb;
          uint32_t stride = line, offset = 0;
          size_t size = size_t{line} * h;
          if (layout == Layout::MetaShortTail || layout == Layout::MetaLongTail) {
            stride = line + 3 * sb, offset = 2 * sb;
            size = offset + size_t{stride} * (h - 1) + line + (layout == Layout::MetaLongTail ? 2 * sb : 0);
          } else if (layout == Layout::Rounded) {
            stride = (line + 3) & ~3u, size = size_t{stride} * h;
          }
          const Bytes bytes = Random(size, 7);
          GstBuffer* buffer = layout == Layout::ZeroPadded ? nullptr : FencedBuffer(bytes);
          if (buffer == nullptr) {
            GstAllocationParams params = {GST_MEMORY_FLAG_ZERO_PADDED, 0, 0, 4, {}};
            buffer = gst_buffer_new_allocate(nullptr, size, &params);
            gst_buffer_fill(buffer, 0, bytes.data(), size);
          }
          if (offset != 0)
            AddStride(buffer, sb == 1 ? GST_VIDEO_FORMAT_GRAY8 : GST_VIDEO_FORMAT_GRAY16_LE, w, h, offset,
                      static_cast<int>(stride));
          const Out got = Demosaic(*bayer, method, out, w, h, buffer);
          ASSERT_EQ(got.flow, GST_FLOW_OK) << what;
          ExpectLibraryDemosaic(got, *bayer, method, out, w, h, Bytes(bytes.begin() + offset, bytes.end()), stride,
                                what);
        }
}

std::set<std::string> Formats(GstCaps* caps) {
  std::set<std::string> names;
  for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
    const GValue* v = gst_structure_get_value(gst_caps_get_structure(caps, i), "format");
    if (v != nullptr && GST_VALUE_HOLDS_LIST(v)) {
      for (guint k = 0; k < gst_value_list_get_size(v); ++k)
        names.insert(g_value_get_string(gst_value_list_get_value(v, k)));
    } else if (v != nullptr) {
      names.insert(g_value_get_string(v));
    }
  }
  return names;
}

// What the element's transform_caps makes of `caps` on one side.
GstCaps* Transformed(const char* element, const char* method, GstPadDirection side, const char* caps) {
  GstElement* e = gst_element_factory_make(element, nullptr);
  gst_util_set_object_arg(G_OBJECT(e), "method", method);
  GstCaps* in = gst_caps_from_string(caps);
  GstCaps* out = GST_BASE_TRANSFORM_GET_CLASS(e)->transform_caps(GST_BASE_TRANSFORM(e), side, in, nullptr);
  gst_caps_unref(in);
  gst_object_unref(e);
  return out;
}

TEST(Demosaic, OffersWhatTheMethodProduces) {
  struct Case {
    const char* method;
    GstPadDirection side;
    const char* caps;
    std::set<std::string> offered;
  };
  const Case cases[] = {
      {"dup", GST_PAD_SINK, "video/x-bayer,format=rggb", {"BGRx", "BGR", "RGBx", "RGB16", "BGR16"}},
      {"dup", GST_PAD_SINK, "video/x-bayer,format=bggr", {"BGRx", "BGR", "RGBx", "RGB16"}},
      {"dup", GST_PAD_SINK, "video/x-bayer,format=rggb12le", {"BGRx", "BGR", "RGBx", "RGB16"}},
      {"ave", GST_PAD_SINK, "video/x-bayer,format=rggb", {"BGRx", "BGR", "RGB16"}},
      {"med", GST_PAD_SINK, "video/x-bayer,format={gbrg16le,grbg}", {"BGRx", "BGR", "RGB16"}},
      {"dup", GST_PAD_SRC, "video/x-raw,format=BGR16", {"rggb"}},
      {"med", GST_PAD_SRC, "video/x-raw,format={RGBx,BGR16,GRAY8}", {}},
      {"ave", GST_PAD_SINK, "video/x-raw,format=BGRx", {}},
  };
  for (const Case& c : cases) {
    GstCaps* offered = Transformed("qvidemosaic", c.method, c.side, c.caps);
    EXPECT_EQ(Formats(offered), c.offered) << c.caps;
    gst_caps_unref(offered);
  }
}

// A new method applies to the next frame; one that cannot produce the
// negotiated format stops the stream until the method is set back.
TEST(Demosaic, MethodChangeRenegotiates) {
  const uint32_t w = 8, h = 4;
  const Bytes in = Random(w * h, 3);
  Harness bgrx("qvidemosaic", Caps("video/x-bayer", "rggb", w, h), Caps("video/x-raw", "BGRx", w, h));
  for (const Method& method : kMethods) {
    bgrx.Set("method", method.nick);
    const Out got = bgrx.Run(FencedBuffer(in));
    ASSERT_EQ(got.flow, GST_FLOW_OK);
    ExpectLibraryDemosaic(got, kBayer[0], method, kColour[0], w, h, in, w, method.nick);
  }
  Harness rgbx("qvidemosaic", Caps("video/x-bayer", "rggb", w, h), Caps("video/x-raw", "RGBx", w, h),
               {{"method", "dup"}});
  EXPECT_EQ(rgbx.Run(FencedBuffer(in)).flow, GST_FLOW_OK);
  rgbx.Set("method", "ave");
  EXPECT_EQ(rgbx.Run(FencedBuffer(in)).flow, GST_FLOW_NOT_NEGOTIATED);
  rgbx.Set("method", "dup");
  EXPECT_EQ(rgbx.Run(FencedBuffer(in)).flow, GST_FLOW_OK);
}

// Once an output buffer has been written, the element leaves its line
// padding and X bytes alone: a canary written into a recycled buffer stays.
TEST(Demosaic, RecycledOutputKeepsPaddingAndXBytes) {
  const uint32_t w = 7, h = 3;
  const Bytes in = Random(size_t{w} * h, 5);
  for (const Output& out : {kColour[0], kColour[1]}) {
    Harness harness("qvidemosaic", Caps("video/x-bayer", "rggb", w, h), Caps("video/x-raw", out.name, w, h));
    ASSERT_EQ(harness.Push(FencedBuffer(in)), GST_FLOW_OK);
    GstBuffer* first = harness.Pull();
    ASSERT_NE(first, nullptr);
    GstMapInfo map;
    ASSERT_TRUE(gst_buffer_map(first, &map, GST_MAP_WRITE));
    const guint8* memory = map.data;
    std::memset(map.data, 0xA5, map.size);
    gst_buffer_unmap(first, &map);
    gst_buffer_unref(first);

    ASSERT_EQ(harness.Push(FencedBuffer(in)), GST_FLOW_OK);
    GstBuffer* second = harness.Pull();
    ASSERT_NE(second, nullptr);
    ASSERT_TRUE(gst_buffer_map(second, &map, GST_MAP_READ));
    const bool recycled = map.data == memory;
    const Bytes got(map.data, map.data + map.size);
    gst_buffer_unmap(second, &map);
    gst_buffer_unref(second);
    if (!recycled) GTEST_SKIP() << "the output pool handed out a new buffer";
    const uint32_t stride = DefaultStride(out.name, w, h);
    Bytes padded = in;
    padded.resize(in.size() + 2, 0);
    const Bytes want = Library(padded, w, h, w, FMT_BAY8, out.code, stride, h, DEMOSAIC_METHOD_AVE, BAYER_PHASE_A);
    Bytes canary(want.size(), 0xA5);
    for (uint32_t y = 0; y < h; ++y)
      for (uint32_t x = 0; x < w; ++x)
        std::memcpy(&canary[y * stride + x * out.pixel_bytes], &want[y * stride + x * out.pixel_bytes], 3);
    EXPECT_EQ(got, canary) << out.name;
  }
}

// --- qviconvert and qvideinterlace ---------------------------------------

struct Raw {
  const char* name;
  ImageFormat code;
  uint32_t pixel_bytes;
  bool byte_components;
};
const Raw kRaw[] = {
    {"GRAY8", FMT_Y8, 1, true},       {"GRAY16_LE", FMT_Y16, 2, false}, {"RGB15", FMT_RGB15, 2, false},
    {"BGR15", FMT_BGR15, 2, false},   {"RGB16", FMT_RGB16, 2, false},   {"BGR16", FMT_BGR16, 2, false},
    {"BGR", FMT_BGR24, 3, true},      {"RGB", FMT_RGB24, 3, true},      {"BGRx", FMT_BGRX32, 4, true},
    {"RGBx", FMT_RGBX32, 4, true},    {"xBGR", FMT_XBGR32, 4, true},    {"xRGB", FMT_XRGB32, 4, true},
    {"YUY2", FMT_YUV422, 2, true},
};
void PrintTo(const Raw& r, std::ostream* os) { *os << r.name; }

// The qvi format the element hands the library for (in, out), or 0 when the
// pair must be refused.  The library's BGRX32 -> BGR24 route writes the
// colours in reverse, so it serves BGRx -> RGB; GRAY8 -> GRAY16_LE is left
// out, as the library copies 8-bit values into 16-bit words unscaled.
ImageFormat ConvertTarget(const Raw& in, const Raw& out) {
  if (in.code == FMT_BGRX32 && out.code == FMT_RGB24) return FMT_BGR24;
  if ((in.code == FMT_BGRX32 && out.code == FMT_BGR24) || (in.code == FMT_Y8 && out.code == FMT_Y16)) return 0;
  return LibraryAnswer(in.code, out.code) == STATUS_OK ? out.code : 0;
}

class ConvertFrom : public testing::TestWithParam<Raw> {};

// Every pair, an even width at the usual strides and an odd width whose
// input stride comes from a video meta: the library's bytes, or a refusal.
TEST_P(ConvertFrom, MatchesLibraryOrIsRefused) {
  const Raw& in = GetParam();
  for (const Raw& out : kRaw)
    for (bool padded : {false, true}) {
      if (out.code == in.code) continue;
      const uint32_t w = padded ? 5 : 6, h = 3;
      const std::string what = std::string(in.name) + " -> " + out.name + (padded ? " padded" : "");
      const uint32_t line = in.code == FMT_YUV422 ? (w + 1) / 2 * 4 : w * in.pixel_bytes;
      const uint32_t stride = padded ? line + 8 : DefaultStride(in.name, w, h);
      // The usual layout holds whole lines; a video meta's may end at the
      // last pixel.
      const Bytes bytes = Random(padded ? size_t{stride} * (h - 1) + line : size_t{stride} * h, w + h);
      GstBuffer* buffer = FencedBuffer(bytes);
      if (padded) AddStride(buffer, gst_video_format_from_string(in.name), w, h, 0, static_cast<int>(stride));
      Harness harness("qviconvert", Caps("video/x-raw", in.name, w, h), Caps("video/x-raw", out.name, w, h));
      const Out got = harness.Run(buffer);
      const ImageFormat target = ConvertTarget(in, out);
      if (target == 0 || (in.code == FMT_YUV422 && w % 2 == 1)) {
        EXPECT_EQ(got.flow, GST_FLOW_NOT_NEGOTIATED) << what;
        continue;
      }
      ASSERT_EQ(got.flow, GST_FLOW_OK) << what;
      const uint32_t out_stride = DefaultStride(out.name, w, h);
      ExpectRows(got, Library(bytes, w, h, stride, in.code, target, out_stride, h), out_stride, h,
                 w * out.pixel_bytes, what);
    }
}

INSTANTIATE_TEST_SUITE_P(Raw, ConvertFrom, testing::ValuesIn(kRaw),
                         [](const auto& info) { return std::string(info.param.name); });

// Colours keep their names through every pair the element accepts, read
// back with GStreamer's own definition of each format: red stays red, grey
// stays grey.
TEST(Convert, ColoursKeepTheirNames) {
  struct Source {
    const char* name;
    Bytes pixel_pair;  // two pixels
    int r, g, b;
  };
  const Source sources[] = {
      {"GRAY8", {200, 200}, 200, 200, 200},
      {"GRAY16_LE", {0xC8, 0xC8, 0xC8, 0xC8}, 200, 200, 200},
      {"BGR", {0, 0, 255, 0, 0, 255}, 255, 0, 0},
      {"BGRx", {0, 0, 255, 9, 0, 0, 255, 9}, 255, 0, 0},
      {"YUY2", {76, 85, 76, 255}, 255, 0, 0},  // full-range BT.601 red
  };
  for (const Source& src : sources)
    for (const Raw& out : kRaw) {
      if (std::strcmp(src.name, out.name) == 0) continue;
      const uint32_t w = 2, h = 2;
      const uint32_t stride = DefaultStride(src.name, w, h);
      Bytes bytes(size_t{stride} * h, 0);
      for (uint32_t y = 0; y < h; ++y) std::copy(src.pixel_pair.begin(), src.pixel_pair.end(), &bytes[y * stride]);
      Harness harness("qviconvert", Caps("video/x-raw", src.name, w, h), Caps("video/x-raw", out.name, w, h));
      Out got = harness.Run(FencedBuffer(bytes));
      if (got.flow != GST_FLOW_OK) continue;
      // Unpack pixel 1 of row 1 into ARGB or AYUV, 8 or 16 bits a channel.
      const GstVideoFormatInfo* info = gst_video_format_get_info(gst_video_format_from_string(out.name));
      uint16_t unpacked[2 * 4] = {};
      gpointer data[GST_VIDEO_MAX_PLANES] = {got.bytes.data()};
      gint strides[GST_VIDEO_MAX_PLANES] = {got.stride};
      info->unpack_func(info, GST_VIDEO_PACK_FLAG_NONE, unpacked, data, strides, 0, 1, 2);
      const bool deep = GST_VIDEO_FORMAT_INFO_DEPTH(gst_video_format_get_info(info->unpack_format), 0) == 16;
      auto channel = [&](int c) {
        return deep ? unpacked[4 + c] >> 8 : reinterpret_cast<const uint8_t*>(unpacked)[4 + c];
      };
      const std::string what = std::string(src.name) + " -> " + out.name;
      if (GST_VIDEO_FORMAT_INFO_IS_GRAY(info)) {
        EXPECT_NEAR(channel(1), src.g, 8) << what;
        continue;
      }
      EXPECT_NEAR(channel(1), src.r, 8) << what;
      EXPECT_NEAR(channel(2), src.g, 8) << what;
      EXPECT_NEAR(channel(3), src.b, 8) << what;
    }
}

struct FieldMethod {
  const char* nick;
  FieldToFrameMethod code;
};
const FieldMethod kFieldMethods[] = {{"linedup", FIELD_TO_FRAME_LINE_DUP},
                                     {"lineave", FIELD_TO_FRAME_LINE_AVE},
                                     {"bilinear", FIELD_TO_FRAME_BILINEAR},
                                     {"median", FIELD_TO_FRAME_MEDIAN}};

// Which formats each method must take: line doubling any; line averaging
// those whose components are bytes; bilinear and median the formats the
// library takes (grey, 24-bit, 4:2:2 and, for bilinear only, the 32-bit X
// formats, whose median lines come out short and drift).
bool FieldTakes(const FieldMethod& m, const Raw& f) {
  const bool interpolated = f.code == FMT_Y8 || f.pixel_bytes == 3 || f.code == FMT_YUV422;
  switch (m.code) {
    case FIELD_TO_FRAME_LINE_DUP: return true;
    case FIELD_TO_FRAME_LINE_AVE: return f.byte_components;
    case FIELD_TO_FRAME_BILINEAR: return interpolated || f.pixel_bytes == 4;
    default: return interpolated;
  }
}

class DeinterlaceFormat : public testing::TestWithParam<Raw> {};

// Every method and parity at the usual stride; a padded field stride with
// downstream taking video meta (the frame gets that stride) and without (the
// lines are copied out at the usual stride).
TEST_P(DeinterlaceFormat, MatchesLibraryOrIsRefused) {
  const Raw& format = GetParam();
  const uint32_t w = 5, h = 3;
  const uint32_t line = format.code == FMT_YUV422 ? (w + 1) / 2 * 4 : w * format.pixel_bytes;
  for (const FieldMethod& method : kFieldMethods)
    for (const char* parity : {"odd", "even"})
      for (int layout = 0; layout < 3; ++layout) {
        const std::string what = std::string(format.name) + " " + method.nick + " " + parity + " layout " +
                                 std::to_string(layout);
        const uint32_t stride = layout == 0 ? DefaultStride(format.name, w, h) : line + 8;
        const Bytes bytes = Random(layout == 0 ? size_t{stride} * h : size_t{stride} * (h - 1) + line, 11);
        GstBuffer* buffer = FencedBuffer(bytes);
        if (layout != 0) AddStride(buffer, gst_video_format_from_string(format.name), w, h, 0, static_cast<int>(stride));
        Harness harness("qvideinterlace", Caps("video/x-raw", format.name, w, h),
                        Caps("video/x-raw", format.name, w, 2 * h), {{"method", method.nick}, {"parity", parity}},
                        layout == 1);
        const Out got = harness.Run(buffer);
        if (!FieldTakes(method, format)) {
          EXPECT_EQ(got.flow, GST_FLOW_NOT_NEGOTIATED) << what;
          continue;
        }
        ASSERT_EQ(got.flow, GST_FLOW_OK) << what;
        EXPECT_EQ(static_cast<uint32_t>(got.stride), layout == 2 ? DefaultStride(format.name, w, 2 * h) : stride)
            << what;
        Bytes field = bytes;
        field.resize(size_t{stride} * h, 0);
        const FieldParity field_parity = std::strcmp(parity, "odd") == 0 ? FIELD_PARITY_ODD : FIELD_PARITY_EVEN;
        ExpectRows(got,
                   Library(field, w, h, stride, format.code, format.code, stride, 2 * h, 0, 0,
                           static_cast<int>(method.code), field_parity),
                   stride, 2 * h, line, what);
      }
}

INSTANTIATE_TEST_SUITE_P(Raw, DeinterlaceFormat, testing::ValuesIn(kRaw),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Deinterlace, DoublesTheHeight) {
  struct Case {
    GstPadDirection side;
    const char* caps;
    const char* want;
  };
  const Case cases[] = {
      {GST_PAD_SINK, "video/x-raw,format=GRAY8,height=288", "video/x-raw,format=GRAY8,height=576"},
      {GST_PAD_SRC, "video/x-raw,format=GRAY8,height=576", "video/x-raw,format=GRAY8,height=288"},
      {GST_PAD_SRC, "video/x-raw,format=GRAY8,height=575", "EMPTY"},
      {GST_PAD_SINK, "video/x-raw,format=GRAY8,height=[1,10]", "video/x-raw,format=GRAY8,height=[2,20,2]"},
      {GST_PAD_SRC, "video/x-raw,format=GRAY8,height=[3,10]", "video/x-raw,format=GRAY8,height=[2,5]"},
  };
  for (const Case& c : cases) {
    GstCaps* out = Transformed("qvideinterlace", "lineave", c.side, c.caps);
    GstCaps* want = gst_caps_from_string(c.want);
    EXPECT_TRUE(gst_caps_is_equal(out, want)) << c.caps << " gave " << gst_caps_to_string(out);
    gst_caps_unref(want);
    gst_caps_unref(out);
  }
}

#ifdef QVI_ARV_FAKE_CAMERA
// --- a live pipeline -------------------------------------------------------
// Aravis's fake GigE camera, aravissrc and qvidemosaic.  Discovery and the
// fake camera broadcast on every interface, so this test runs ONLY inside a
// private network namespace that holds nothing but loopback (CTest runs it
// through scripts/netns.sh) and skips itself anywhere else.  It starts the
// camera itself, which the kernel stops when the test program ends.

bool OnlyLoopback() {
  for (const auto& entry : std::filesystem::directory_iterator("/sys/class/net"))
    if (entry.path().filename() != "lo") return false;
  return true;
}

GstPadProbeReturn Keep(GstPad*, GstPadProbeInfo* info, gpointer list) {
  static_cast<std::vector<GstBuffer*>*>(list)->push_back(gst_buffer_ref(GST_PAD_PROBE_INFO_BUFFER(info)));
  return GST_PAD_PROBE_OK;
}

// Runs `launch` to its end, keeping the buffers into and out of the element
// named "demosaic"; false with `error` set when it fails.
bool RunLive(const std::string& launch, std::vector<GstBuffer*>* in, std::vector<GstBuffer*>* out,
             std::string* error) {
  GError* parse_error = nullptr;
  GstElement* pipeline = gst_parse_launch(launch.c_str(), &parse_error);
  if (pipeline == nullptr) {
    *error = parse_error != nullptr ? parse_error->message : "cannot build the pipeline";
    g_clear_error(&parse_error);
    return false;
  }
  GstElement* demosaic = gst_bin_get_by_name(GST_BIN(pipeline), "demosaic");
  for (auto [name, list] : {std::pair{"sink", in}, std::pair{"src", out}}) {
    GstPad* pad = gst_element_get_static_pad(demosaic, name);
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, Keep, list, nullptr);
    gst_object_unref(pad);
  }
  gst_object_unref(demosaic);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* bus = gst_element_get_bus(pipeline);
  GstMessage* message = gst_bus_timed_pop_filtered(
      bus, 20 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  const bool ok = message != nullptr && GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS;
  if (message == nullptr) {
    *error = "no end of stream within 20 s";
  } else if (!ok) {
    GError* e = nullptr;
    gst_message_parse_error(message, &e, nullptr);
    *error = e->message;
    g_error_free(e);
  }
  if (message != nullptr) gst_message_unref(message);
  gst_object_unref(bus);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
  return ok;
}

// 511 x 301 grbg frames (an odd width, whose demosaic reads past each line),
// demosaiced with the median into BGR.
TEST(LiveCamera, FramesAreTheLibrarysDemosaicOfTheCameraBytes) {
  if (!OnlyLoopback()) GTEST_SKIP() << "runs only inside a private network namespace (scripts/netns.sh)";
  for (const char* file : {QVI_ARAVIS_GST_PLUGIN, QVI_GST_CORE_PLUGIN}) {
    GstPlugin* plugin = gst_plugin_load_file(file, nullptr);
    ASSERT_NE(plugin, nullptr) << file;
    gst_object_unref(plugin);
  }
  const uint32_t w = 511, h = 301, frames = 4;
  const pid_t parent = getpid(), camera = fork();
  if (camera == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == parent) execl(QVI_ARV_FAKE_CAMERA, QVI_ARV_FAKE_CAMERA, "-i", "127.0.0.1", nullptr);
    _exit(127);
  }
  ASSERT_GT(camera, 0);
  const std::string launch = "aravissrc camera-name=Aravis-GV01 num-buffers=" + std::to_string(frames) +
                             " ! video/x-bayer,format=grbg,width=511,height=301 ! qvidemosaic name=demosaic method=med"
                             " ! video/x-raw,format=BGR ! fakesink sync=false";
  std::vector<GstBuffer*> in, out;
  const auto release = [&] {
    for (GstBuffer* b : in) gst_buffer_unref(b);
    for (GstBuffer* b : out) gst_buffer_unref(b);
    in.clear(), out.clear();
  };
  std::string error;
  bool ran = false;
  for (int attempt = 0; attempt < 10 && !ran; ++attempt) {  // the camera answers once it is up
    g_usleep(G_USEC_PER_SEC / 2);
    release();
    ran = RunLive(launch, &in, &out, &error);
  }
  kill(camera, SIGTERM);
  waitpid(camera, nullptr, 0);
  EXPECT_TRUE(ran) << error;
  EXPECT_EQ(in.size(), frames);
  const uint32_t out_stride = DefaultStride("BGR", w, h);
  for (size_t i = 0; i < std::min(in.size(), out.size()); ++i) {
    // The camera sends whole lines: its stride is the buffer's size over the height.
    Bytes sent(gst_buffer_get_size(in[i])), got(gst_buffer_get_size(out[i]));
    gst_buffer_extract(in[i], 0, sent.data(), sent.size());
    gst_buffer_extract(out[i], 0, got.data(), got.size());
    ASSERT_EQ(sent.size() % h, 0u);
    const auto stride = static_cast<uint32_t>(sent.size() / h);
    sent.resize(sent.size() + 2, 0);
    const Bytes want = Library(sent, w, h, stride, FMT_BAY8, FMT_BGR24, out_stride, h, DEMOSAIC_METHOD_MED,
                               BAYER_PHASE_B);
    ASSERT_GE(got.size(), want.size());
    for (uint32_t y = 0; y < h; ++y)
      ASSERT_TRUE(std::equal(&want[y * out_stride], &want[y * out_stride + w * 3], &got[y * out_stride]))
          << "frame " << i << ", row " << y;
  }
  EXPECT_EQ(out.size(), frames);
  release();
}
#endif

}  // namespace

// Under AddressSanitizer, a block GLib keeps for the life of the process is
// no leak.
extern "C" const char* __lsan_default_suppressions() { return "leak:libglib-2.0.so\n"; }

// Loads the plugin from the build tree alone: no system plugins, no
// registry file written.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  g_setenv("GST_REGISTRY_UPDATE", "no", TRUE);
  g_setenv("GST_REGISTRY_FORK", "no", TRUE);
  g_setenv("GST_PLUGIN_SYSTEM_PATH_1_0", "", TRUE);
  g_setenv("GST_PLUGIN_PATH_1_0", "", TRUE);
  g_setenv("GST_REGISTRY_1_0", QVI_GST_TEST_REGISTRY, TRUE);
  gst_init(nullptr, nullptr);
  GError* error = nullptr;
  GstPlugin* plugin = gst_plugin_load_file(QVI_GST_PLUGIN, &error);
  if (plugin == nullptr) {
    std::fprintf(stderr, "cannot load %s: %s\n", QVI_GST_PLUGIN, error != nullptr ? error->message : "?");
    return 1;
  }
  gst_object_unref(plugin);
  const int result = RUN_ALL_TESTS();
  gst_deinit();
  return result;
}
