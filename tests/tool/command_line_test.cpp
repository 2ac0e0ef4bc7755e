// The qvi program run as a user runs it: exit statuses, messages, files left
// behind, and the files it writes read back with libtiff and libpng.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <filesystem>
#include <tuple>

#include "formats.h"
#include "scene.h"
#include "support.h"

namespace qvi::tool {
namespace {

using test::Picture;
using test::ReadPicture;
using test::ScratchDir;

std::vector<uint8_t> Le16(const std::vector<uint16_t>& words) {
  std::vector<uint8_t> bytes;
  for (uint16_t w : words) bytes.insert(bytes.end(), {static_cast<uint8_t>(w), static_cast<uint8_t>(w >> 8)});
  return bytes;
}

TEST(CommandLine, AnswersHelpAndWrongUseWithStatusAndWordsLeavingNothingBehind) {
  ScratchDir dir;
  test::WriteFile(dir / "g.raw", std::vector<uint8_t>(2 * 6 * 16));  // two 8 x 6 Y12 frames
  test::WriteFile(dir / "b.raw", std::vector<uint8_t>(6 * 16));      // one 8 x 6 BAY12 frame
  test::WriteFile(dir / "e.raw", {});
  std::filesystem::create_directory(dir / "d.tif");
  const std::string grey = "convert g.raw --width 8 --height 6 --format Y12 ";
  const std::string fields = "deinterlace g.raw --width 8 --height 6 --format Y12 -o o.tif ";
  const struct {
    std::string args;
    int exit_code;
    const char* message;  // on stdout after exit status 0, else on stderr
  } cases[] = {
      {"--help", 0, "Usage: qvi [OPTIONS] SUBCOMMAND"},
      {"convert --help", 0, "Usage: qvi convert"},
      {"deinterlace --help", 0, "Usage: qvi deinterlace"},
      {"formats --help", 0, "Usage: qvi formats"},
      {"demo -h", 0, "Usage: qvi demo"},
      {"", 2, "subcommand"},
      {"frobnicate", 2, "frobnicate is not a command"},
      {"convert g.raw -o o.tif --height 6 --format Y12", 2, "--width is required"},
      {"convert g.raw -o o.tif --width abc --height 6 --format Y12", 2, "abc"},
      {"convert g.raw -o o.tif --width 8 --height 6 --format Y13", 2, "Y13 is not a pixel format"},
      {grey + "-o o.tif --method fast", 2, "fast"},
      {grey + "-o o.tif --to RGB", 2, "RGB is not a pixel format"},
      {"convert g.raw -o o.tif --width 8 --height 5 --format Y12", 1,
       "not a whole number of frames of 5 lines x 16 bytes"},
      {grey + "-o o.tif --stride 3", 1, "--stride 3 is smaller than one line"},
      {"convert g.raw -o o.tif --width 0 --height 6 --format Y8", 1, "--width must be at least 1"},
      {"convert g.raw -o o.tif --width 8 --height 0 --format Y8", 1, "--height must be at least 1"},
      {"convert g.raw -o o.tif --width 2147483648 --height 1 --format Y16", 1, "--width 2147483648 is too wide"},
      {"convert g.raw -o o.tif --width 65536 --height 65536 --format Y8", 1, "exceeds the 4 GiB"},
      {"convert g.raw -o o.tif --width 65536 --height 1 --format Y8", 1, "at most 65535 pixels a side"},
      // The widest line the library addresses passes, to meet the TIFF limit.
      {"convert g.raw -o o.tif --width 4294967295 --height 1 --format Y8", 1, "at most 65535 pixels a side"},
      {grey + "-o o.tif --to BGR36", 1,
       "no conversion from Y12 to BGR36: STATUS_BAD_PARAMETER (10: the pair of formats"},
      {grey + "-o o.tif --to RGB24", 1, "red and blue would come out exchanged"},
      {grey + "-o o.png --to BGRX32", 1, "PNG files are written from Y8 or BGR24 pixels, not BGRX32"},
      {grey + "-o o.bmp", 1, "--output o.bmp: the name must end in"},
      {grey + "-o nodir/o.tif", 1, "output folder nodir does not exist"},
      {grey + "-o d.tif", 1, "output d.tif is a folder"},
      {grey + "-o o.tif --phase A", 1, "--phase applies to Bayer input only"},
      {"convert missing.raw -o o.tif --width 8 --height 6 --format Y8", 1, "cannot read input missing.raw"},
      {"convert e.raw -o o.tif --width 8 --height 6 --format Y8", 1, "input e.raw is empty"},
      {"convert d.tif -o o.tif --width 8 --height 6 --format Y8", 1, "input d.tif is a directory"},
      {"convert b.raw -o o.tif --width 8 --height 6 --format BAY12", 1, "--phase is needed for Bayer input"},
      {"convert b.raw -o o.tif --width 1 --height 48 --format BAY12 --phase A", 1,
       "a Bayer capture needs --width and --height of at least 2"},
      {"convert b.raw -o o.tif --width 48 --height 1 --format BAY12 --phase A", 1, "at least 2"},
      {"convert b.raw -o o.raw --width 8 --height 6 --format BAY12 --phase A --method ave --to RGBX32", 1,
       "from BAY12 to RGBX32 does not take --method ave --phase A: STATUS_BAD_BAYER_MODE (3: "},
      {"deinterlace g.raw -o o.tif --width 8 --height 6 --format Y12", 2, "--parity is required"},
      {fields + "--parity sideways", 2, "sideways"},
      {fields + "--parity odd --method cubic", 2, "cubic"},
      {fields + "--parity odd --method median", 1, "the median method does not take Y12 fields"},
      {"deinterlace g.raw -o o.tif --width 8 --height 6 --format BAY8 --method linedup --parity odd", 1,
       "BAY8 frames are not converted to either; write a .raw file"},
      {"deinterlace g.raw -o o.raw --width 65536 --height 65535 --format Y8 --parity odd", 1,
       "a frame of twice --height 65535 lines would exceed the 4 GiB"},
      // Fails once the demo's files are staged: they and its new folder go.
      {"demo --out out --pictures g.raw", 1, "cannot create folder g.raw"},
  };
  for (const auto& c : cases) {
    const test::Run r = dir.Qvi(c.args);
    EXPECT_EQ(r.exit_code, c.exit_code) << c.args << "\n" << r.err;
    EXPECT_NE((c.exit_code == 0 ? r.out : r.err).find(c.message), std::string::npos) << c.args << "\n" << r.err;
    EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"b.raw", "d.tif", "e.raw", "g.raw"})) << c.args;
  }
}

TEST(CommandLine, FormatsListsFormatsAndConversions) {
  ScratchDir dir;
  const test::Run r = dir.Qvi("formats");
  EXPECT_EQ(r.exit_code, 0);
  const std::string listing = r.out.substr(0, r.out.find("\nConversions"));
  for (const FormatInfo& f : AllFormats())
    EXPECT_NE(listing.find("\n  " + std::string(f.name) + " "), std::string::npos) << f.name;
  for (const char* row : {"\n  Y12P      0xC002261B  3 per 2     packed", "\n  BGRX32   -> BGR24\n",
                          "\n  YUV422   -> XBGR32 BGRX32 XRGB32 RGBX32 BGR24 RGB24\n",
                          "\n  BAY12    -> RGB16 BGRX32 RGBX32 BGR24\n"})
    EXPECT_NE(r.out.find(row), std::string::npos) << row << "\n" << r.out;
  EXPECT_EQ(r.out.find("TRIPLE16 ->"), std::string::npos) << "a destination-only format has no row";
}

TEST(Convert, GreyFramesWithPaddingBecomeNumberedTiffs) {
  ScratchDir dir;
  // Two 5 x 3 Y12 frames at a stride of 12 bytes (a word of padding that
  // holds 0xFFF and must not show).
  std::vector<uint16_t> words;
  for (int f = 0; f < 2; ++f)
    for (int y = 0; y < 3; ++y) {
      for (int x = 0; x < 5; ++x) words.push_back(static_cast<uint16_t>(f * 2048 + y * 512 + x * 64 + 15));
      words.push_back(0xFFF);
    }
  test::WriteFile(dir / "grey.raw", Le16(words));
  std::filesystem::create_directory(dir / "sub.d");
  // Names are typed in any case; a format may carry the header's prefix.
  const test::Run r = dir.Qvi("convert grey.raw --width 5 --height 3 --stride 12 --format fmt_y12 -o sub.d/g.TIFF");
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, "qvi convert: 2 frames, 5 x 3 Y12 to Y8 TIFF, written to sub.d/g-001.TIFF .. sub.d/g-002.TIFF\n");
  EXPECT_EQ(dir.Entries("sub.d"), (std::vector<std::string>{"g-001.TIFF", "g-002.TIFF"}));
  const mode_t mask = ::umask(0);  // outputs get the usual permissions, not those of a temporary file
  ::umask(mask);
  EXPECT_EQ(std::filesystem::status(dir / "sub.d/g-001.TIFF").permissions(), std::filesystem::perms(0666 & ~mask));
  for (int f = 0; f < 2; ++f) {
    const Picture p = ReadPicture(dir / ("sub.d/g-00" + std::to_string(f + 1) + ".TIFF"));
    ASSERT_EQ(std::tie(p.width, p.height, p.channels), std::make_tuple(5u, 3u, 1u));
    for (uint32_t y = 0; y < 3; ++y)
      for (uint32_t x = 0; x < 5; ++x) EXPECT_EQ(p.at(x, y, 0), (f * 2048 + y * 512 + x * 64 + 15) >> 4);
  }
}

// A raw Bayer capture of two flat-coloured frames, for every phase and
// method: away from the image border (where some members of the demosaic
// family follow rules of their own) a flat colour comes through any demosaic
// unchanged, so each pixel written must be that colour, in red, green, blue
// order.
TEST(Convert, BayerCaptureRoundTripsToFilesThatLibtiffAndLibpngRead) {
  constexpr uint32_t kW = 8, kH = 6, kStride = 20;  // 4 bytes of padding a line
  const uint16_t colours[2][3] = {{0xFF0, 0x100, 0x010}, {0x010, 0x800, 0xFF0}};  // 12-bit R, G, B
  const BayerPhase phases[] = {BAYER_PHASE_A, BAYER_PHASE_B, BAYER_PHASE_C, BAYER_PHASE_D};
  for (int i = 0; i < 4; ++i) {
    const std::string phase(1, "ABCD"[i]);
    ScratchDir dir;
    std::vector<uint16_t> words;
    for (const auto& colour : colours)
      for (uint32_t y = 0; y < kH; ++y)
        for (uint32_t x = 0; x < kStride / 2; ++x)
          words.push_back(x < kW ? colour[BayerChannel(phases[i], x, y)] : 0xABC);
    test::WriteFile(dir / "capture.raw", Le16(words));
    for (const std::string method : {"dup", "ave", "med"}) {
      const std::string type = method == "ave" ? ".png" : ".tif";  // PNG files are the tool's own
      const test::Run r = dir.Qvi("convert capture.raw --width 8 --height 6 --stride 20 --format BAY12 --phase " +
                                  phase + " --method " + method + " -o c-" + method + type);
      ASSERT_EQ(r.exit_code, 0) << r.err;
      for (int f = 0; f < 2; ++f) {
        const Picture p = ReadPicture(dir / ("c-" + method + "-00" + std::to_string(f + 1) + type));
        ASSERT_EQ(std::tie(p.width, p.height, p.channels), std::make_tuple(kW, kH, 3u));
        for (uint32_t y = 1; y + 1 < kH; ++y)
          for (uint32_t x = 1; x + 1 < kW; ++x)
            for (int c = 0; c < 3; ++c)
              ASSERT_EQ(p.at(x, y, c), colours[f][c] >> 4) << "phase " << phase << ", " << method << ", frame "
                                                           << f + 1 << ", pixel " << x << "," << y << ", channel " << c;
      }
    }
  }
}

TEST(Deinterlace, FieldLinesLandOnTheirParity) {
  ScratchDir dir;
  // One Y8 field of three uniform lines 16, 32, 48, four pixels wide at a
  // stride of 6: the frame keeps that stride, and its padding must not show.
  std::vector<uint8_t> field;
  for (uint8_t v : {16, 32, 48}) field.insert(field.end(), {v, v, v, v, 99, 99});
  test::WriteFile(dir / "field.raw", field);
  const struct {
    const char* method;
    const char* parity;
    const char* output;
    std::vector<uint8_t> lines;
  } cases[] = {
      {"linedup", "odd", "f.tif", {16, 16, 16, 32, 32, 48}},
      {"linedup", "even", "f.png", {16, 16, 32, 32, 48, 48}},
      {"lineave", "odd", "f.png", {16, 16, 24, 32, 40, 48}},
      {"lineave", "even", "f.tif", {16, 24, 32, 40, 48, 48}},
  };
  for (const auto& c : cases) {
    const test::Run r = dir.Qvi(std::string("deinterlace field.raw --width 4 --height 3 --stride 6 --format Y8 ") +
                                "--method " + c.method + " --parity " + c.parity + " -o " + c.output);
    ASSERT_EQ(r.exit_code, 0) << r.err;
    const Picture p = ReadPicture(dir / c.output);
    ASSERT_EQ(std::tie(p.width, p.height), std::make_tuple(4u, 6u));
    for (uint32_t y = 0; y < 6; ++y)
      for (uint32_t x = 0; x < 4; ++x)
        EXPECT_EQ(p.at(x, y, 0), c.lines[y]) << c.method << " " << c.parity << " " << c.output << " " << x << "," << y;
  }

  // Luma/chroma frames are converted to BGR24 for a picture: a field of luma
  // 200 and neutral chroma, 3 pixels wide (8 bytes a line, as pairs round
  // up), gives grey 200.
  std::vector<uint8_t> yuv_field;
  for (int i = 0; i < 8; ++i) yuv_field.insert(yuv_field.end(), {200, 128});
  test::WriteFile(dir / "yuv.raw", yuv_field);
  const test::Run yuv =
      dir.Qvi("deinterlace yuv.raw --width 3 --height 2 --format YUV422 --method median --parity odd -o yuv.png");
  ASSERT_EQ(yuv.exit_code, 0) << yuv.err;
  const Picture p = ReadPicture(dir / "yuv.png");
  ASSERT_EQ(std::tie(p.width, p.height), std::make_tuple(3u, 4u));
  EXPECT_EQ(p.pixels, std::vector<uint8_t>(3 * 4 * 3, 200));
}

// Mean absolute difference of two pictures of the same size, per sample.
double MeanDifference(const Picture& a, const Picture& b) {
  double sum = 0;
  for (size_t i = 0; i < a.pixels.size(); ++i) sum += std::abs(a.pixels[i] - b.pixels[i]);
  return sum / static_cast<double>(a.pixels.size());
}

TEST(Demo, WritesItsFilesAndTable) {
  ScratchDir dir;
  const test::Run r = dir.Qvi("demo --out out --pictures pics");
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const std::vector<std::string> files{"capture-bay12.raw", "deinterlace-bilinear.tif", "demosaic-ave.tif",
                                       "demosaic-dup.tif",  "demosaic-med.tif",         "scene.tif"};
  EXPECT_EQ(dir.Entries("out"), files);
  EXPECT_EQ(std::filesystem::file_size(dir / "out/capture-bay12.raw"), 1024u * 768 * 2);
  const Picture scene = ReadPicture(dir / "out/scene.tif");
  for (const std::string& name : files) {
    EXPECT_NE(r.out.find("  " + name + " "), std::string::npos) << "the table names " << name << "\n" << r.out;
    if (name.ends_with(".raw")) continue;
    const Picture p = ReadPicture(dir / ("out/" + name));
    ASSERT_EQ(std::tie(p.width, p.height, p.channels), std::make_tuple(1024u, 768u, 3u)) << name;
    // Demosaicing errs at fine detail only: every result stays within about
    // 16 levels of the scene on average, while decoding the capture with a
    // wrong phase gives 48 or more.
    EXPECT_LT(MeanDifference(p, scene), 25.0) << name;
  }
  // The capture converts like any other, by ave unless told otherwise.
  const test::Run again =
      dir.Qvi("convert out/capture-bay12.raw --width 1024 --height 768 --format BAY12 --phase A -o a.tif");
  ASSERT_EQ(again.exit_code, 0) << again.err;
  EXPECT_EQ(ReadPicture(dir / "a.tif").pixels, ReadPicture(dir / "out/demosaic-ave.tif").pixels);
  EXPECT_EQ(dir.Entries("pics"), (std::vector<std::string>{"demosaic-methods.png", "scene.png"}));
  EXPECT_GT(ReadPicture(dir / "pics/demosaic-methods.png").width, 0u);
  const Picture overview = ReadPicture(dir / "pics/scene.png");
  EXPECT_EQ(std::tie(overview.width, overview.height), std::make_tuple(512u, 384u));
}

}  // namespace
}  // namespace qvi::tool
