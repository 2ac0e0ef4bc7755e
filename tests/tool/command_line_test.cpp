// The qvi program run as a user runs it: exit statuses, messages, files left
// behind, and the files it writes read back with libtiff and libpng.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "formats.h"
#include "scene.h"
#include "support.h"

namespace qvi::tool {
namespace {

using test::Picture;
using test::RunQvi;
using test::ScratchDir;


std::vector<uint8_t> Le16(const std::vector<uint16_t>& words) {
  std::vector<uint8_t> bytes;
  for (uint16_t w : words) {
    bytes.push_back(static_cast<uint8_t>(w));
    bytes.push_back(static_cast<uint8_t>(w >> 8));
  }
  return bytes;
}

TEST(CommandLine, EveryCommandHasHelp) {
  ScratchDir dir;
  for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
           {"--help"}, {"convert", "--help"}, {"deinterlace", "--help"}, {"formats", "--help"}, {"demo", "-h"}}) {
    const test::RunResult r = RunQvi(args, dir.path());
    EXPECT_EQ(r.exit_code, 0) << args[0];
    EXPECT_NE(r.out.find("Usage: qvi"), std::string::npos) << r.out;
  }
}

TEST(CommandLine, FormatsListsFormatsAndConversions) {
  ScratchDir dir;
  const test::RunResult r = RunQvi({"formats"}, dir.path());
  EXPECT_EQ(r.exit_code, 0);
  for (const FormatInfo& f : AllFormats())
    EXPECT_NE(r.out.find("\n  " + std::string(f.name) + " "), std::string::npos) << f.name;
  EXPECT_NE(r.out.find("  YUV422   -> XBGR32 BGRX32 XRGB32 RGBX32 BGR24 RGB24\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("  BGRX32   -> BGR24\n"), std::string::npos);
  EXPECT_NE(r.out.find("  BAY12    -> RGB16 BGRX32 RGBX32 BGR24\n"), std::string::npos) << r.out;
  EXPECT_EQ(r.out.find("TRIPLE16 ->"), std::string::npos) << "a destination-only format has no row";
}

TEST(CommandLine, WrongUseFailsWithWordsAndLeavesNothingBehind) {
  ScratchDir dir;
  test::WriteFile(dir / "g.raw", std::vector<uint8_t>(2 * 6 * 16));  // two 8 x 6 Y12 frames
  test::WriteFile(dir / "b.raw", std::vector<uint8_t>(6 * 16));      // one 8 x 6 BAY12 frame
  const std::vector<std::string> grey{"convert", "g.raw", "--width", "8", "--height", "6", "--format", "Y12"};
  const auto with = [](std::vector<std::string> base, const std::vector<std::string>& more) {
    base.insert(base.end(), more.begin(), more.end());
    return base;
  };
  const struct {
    std::vector<std::string> args;
    int exit_code;
    const char* message;
  } cases[] = {
      {{}, 2, "subcommand"},
      {{"frobnicate"}, 2, "frobnicate is not a command"},
      {{"convert", "g.raw", "-o", "o.tif", "--height", "6", "--format", "Y12"}, 2, "--width is required"},
      {{"convert", "g.raw", "-o", "o.tif", "--width", "abc", "--height", "6", "--format", "Y12"}, 2, "abc"},
      {{"convert", "g.raw", "-o", "o.tif", "--width", "8", "--height", "6", "--format", "Y13"}, 2,
       "Y13 is not a pixel format"},
      {with(grey, {"-o", "o.tif", "--method", "fast"}), 2, "fast"},
      {with(grey, {"-o", "o.tif", "--to", "RGB"}), 2, "RGB is not a pixel format"},
      {{"convert", "g.raw", "-o", "o.tif", "--width", "8", "--height", "5", "--format", "Y12"}, 1,
       "not a whole number of frames of 5 lines x 16 bytes"},
      {with(grey, {"-o", "o.tif", "--stride", "3"}), 1, "--stride 3 is smaller than one line"},
      {with(grey, {"-o", "o.tif", "--to", "BGR36"}), 1,
       "no conversion from Y12 to BGR36: STATUS_BAD_PARAMETER (10: the pair of formats"},
      {with(grey, {"-o", "o.tif", "--to", "RGB24"}), 1, "red and blue would come out exchanged"},
      {with(grey, {"-o", "o.png", "--to", "BGRX32"}), 1, "PNG files are written from Y8 or BGR24 pixels, not BGRX32"},
      {with(grey, {"-o", "o.bmp"}), 1, "--output o.bmp: the name must end in"},
      {with(grey, {"-o", "nodir/o.tif"}), 1, "output folder nodir does not exist"},
      {with(grey, {"-o", "o.tif", "--phase", "A"}), 1, "--phase applies to Bayer input only"},
      {{"convert", "missing.raw", "-o", "o.tif", "--width", "8", "--height", "6", "--format", "Y8"}, 1,
       "cannot read input missing.raw"},
      {{"convert", "b.raw", "-o", "o.tif", "--width", "8", "--height", "6", "--format", "BAY12"}, 1,
       "--phase is needed for Bayer input"},
      {{"convert", "b.raw", "-o", "o.tif", "--width", "1", "--height", "48", "--format", "BAY12", "--phase", "A"}, 1,
       "at least 2"},
      {{"deinterlace", "g.raw", "-o", "o.tif", "--width", "8", "--height", "6", "--format", "Y12"}, 2,
       "--parity is required"},
      {{"deinterlace", "g.raw", "-o", "o.tif", "--width", "8", "--height", "6", "--format", "Y12", "--parity",
        "sideways"},
       2, "sideways"},
      {{"deinterlace", "g.raw", "-o", "o.tif", "--width", "8", "--height", "6", "--format", "Y12", "--parity", "odd",
        "--method", "cubic"},
       2, "cubic"},
      {{"deinterlace", "g.raw", "-o", "o.tif", "--width", "8", "--height", "6", "--format", "Y12", "--parity", "odd",
        "--method", "median"},
       1, "the median method does not take Y12 fields"},
      {{"demo", "--out", "g.raw"}, 1, "g.raw"},
  };
  for (const auto& c : cases) {
    std::string shown;
    for (const std::string& a : c.args) shown += a + " ";
    const test::RunResult r = RunQvi(c.args, dir.path());
    EXPECT_EQ(r.exit_code, c.exit_code) << shown << "\n" << r.err;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << shown << "\nstderr: " << r.err;
    EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"b.raw", "g.raw"})) << shown;
  }
}

TEST(Convert, GreyFramesWithPaddingBecomeNumberedTiffs) {
  ScratchDir dir;
  // Two 5 x 3 Y12 frames at a stride of 12 bytes (two words of padding that
  // hold 0xFFF and must not show).
  std::vector<uint16_t> words;
  for (int f = 0; f < 2; ++f)
    for (int y = 0; y < 3; ++y) {
      for (int x = 0; x < 5; ++x) words.push_back(static_cast<uint16_t>(f * 2048 + y * 512 + x * 64 + 15));
      words.push_back(0xFFF);
    }
  test::WriteFile(dir / "grey.raw", Le16(words));
  const test::RunResult r = RunQvi(
      {"convert", "grey.raw", "--width", "5", "--height", "3", "--stride", "12", "--format", "Y12", "-o", "g.tif"},
      dir.path());
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, "qvi convert: 2 frames, 5 x 3 Y12 to Y8 TIFF, written to g-001.tif .. g-002.tif\n");
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"g-001.tif", "g-002.tif", "grey.raw"}));
  for (int f = 0; f < 2; ++f) {
    const Picture p = test::ReadTiff(dir / ("g-00" + std::to_string(f + 1) + ".tif"));
    ASSERT_EQ(p.width, 5u);
    ASSERT_EQ(p.height, 3u);
    ASSERT_EQ(p.channels, 1u);
    for (uint32_t y = 0; y < 3; ++y)
      for (uint32_t x = 0; x < 5; ++x) EXPECT_EQ(p.at(x, y, 0), (f * 2048 + y * 512 + x * 64 + 15) >> 4);
  }
}

// A raw Bayer capture of two flat-coloured frames, for every phase and
// method: away from the image border (where some members of the demosaic
// family follow rules of their own) a flat colour comes through any demosaic
// unchanged, so each pixel of the TIFF must be that colour, in red, green,
// blue order.
TEST(Convert, BayerCaptureRoundTripsToTiffsThatLibtiffReads) {
  constexpr uint32_t kW = 8, kH = 6, kStride = 20;  // 4 bytes of padding a line
  const uint16_t colours[2][3] = {{0xFF0, 0x100, 0x010}, {0x010, 0x800, 0xFF0}};  // 12-bit R, G, B
  const struct {
    const char* name;
    BayerPhase phase;
  } phases[] = {{"A", BAYER_PHASE_A}, {"B", BAYER_PHASE_B}, {"C", BAYER_PHASE_C}, {"D", BAYER_PHASE_D}};
  for (const auto& phase : phases) {
    ScratchDir dir;
    std::vector<uint8_t> raw;
    for (const auto& colour : colours)
      for (uint32_t y = 0; y < kH; ++y) {
        std::vector<uint16_t> line(kStride / 2, 0xABC);
        for (uint32_t x = 0; x < kW; ++x) line[x] = colour[BayerChannel(phase.phase, x, y)];
        const std::vector<uint8_t> bytes = Le16(line);
        raw.insert(raw.end(), bytes.begin(), bytes.end());
      }
    test::WriteFile(dir / "capture.raw", raw);
    for (const char* method : {"dup", "ave", "med"}) {
      const std::string out = std::string("c-") + method + ".tif";
      const test::RunResult r = RunQvi({"convert", "capture.raw", "--width", "8", "--height", "6", "--stride", "20",
                                        "--format", "BAY12", "--phase", phase.name, "--method", method, "-o", out},
                                       dir.path());
      ASSERT_EQ(r.exit_code, 0) << r.err;
      for (int f = 0; f < 2; ++f) {
        const Picture p = test::ReadTiff(dir / (std::string("c-") + method + "-00" + std::to_string(f + 1) + ".tif"));
        ASSERT_EQ(p.width, kW);
        ASSERT_EQ(p.height, kH);
        ASSERT_EQ(p.channels, 3u);
        for (uint32_t y = 1; y + 1 < kH; ++y)
          for (uint32_t x = 1; x + 1 < kW; ++x)
            for (int c = 0; c < 3; ++c)
              ASSERT_EQ(p.at(x, y, c), colours[f][c] >> 4)
                  << "phase " << phase.name << ", " << method << ", frame " << f + 1 << ", pixel " << x << "," << y
                  << ", channel " << c;
      }
    }
  }
}

TEST(Deinterlace, FieldLinesLandOnTheirParity) {
  ScratchDir dir;
  // One Y8 field of three uniform lines 16, 32, 48, four pixels wide.
  std::vector<uint8_t> field;
  for (uint8_t v : {16, 32, 48}) field.insert(field.end(), 4, v);
  test::WriteFile(dir / "field.raw", field);
  const struct {
    const char* method;
    const char* parity;
    std::vector<uint8_t> lines;
  } cases[] = {
      {"linedup", "odd", {16, 16, 16, 32, 32, 48}},
      {"linedup", "even", {16, 16, 32, 32, 48, 48}},
      {"lineave", "odd", {16, 16, 24, 32, 40, 48}},
      {"lineave", "even", {16, 24, 32, 40, 48, 48}},
  };
  for (const auto& c : cases) {
    const test::RunResult r = RunQvi({"deinterlace", "field.raw", "--width", "4", "--height", "3", "--format", "Y8",
                                      "--method", c.method, "--parity", c.parity, "-o", "frame.tif"},
                                     dir.path());
    ASSERT_EQ(r.exit_code, 0) << r.err;
    const Picture p = test::ReadTiff(dir / "frame.tif");
    ASSERT_EQ(p.height, 6u);
    ASSERT_EQ(p.width, 4u);
    for (uint32_t y = 0; y < 6; ++y)
      EXPECT_EQ(p.at(3, y, 0), c.lines[y]) << c.method << " " << c.parity << " line " << y;
  }

  // Luma/chroma frames are converted to BGR24 for a TIFF file: a field of
  // luma 200 and neutral chroma gives grey 200.
  test::WriteFile(dir / "yuv.raw", std::vector<uint8_t>{200, 128, 200, 128, 200, 128, 200, 128});
  const test::RunResult yuv = RunQvi({"deinterlace", "yuv.raw", "--width", "2", "--height", "2", "--format",
                                      "YUV422", "--method", "median", "--parity", "odd", "-o", "yuv.tif"},
                                     dir.path());
  ASSERT_EQ(yuv.exit_code, 0) << yuv.err;
  const Picture p = test::ReadTiff(dir / "yuv.tif");
  ASSERT_EQ(p.channels, 3u);
  ASSERT_EQ(p.height, 4u);
  EXPECT_EQ(p.pixels, std::vector<uint8_t>(2 * 4 * 3, 200));

  // A TIFF file of a format that is not converted for it is refused before
  // anything is written.
  const test::RunResult r = RunQvi({"deinterlace", "field.raw", "--width", "4", "--height", "3", "--format", "BAY8",
                                    "--method", "linedup", "--parity", "odd", "-o", "bayer.tif"},
                                   dir.path());
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_NE(r.err.find("BAY8 frames are not converted to either; write a .raw file"), std::string::npos) << r.err;
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"field.raw", "frame.tif", "yuv.raw", "yuv.tif"}));
}

// Mean absolute difference of two pictures of the same size, per sample.
double MeanDifference(const Picture& a, const Picture& b) {
  double sum = 0;
  for (size_t i = 0; i < a.pixels.size(); ++i) sum += std::abs(a.pixels[i] - b.pixels[i]);
  return sum / static_cast<double>(a.pixels.size());
}

TEST(Demo, WritesItsFilesAndTable) {
  ScratchDir dir;
  const test::RunResult r = RunQvi({"demo", "--out", "out", "--pictures", "pics"}, dir.path());
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const std::vector<std::string> tiffs{"demosaic-ave.tif", "demosaic-dup.tif", "demosaic-med.tif",
                                       "deinterlace-bilinear.tif", "scene.tif"};
  std::vector<std::string> expected = tiffs;
  expected.push_back("capture-bay12.raw");
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(test::EntriesOf(dir.path() / "out"), expected);
  for (const std::string& name : expected)
    EXPECT_NE(r.out.find("  " + name + " "), std::string::npos) << "the table names " << name << "\n" << r.out;
  EXPECT_EQ(std::filesystem::file_size(dir.path() / "out" / "capture-bay12.raw"), 1024u * 768 * 2);

  const Picture scene = test::ReadTiff(dir / "out/scene.tif");
  ASSERT_EQ(scene.width, 1024u);
  ASSERT_EQ(scene.height, 768u);
  ASSERT_EQ(scene.channels, 3u);
  for (const std::string& name : tiffs) {
    const Picture p = test::ReadTiff(dir / ("out/" + name));
    ASSERT_EQ(p.width, 1024u) << name;
    ASSERT_EQ(p.height, 768u) << name;
    ASSERT_EQ(p.channels, 3u) << name;
    // Demosaicing errs at fine detail only: every result stays within about
    // 16 levels of the scene on average, while decoding the capture with a
    // wrong phase gives 48 or more.
    EXPECT_LT(MeanDifference(p, scene), 25.0) << name;
  }

  EXPECT_EQ(test::EntriesOf(dir.path() / "pics"), (std::vector<std::string>{"demosaic-methods.png", "scene.png"}));
  const Picture methods = test::ReadPng(dir / "pics/demosaic-methods.png");
  EXPECT_GT(methods.width, 0u);
  const Picture overview = test::ReadPng(dir / "pics/scene.png");
  EXPECT_EQ(overview.width, 512u);
  EXPECT_EQ(overview.height, 384u);
}

}  // namespace
}  // namespace qvi::tool
