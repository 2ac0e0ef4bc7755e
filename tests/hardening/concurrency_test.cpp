// Several threads at once convert, demosaic and de-interlace buffers of their
// own and write files of their own, through the bundled buffer library, while
// another thread keeps making and destroying buffers: every result equals
// what one thread alone produced.  Under ThreadSanitizer (the tsan preset)
// this also shows that neither library races.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <functional>
#include <thread>
#include <tuple>

#include "support/demosaic_members.h"
#include "support/qvb_buffer.h"
#include "support/scratch_dir.h"

namespace qvi::test {
namespace {

// One piece of work: a call on a source and a destination buffer (and a
// file path, for the writers), with the source's demosaic parameters.
using Call = std::function<Status(BufferHandle src, BufferHandle dst, const char* path)>;
struct Work {
  std::string name;
  struct { uint32_t format, width, height, stride; } src, dst;
  Call call;
  uint32_t method = 0, phase = 0;
};

std::vector<Work> Works() {
  const Call convert = [](auto s, auto d, auto) { return QVI_Convert(s, d); };
  const auto field = [](FieldToFrameMethod m) -> Call { return [m](auto s, auto d, auto) { return QVI_FieldToFrame(s, d, m, 1); }; };
  const auto file = [](FileKind k) -> Call { return [k](auto s, auto, auto path) { return QVI_FileWrite(s, path, k); }; };
  std::vector<Work> works = {
      {"Y8 to BGRX32", {FMT_Y8, 61, 9, 64}, {FMT_BGRX32, 61, 9, 248}, convert},
      {"Y12 to RGB16", {FMT_Y12, 40, 8, 81}, {FMT_RGB16, 40, 8, 80}, convert},
      {"BGR24 to RGB30", {FMT_BGR24, 33, 7, 100}, {FMT_RGB30, 33, 7, 132}, convert},
      {"YUV422 to BGR24", {FMT_YUV422, 32, 6, 64}, {FMT_BGR24, 32, 6, 96}, convert},
      {"Y12P to RGB24", {FMT_Y12P, 30, 6, 48}, {FMT_RGB24, 30, 6, 90}, convert},
      {"RGB30 to RGB48", {FMT_RGB30, 20, 5, 84}, {FMT_RGB48, 20, 5, 120}, convert},
      {"Y16 block copy", {FMT_Y16, 24, 6, 50}, {FMT_Y16, 24, 6, 50}, convert},
      {"BAY8 ave B", {FMT_BAY8, 37, 9, 40}, {FMT_BGR24, 37, 9, 111}, convert, DEMOSAIC_METHOD_AVE, BAYER_PHASE_B},
      {"BAY12 med C", {FMT_BAY12, 31, 8, 63}, {FMT_RGB16, 31, 8, 62}, convert, DEMOSAIC_METHOD_MED, BAYER_PHASE_C},
      {"BAY16 dup D", {FMT_BAY16, 16, 6, 32}, {FMT_RGBX32, 16, 6, 64}, convert, DEMOSAIC_METHOD_DUP, BAYER_PHASE_D},
      {"line duplication", {FMT_Y8, 50, 6, 52}, {FMT_Y8, 50, 12, 52}, field(FIELD_TO_FRAME_LINE_DUP)},
      {"line averaging", {FMT_BGR24, 17, 6, 51}, {FMT_BGR24, 17, 12, 51}, field(FIELD_TO_FRAME_LINE_AVE)},
      {"bilinear", {FMT_YUV422, 16, 7, 34}, {FMT_YUV422, 16, 14, 34}, field(FIELD_TO_FRAME_BILINEAR)},
      {"median", {FMT_XBGR32, 12, 6, 48}, {FMT_XBGR32, 12, 12, 48}, field(FIELD_TO_FRAME_MEDIAN)},
      {"raw file", {FMT_Y8, 45, 7, 48}, {FMT_Y8, 1, 1, 1}, file(FILE_KIND_RAW)},
      {"TIFF file", {FMT_BGR24, 21, 5, 64}, {FMT_Y8, 1, 1, 1}, file(FILE_KIND_TIFF)},
  };
  // Every seventh demosaic member, called directly.
  for (size_t i = 0; i < DemosaicMembers().size(); i += 7) {
    const DemosaicMember& m = DemosaicMembers()[i];
    works.push_back({m.name, {m.source_format(), 23, 7, 24 * m.sample_bytes() + 1},
                     {m.destination_format(), 23, 7, 23 * m.pixel_bytes() + 2},
                     [&m](auto s, auto d, auto) { return m.call(s, d, 12); }});
  }
  return works;
}

// The status, the destination's bytes and the file's bytes.
using Result = std::tuple<Status, std::vector<uint8_t>, std::vector<uint8_t>>;

Result Perform(const Work& w, const std::string& path) {
  std::vector<uint8_t> src(size_t{w.src.stride} * w.src.height + 8), dst(size_t{w.dst.stride} * w.dst.height, 0xA5);
  for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint8_t>(i * 131 + (i >> 7));
  const QvbBuffer s(src.data(), w.src.format, w.src.width, w.src.height, w.src.stride);
  const QvbBuffer d(dst.data(), w.dst.format, w.dst.width, w.dst.height, w.dst.stride);
  s.Set(BUF_PARAM_DEMOSAIC_METHOD, w.method);
  s.Set(BUF_PARAM_BAYER_PHASE, w.phase);
  Result r{w.call(s.handle(), d.handle(), path.c_str()), std::move(dst), ReadFile(path)};
  std::filesystem::remove(path);
  return r;
}

TEST(Concurrency, ThreadsGetWhatOneThreadGets) {
  const ScratchDir dir("qvi-threads");
  const std::vector<Work> works = Works();
  std::vector<Result> expected;
  for (const Work& w : works) {
    expected.push_back(Perform(w, dir / "alone"));
    EXPECT_EQ(std::get<Status>(expected.back()), STATUS_OK) << w.name;
  }

  // Four threads, 25 rounds each, each starting five works after the last.
  std::atomic<int> mismatches{0};
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (size_t i = 5 * t; i < 5 * t + 25 * works.size(); ++i) {
        if (Perform(works[i % works.size()], dir / ("thread" + std::to_string(t))) != expected[i % works.size()]) ++mismatches;
      }
    });
  }
  // Buffers made, changed, asked about and destroyed all the while.
  std::thread churn([&done, &mismatches] {
    uint8_t memory[16];
    for (BufferHandle h = 0; !done;) {
      uint32_t width = 0;
      const bool ok = QVB_BufferCreate(memory, 4, 4, 4, FMT_Y8, &h) == QVB_STATUS_OK &&
                      QVB_BufferParameterSet(h, BUF_PARAM_WIDTH, 2) == QVB_STATUS_OK &&
                      QVB_BufferParameterGet(h, BUF_PARAM_WIDTH, &width) == QVB_STATUS_OK && width == 2;
      if (QVB_BufferDestroy(h) != QVB_STATUS_OK || !ok) ++mismatches;
    }
  });
  for (auto& th : threads) th.join();
  done = true;
  churn.join();
  EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
}  // namespace qvi::test
