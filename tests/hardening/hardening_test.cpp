// Every exported operation over random geometries, each buffer placed
// against a protected page (after its end, then before its start): any access
// beyond what the operation is documented to touch faults.  Sources carry
// exactly the documented over-read.  The first trials of each operation have
// no width or no height, so no byte may be touched.  Then file-system
// failures the file tests do not make, none of which touches any file but the
// one named or leaves a descriptor open.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <random>

#include "support/convert_reach.h"
#include "support/demosaic_members.h"
#include "support/fenced_image.h"
#include "support/image.h"
#include "support/routes.h"
#include "support/scratch_dir.h"

namespace qvi::test {
namespace {

class GuardPages : public FileTest, public ::testing::WithParamInterface<Fence> {
 protected:
  uint32_t Below(uint32_t n) { return static_cast<uint32_t>(rng_() % n); }
  std::mt19937 rng_;
};

TEST_P(GuardPages, Conversions) {
  const uint32_t methods[] = {DEMOSAIC_METHOD_DUP, DEMOSAIC_METHOD_AVE, DEMOSAIC_METHOD_MED};
  const uint32_t phases[] = {BAYER_PHASE_A, BAYER_PHASE_B, BAYER_PHASE_C, BAYER_PHASE_D};
  rng_.seed(7);
  for (const Route& r : ConversionRoutes()) {
    for (int trial = 0; trial < 14; ++trial) {
      const uint32_t w = trial == 0 ? 0 : 1 + Below(79), h = trial == 1 ? 0 : 1 + Below(4);  // past two vector blocks
      const uint32_t src_stride = TightStride(r.src, w) + (trial % 3 == 0 ? 0 : Below(5));
      const uint32_t dst_stride = w * BytesPerPixel(r.dst) + (trial % 2 == 0 ? 0 : Below(7));
      // RGBX32 takes only duplication, BGR16 only duplication in phase A.
      const uint32_t method = r.dst == Fmt::RGBX32 || r.dst == Fmt::BGR16 ? methods[0] : methods[trial % 3];
      const uint32_t phase = r.dst == Fmt::BGR16 ? phases[0] : phases[Below(4)];
      const uint64_t src_bytes = ConvertSourceBytes(r.src, r.dst, method, phase, w, h, src_stride);
      const auto slack = static_cast<uint32_t>(src_bytes - uint64_t{src_stride} * h);
      FencedImage src(FullCode(r.src), w, h, src_stride, slack, GetParam(), 0x3C);
      src.params().method = method, src.params().phase = phase;
      FencedImage dst(FullCode(r.dst), w, h, dst_stride, 0, GetParam());
      ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK) << int(r.src) << " " << int(r.dst) << " " << w << "x" << h;
    }
  }
}

// Odd and even widths, padded strides, odd strides of 16-bit sources, and
// images below 2x2, of which nothing may be read or written.
TEST_P(GuardPages, DemosaicMembers) {
  rng_.seed(3);
  for (const DemosaicMember& m : DemosaicMembers()) {
    for (int trial = 0; trial < 14; ++trial) {
      const uint32_t w = trial == 0 ? 0 : trial == 1 ? 4 : trial == 2 ? 1 : 2 + Below(79);  // past two vector blocks
      const uint32_t h = trial == 0 ? 3 : trial == 1 ? 0 : trial == 3 ? 1 : 2 + Below(6);
      const uint32_t src_stride = w * m.sample_bytes() + (trial % 3 == 0 ? 0 : Below(5));
      const uint32_t dst_stride = w * m.pixel_bytes() + (trial % 2 == 0 ? 0 : Below(7));
      const uint64_t src_bytes = DemosaicSourceBytes(w, h, src_stride, m.sample_bytes(), m.over_read_samples(w, h));
      FencedImage src(m.source_format(), w, h, src_stride, static_cast<uint32_t>(src_bytes - uint64_t{src_stride} * h),
                      GetParam(), 0x3C);
      FencedImage dst(m.destination_format(), w, h, dst_stride, 0, GetParam());
      ASSERT_EQ(m.call(src.handle(), dst.handle(), 10 + 2 * Below(4)), STATUS_OK)
          << m.name << " " << w << "x" << h << " strides " << src_stride << " " << dst_stride;
    }
  }
}

// Strides shorter than a line (a caller's mistake), and frames of another
// stride or fewer lines: the size check counts the field's width, not its
// stride, so some pass.
TEST_P(GuardPages, Deinterlacers) {
  const uint32_t formats[][2] = {{FMT_Y8, 1},     {FMT_BGR24, 3},  {FMT_RGB24, 3},  {FMT_XBGR32, 4},
                                 {FMT_BGRX32, 4}, {FMT_XRGB32, 4}, {FMT_RGBX32, 4}, {FMT_YUV422, 2}};
  rng_.seed(11);
  for (uint32_t method = FIELD_TO_FRAME_LINE_DUP; method <= FIELD_TO_FRAME_MEDIAN; ++method) {
    for (const auto [format, bytes] : formats) {
      for (int trial = 0; trial < 16; ++trial) {
        const uint32_t w = trial == 0 ? 0 : 1 + Below(17), h = trial == 1 ? 0 : Below(5), line = w * bytes;
        const uint32_t stride = trial % 4 == 0 ? line : trial % 4 == 1 ? Below(line) : line + Below(7);
        const bool odd_frame = trial % 4 == 3;
        const uint32_t frame_stride = odd_frame && Below(2) ? stride - Below(stride / 2 + 1) : stride;
        const uint32_t frame_height = odd_frame ? 2 * h - std::min(2 * h, Below(3)) : 2 * h;
        FencedImage field(format, w, h, stride, 0, GetParam(), 0x5A);
        FencedImage frame(format, w, frame_height, frame_stride, 0, GetParam());
        const bool fits = 2 * w * h <= frame_stride * frame_height;
        ASSERT_EQ(QVI_FieldToFrame(field.handle(), frame.handle(), method, trial % 2), fits ? STATUS_OK : STATUS_BAD_BUFFER)
            << method << " " << std::hex << format << std::dec << " " << w << "x" << h << " stride " << stride;
      }
    }
  }
}

// The raw dump reads exactly stride x height bytes and the TIFF writer no
// more, also for strides shorter than a line; the files have the size the
// geometry gives (an empty dump, a bare TIFF header and directory for no
// pixels), and a refused 16-bit TIFF keeps what was written before.
TEST_P(GuardPages, FileWriters) {
  rng_.seed(5);
  for (const auto& [format, bytes, kind] : {std::tuple{FMT_Y8, 1u, FILE_KIND_RAW}, {FMT_BGR48, 6u, FILE_KIND_RAW},
                                          {FMT_Y8, 1u, FILE_KIND_TIFF}, {FMT_BGR24, 3u, FILE_KIND_TIFF},
                                          {FMT_RGB24, 3u, FILE_KIND_TIFF}, {FMT_Y16, 2u, FILE_KIND_TIFF}}) {
    for (int trial = 0; trial < 12; ++trial) {
      const uint32_t w = trial == 0 ? 0 : Below(40), h = trial == 1 ? 0 : Below(6), line = w * bytes;
      const uint32_t stride = trial % 3 == 0 ? line : trial % 3 == 1 ? line + Below(5) : Below(line + 1);
      FencedImage image(format, w, h, stride, 0, GetParam(), 0x3C);
      SCOPED_TRACE(::testing::Message() << std::hex << format << std::dec << " " << w << "x" << h << " " << stride);
      ASSERT_EQ(QVI_FileWrite(image.handle(), Path("image").c_str(), kind), format == FMT_Y16 ? STATUS_BAD_BUFFER : STATUS_OK);
      const size_t tiff = format == FMT_Y16 ? 130 : (bytes == 1 ? 186 : 204) + size_t{w} * h * (bytes == 1 ? 1 : 3);
      EXPECT_EQ(ReadFile(Path("image")).size(), kind == FILE_KIND_RAW ? size_t{stride} * h : tiff);
    }
  }
}

// FMT_Y12P and FMT_YUV422 read pixels in pairs, so a line of width one reads
// a group (3 or 4 bytes) longer than its one pixel and writes two pixels.
// Where the group and the two pixels fit the buffers, the line's first pixel
// is exactly that of the same image two pixels wide; where they do not, the
// walk stops and the destination keeps every byte.
TEST_P(GuardPages, PackedSourcesOfWidthOneConvertTheirPixel) {
  for (const Route& r : ConversionRoutes()) {
    if (r.src != Fmt::Y12P && r.src != Fmt::YUV422) continue;
    const uint32_t group = r.src == Fmt::Y12P ? 3 : 4, pixel = BytesPerPixel(r.dst);
    for (uint32_t h = 1; h <= 3; ++h) {
      for (uint32_t src_stride : {2u, 3u, 4u, 6u}) {
        for (uint32_t dst_stride : {pixel, 2 * pixel}) {
          SCOPED_TRACE(::testing::Message() << int(r.src) << "->" << int(r.dst) << " " << h << " " << src_stride << " " << dst_stride);
          FencedImage src(FullCode(r.src), 1, h, src_stride, 0, GetParam());
          for (size_t i = 0; i < src.size(); ++i) src.data()[i] = static_cast<uint8_t>(0x47 + 29 * i);
          FencedImage dst(FullCode(r.dst), 1, h, dst_stride, 0, GetParam());
          ASSERT_EQ(QVI_Convert(src.handle(), dst.handle()), STATUS_OK);
          const std::vector<uint8_t> out(dst.data(), dst.data() + dst.size());
          if (src.size() < group || dst.size() < 2 * pixel) {
            EXPECT_TRUE(AllBytesAre(out, kCanary));
            continue;
          }
          TestImage wide_src(FullCode(r.src), 2, 1, group), wide_dst(FullCode(r.dst), 2, 1, 2 * pixel);
          std::copy(src.data(), src.data() + group, wide_src.data());
          ASSERT_EQ(QVI_Convert(wide_src.handle(), wide_dst.handle()), STATUS_OK);
          EXPECT_TRUE(std::equal(out.begin(), out.begin() + pixel, wide_dst.data()));
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fences, GuardPages, ::testing::Values(Fence::AfterEnd, Fence::BeforeStart));

// Successful, refused and failed writes (into a directory, into one and over
// a file the caller may not write, and into a pipe, which has no position to
// tell) in a directory with other files: only the one path named ever appears
// or changes, and no call leaves a descriptor open.  Each call runs in a
// child without root's rights.
TEST_F(FileTest, NothingButTheNamedFileIsTouchedAndNoDescriptorIsLeft) {
  const std::string named = Path("image"), locked = Path("locked"), kept = Path("kept"), fifo = Path("pipe");
  ASSERT_EQ(mkdir(locked.c_str(), 0555), 0);
  for (const auto& [name, text] : {std::pair{"a.tif", "neighbour"}, {"b.raw", "another"}, {"c", ""}, {"kept", "old"}})
    std::ofstream(Path(name)) << text;
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (const auto& [path, mode] : {std::pair{kept, 0444}, {dir_.path(), 0777}, {fifo, 0666}}) ASSERT_EQ(chmod(path.c_str(), mode), 0);
  const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  const auto listing = [this] {  // the pipe's time changes as it is written
    std::map<std::string, std::pair<std::vector<uint8_t>, std::filesystem::file_time_type>> files;
    for (const auto& e : std::filesystem::recursive_directory_iterator(dir_.path()))
      if (!e.is_fifo()) files[e.path()] = {e.is_directory() ? std::vector<uint8_t>{} : ReadFile(e.path()), e.last_write_time()};
    return files;
  };
  const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
  const auto others = listing();
  TestImage grey(FMT_Y8, 5, 3, 8, 0, 0x42), grey16(FMT_Y16, 5, 3, 10), unknown(FMT_RGB48, 5, 3, 30),
      colour(FMT_BGR24, 4, 4, 12);
  for (const auto& [image, kind, path, status] :
       {std::tuple{&grey, FILE_KIND_RAW, named, STATUS_OK}, {&grey, FILE_KIND_TIFF, named, STATUS_OK},
        {&grey16, FILE_KIND_TIFF, named, STATUS_BAD_BUFFER}, {&unknown, FILE_KIND_TIFF, named, STATUS_BAD_FORMAT},
        {&grey, 7u, named, STATUS_BAD_PARAMETER}, {&grey, FILE_KIND_RAW, locked, STATUS_OPEN_FAILED},
        {&grey, FILE_KIND_TIFF, locked + "/new", STATUS_OPEN_FAILED}, {&grey, FILE_KIND_RAW, locked + "/new", STATUS_OPEN_FAILED},
        {&grey, FILE_KIND_TIFF, kept, STATUS_OPEN_FAILED}, {&grey, FILE_KIND_RAW, kept, STATUS_OPEN_FAILED},
        {&colour, FILE_KIND_TIFF, fifo, STATUS_BAD_BUFFER}}) {
    SCOPED_TRACE(::testing::Message() << path << " " << kind);
    const pid_t pid = fork();
    if (pid == 0) {
      if (geteuid() == 0 && (setresgid(65534, 65534, 65534) != 0 || setresuid(65534, 65534, 65534) != 0)) _exit(3);
      const auto before = descriptors();
      if (QVI_FileWrite(image->handle(), path.c_str(), kind) != status) _exit(1);
      _exit(descriptors() == before ? 0 : 2);
    }
    int exit_status = -1;
    ASSERT_EQ(waitpid(pid, &exit_status, 0), pid);
    EXPECT_TRUE(WIFEXITED(exit_status) && WEXITSTATUS(exit_status) == 0) << exit_status;  // 1: status, 2: descriptor
    auto now = listing();
    EXPECT_EQ(now.erase(named), path == named && status != STATUS_BAD_PARAMETER ? 1u : 0u);
    EXPECT_EQ(now, others);
    std::filesystem::remove(named);
  }
  close(reader);
}

}  // namespace
}  // namespace qvi::test
