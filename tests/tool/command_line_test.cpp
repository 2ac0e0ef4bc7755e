// The qvi program run as a user runs it: exit statuses, messages, files left
// behind, files read back with libtiff and libpng; then what no run reaches.
#include <gtest/gtest.h>
#include <png.h>
#include <sys/stat.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <tuple>

#include "formats.h"
#include "output.h"
#include "scene.h"
#include "support/qvi_program.h"

namespace qvi::tool {
namespace {

using ScratchDir = test::QviDir;

// Writes the items as they lie in memory: 16-bit samples as native words, as the library reads them.
template <typename T>
void WriteFile(const std::string& path, const std::vector<T>& items) {
  std::ofstream f(path, std::ios::binary);
  if (!f.write(reinterpret_cast<const char*>(items.data()), static_cast<std::streamsize>(items.size() * sizeof(T))))
    throw std::runtime_error("cannot write " + path);
}

struct Picture {
  uint32_t width = 0, height = 0, channels = 0;
  std::vector<uint8_t> pixels;  // rows without padding; red, green, blue order
};

// Reads a .png file with libpng as 8-bit RGB, anything else as an 8-bit grey
// or RGB TIFF file with libtiff; fails the test if the library cannot.
Picture ReadPicture(const std::string& path) {
  Picture p;
  if (path.ends_with(".png")) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str())) {
      image.format = PNG_FORMAT_RGB;
      p = {image.width, image.height, 3, std::vector<uint8_t>(PNG_IMAGE_SIZE(image))};
      if (png_image_finish_read(&image, nullptr, p.pixels.data(), 0, nullptr)) return p;
    }
    ADD_FAILURE() << "libpng cannot read " << path << ": " << image.message;
    return p;
  }
  TIFFSetWarningHandler(nullptr);
  TIFF* tif = TIFFOpen(path.c_str(), "r");
  if (!tif) {
    ADD_FAILURE() << "libtiff cannot open " << path;
    return p;
  }
  uint16_t bits = 0, samples = 0;
  TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &p.width);
  TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &p.height);
  TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
  EXPECT_EQ(bits, 8) << path;
  p.channels = samples;
  p.pixels.resize(size_t{p.width} * p.height * samples);
  for (uint32_t y = 0; y < p.height; ++y)
    if (TIFFReadScanline(tif, p.pixels.data() + size_t{y} * p.width * samples, y) < 0) {
      ADD_FAILURE() << "libtiff cannot read line " << y << " of " << path;
      break;
    }
  TIFFClose(tif);
  return p;
}

// Reads `path` back and checks its size and every sample at least `margin`
// pixels from the border against want(x, y, channel).
template <typename Want>
void ExpectPicture(const std::string& path, uint32_t w, uint32_t h, uint32_t channels, Want want, uint32_t margin = 0) {
  const Picture p = ReadPicture(path);
  ASSERT_EQ(std::tie(p.width, p.height, p.channels), std::tie(w, h, channels)) << path;
  for (uint32_t y = margin; y + margin < h; ++y)
    for (uint32_t x = margin; x + margin < w; ++x)
      for (uint32_t c = 0; c < channels; ++c)
        ASSERT_EQ(int{p.pixels[(size_t{y} * w + x) * channels + c]}, static_cast<int>(want(x, y, c)))
            << path << " at " << x << "," << y << ", channel " << c;
}

TEST(CommandLine, AnswersHelpAndWrongUseWithStatusAndWordsLeavingNothingBehind) {
  ScratchDir dir;
  WriteFile(dir / "g.raw", std::vector<uint8_t>(2 * 6 * 16));  // two 8 x 6 Y12 frames
  WriteFile(dir / "b.raw", std::vector<uint8_t>(6 * 16));      // one 8 x 6 BAY12 frame
  WriteFile(dir / "e.raw", std::vector<uint8_t>());
  std::filesystem::create_directory(dir / "d.tif");
  const std::string g = "convert g.raw -o o.tif ", grey = "convert g.raw --width 8 --height 6 --format Y12 ";
  const std::string tif = grey + "-o o.tif ", bay = "convert b.raw -o o.tif --format BAY12 --phase A ";
  const std::string fields = "deinterlace g.raw -o o.tif --width 8 --height 6 --format Y12 ";
  struct Case {
    std::string args;
    int exit_code;
    const char* message;  // on stdout after exit status 0, else on stderr
  };
  std::vector<Case> cases = {
      {"--help", 0, "Usage: qvi [OPTIONS] SUBCOMMAND"},
      {"convert --help", 0, "Usage: qvi convert"},
      {"demo -h", 0, "Usage: qvi demo"},
      {"", 2, "subcommand"},
      {"frobnicate", 2, "frobnicate is not a command"},
      {g + "--height 6 --format Y12", 2, "--width is required"},
      {g + "--width abc --height 6 --format Y12", 2, "abc"},
      {g + "--width 8 --height 6 --format Y13", 2, "Y13 is not a pixel format"},
      {tif + "--method fast", 2, "fast"},
      {tif + "--to RGB", 2, "RGB is not a pixel format"},
      {g + "--width 8 --height 5 --format Y12", 1, "not a whole number of frames of 5 lines x 16 bytes"},
      {tif + "--stride 3", 1, "--stride 3 is smaller than one line"},
      {g + "--width 8 --height 0 --format Y8", 1, "--height must be at least 1"},
      {g + "--width 2147483648 --height 1 --format Y16", 1, "--width 2147483648 is too wide"},
      {g + "--width 65536 --height 65536 --format Y8", 1, "exceeds the 4 GiB"},
      {g + "--width 65536 --height 1 --format Y8", 1, "at most 65535 pixels a side"},
      // The widest line the library addresses passes, to meet the TIFF limit.
      {g + "--width 4294967295 --height 1 --format Y8", 1, "at most 65535 pixels a side"},
      {tif + "--to BGR36", 1, "no conversion from Y12 to BGR36: STATUS_BAD_PARAMETER (10: the pair of formats"},
      {tif + "--to RGB24", 1, "red and blue would come out exchanged"},
      {grey + "-o o.png --to BGRX32", 1, "PNG files are written from Y8 or BGR24 pixels, not BGRX32"},
      {grey + "-o o.bmp", 1, "--output o.bmp: the name must end in"},
      {grey + "-o nodir/o.tif", 1, "output folder nodir does not exist"},
      {grey + "-o d.tif", 1, "output d.tif is a folder"},
      {tif + "--phase A", 1, "--phase applies to Bayer input only"},
      {"convert missing.raw -o o.tif --width 8 --height 6 --format Y8", 1, "cannot read input missing.raw"},
      {"convert e.raw -o o.tif --width 8 --height 6 --format Y8", 1, "input e.raw is empty"},
      {"convert d.tif -o o.tif --width 8 --height 6 --format Y8", 1, "input d.tif is a directory"},
      {"convert b.raw -o o.tif --width 8 --height 6 --format BAY12", 1, "--phase is needed for Bayer input"},
      {bay + "--width 1 --height 48", 1, "a Bayer capture needs --width and --height of at least 2"},
      {"convert b.raw -o o.raw --width 8 --height 6 --format BAY12 --phase A --method ave --to RGBX32", 1,
       "from BAY12 to RGBX32 does not take --method ave --phase A: STATUS_BAD_BAYER_MODE (3: "},
      {fields, 2, "--parity is required"},
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
#ifdef QVI_WITH_ARAVIS
  // Wrong use of qvi grab is answered before any camera is looked for: these
  // runs send nothing on any network (192.0.2.1 is a documentation address);
  // the tests that do look for cameras run in a private network namespace.
  const std::string grab = "grab --address 192.0.2.1 ";
  cases.insert(cases.end(), {
      {"grab", 2, "give the camera as --camera NAME or --address IP"},
      {"grab --camera c " + grab, 2, "excludes"},
      {grab + "--to Y13", 2, "Y13 is not a pixel format"},
      {grab + "--threads 0", 2, "--threads"},
      {grab + "--method fast", 2, "fast"},
      {grab + "--frames 0", 1, "--frames 0 asks for no frame"},
      {grab + "--width 64", 1, "--width and --height go together"},
      {grab + "--fps 0", 1, "--fps 0 is not a frame rate"},
      {grab + "--timeout 0", 1, "--timeout must be more than 0 seconds"},
      {grab + "-o o.bmp", 1, "-o o.bmp: the name must end in"},
      {grab + "-o nodir/o.tif", 1, "output folder nodir does not exist"},
      {"grab --address 192.0.2.300", 1, "192.0.2.300 is not an IPv4 address"},
  });
#endif
  for (const auto& c : cases) {
    const auto r = dir.Qvi(c.args);
    EXPECT_EQ(r.exit_code, c.exit_code) << c.args << "\n" << r.err;
    EXPECT_NE((c.exit_code == 0 ? r.out : r.err).find(c.message), std::string::npos) << c.args << "\n" << r.err;
    EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"b.raw", "d.tif", "e.raw", "g.raw"})) << c.args;
  }
}

TEST(CommandLine, FormatsListsFormatsAndConversions) {
  const auto r = ScratchDir().Qvi("formats");
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
  const auto sample = [](uint32_t f, uint32_t x, uint32_t y) { return f * 2048 + y * 512 + x * 64 + 15; };
  std::vector<uint16_t> words;
  for (uint32_t f = 0; f < 2; ++f)
    for (uint32_t y = 0; y < 3; ++y)
      for (uint32_t x = 0; x < 6; ++x) words.push_back(static_cast<uint16_t>(x < 5 ? sample(f, x, y) : 0xFFF));
  WriteFile(dir / "grey.raw", words);
  std::filesystem::create_directory(dir / "sub.d");
  // Names are typed in any case; a format may carry the header's prefix.
  const auto r = dir.Qvi("convert grey.raw --width 5 --height 3 --stride 12 --format fmt_y12 -o sub.d/g.TIFF");
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, "qvi convert: 2 frames, 5 x 3 Y12 to Y8 TIFF, written to sub.d/g-001.TIFF .. sub.d/g-002.TIFF\n");
  EXPECT_EQ(dir.Entries("sub.d"), (std::vector<std::string>{"g-001.TIFF", "g-002.TIFF"}));
  const mode_t mask = ::umask(0);  // outputs get the usual permissions, not those of a temporary file
  ::umask(mask);
  EXPECT_EQ(std::filesystem::status(dir / "sub.d/g-001.TIFF").permissions(), std::filesystem::perms(0666 & ~mask));
  for (uint32_t f = 0; f < 2; ++f)
    ExpectPicture(dir / ("sub.d/g-00" + std::to_string(f + 1) + ".TIFF"), 5, 3, 1,
                  [&](uint32_t x, uint32_t y, uint32_t) { return sample(f, x, y) >> 4; });
}

// A raw Bayer capture of two flat-coloured 8 x 6 frames at a stride of 20 bytes,
// for every phase and method: away from the border (where some demosaic members
// follow rules of their own) a flat colour comes through any demosaic
// unchanged, so each pixel written must be that colour, in red, green, blue.
TEST(Convert, BayerCaptureRoundTripsToFilesThatLibtiffAndLibpngRead) {
  const uint16_t colours[2][3] = {{0xFF0, 0x100, 0x010}, {0x010, 0x800, 0xFF0}};  // 12-bit R, G, B
  const BayerPhase phases[] = {BAYER_PHASE_A, BAYER_PHASE_B, BAYER_PHASE_C, BAYER_PHASE_D};
  for (int i = 0; i < 4; ++i) {
    ScratchDir dir;
    std::vector<uint16_t> words;
    for (const auto& colour : colours)
      for (uint32_t y = 0; y < 6; ++y)
        for (uint32_t x = 0; x < 10; ++x) words.push_back(x < 8 ? colour[BayerChannel(phases[i], x, y)] : 0xABC);
    WriteFile(dir / "capture.raw", words);
    for (const std::string method : {"dup", "ave", "med"}) {
      const std::string type = method == "ave" ? ".png" : ".tif";  // PNG files are the tool's own
      const auto r = dir.Qvi("convert capture.raw --width 8 --height 6 --stride 20 --format BAY12 --phase " +
                                  std::string(1, "ABCD"[i]) + " --method " + method + " -o c-" + method + type);
      ASSERT_EQ(r.exit_code, 0) << r.err;
      for (int f = 0; f < 2; ++f)
        ExpectPicture(dir / ("c-" + method + "-00" + std::to_string(f + 1) + type), 8, 6, 3,
                      [&](uint32_t, uint32_t, uint32_t c) { return colours[f][c] >> 4; }, 1);
    }
  }
}

TEST(Deinterlace, FieldLinesLandOnTheirParity) {
  ScratchDir dir;
  // A Y8 field of lines 16, 32, 48, four pixels wide at a stride of 6: the
  // frame keeps that stride, and its padding must not show.
  WriteFile(dir / "field.raw",
            std::vector<uint8_t>{16, 16, 16, 16, 99, 99, 32, 32, 32, 32, 99, 99, 48, 48, 48, 48, 99, 99});
  // Luma/chroma frames become BGR24 pictures: luma 200 and neutral chroma (bytes
  // 200, 128 in each little-endian word), 3 pixels wide (8 bytes a line, as
  // pairs round up), give grey 200.
  WriteFile(dir / "yuv.raw", std::vector<uint16_t>(8, 128 << 8 | 200));
  const std::string y8 = "field.raw --width 4 --height 3 --stride 6 --format Y8 --method ";
  const struct {
    std::string args;
    const char* output;
    uint32_t width, channels;
    std::vector<uint8_t> lines;
  } cases[] = {
      {y8 + "linedup --parity odd", "f.tif", 4, 1, {16, 16, 16, 32, 32, 48}},
      {y8 + "linedup --parity even", "f.png", 4, 3, {16, 16, 32, 32, 48, 48}},
      {y8 + "lineave --parity odd", "f.png", 4, 3, {16, 16, 24, 32, 40, 48}},
      {y8 + "lineave --parity even", "f.tif", 4, 1, {16, 24, 32, 40, 48, 48}},
      {"yuv.raw --width 3 --height 2 --format YUV422 --method median --parity odd", "yuv.png", 3, 3,
       {200, 200, 200, 200}},
  };
  for (const auto& c : cases) {
    const auto r = dir.Qvi("deinterlace " + c.args + " -o " + c.output);
    ASSERT_EQ(r.exit_code, 0) << c.args << "\n" << r.err;
    ExpectPicture(dir / c.output, c.width, static_cast<uint32_t>(c.lines.size()), c.channels,
                  [&](uint32_t, uint32_t y, uint32_t) { return c.lines[y]; });
  }
}

TEST(Demo, WritesItsFilesAndTable) {
  ScratchDir dir;
  const auto r = dir.Qvi("demo --out out --pictures pics");
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const std::vector<std::string> files{"capture-bay12.raw", "deinterlace-bilinear.tif", "demosaic-ave.tif",
                                       "demosaic-dup.tif",  "demosaic-med.tif",         "scene.tif"};
  EXPECT_EQ(dir.Entries("out"), files);
  EXPECT_EQ(dir.Entries("pics"), (std::vector<std::string>{"demosaic-methods.png", "scene.png"}));
  const Picture scene = ReadPicture(dir / "out/scene.tif");
  for (const std::string& name : files) {
    EXPECT_NE(r.out.find("  " + name + " "), std::string::npos) << "the table names " << name << "\n" << r.out;
    if (name.ends_with(".raw")) continue;
    const Picture p = ReadPicture(dir / ("out/" + name));
    ASSERT_EQ(std::tie(p.width, p.height, p.channels), std::make_tuple(1024u, 768u, 3u)) << name;
    // Demosaicing errs at fine detail only: every result stays within about
    // 16 levels of the scene on average, while decoding the capture with a
    // wrong phase gives 48 or more.
    double sum = 0;
    for (size_t i = 0; i < p.pixels.size(); ++i) sum += std::abs(p.pixels[i] - scene.pixels[i]);
    EXPECT_LT(sum / static_cast<double>(p.pixels.size()), 25.0) << name;
  }
  // The capture is one frame and converts like any other, by ave by default.
  const auto again =
      dir.Qvi("convert out/capture-bay12.raw --width 1024 --height 768 --format BAY12 --phase A -o a.tif");
  ASSERT_EQ(again.exit_code, 0) << again.err;
  EXPECT_EQ(ReadPicture(dir / "a.tif").pixels, ReadPicture(dir / "out/demosaic-ave.tif").pixels);
  ReadPicture(dir / "pics/demosaic-methods.png");
  const Picture overview = ReadPicture(dir / "pics/scene.png");
  EXPECT_EQ(std::tie(overview.width, overview.height), std::make_tuple(512u, 384u));
}

// The words for a status no run meets, and output limits and staging at their edges.
TEST(Internals, HoldWhereNoRunReaches) {
  EXPECT_EQ(DescribeStatus(4), "an unknown status (4: not a status of this library)");
  EXPECT_EQ(NumberedPath("d.x/o.raw", 41, 1000), "d.x/o-0042.raw");  // as many digits as the count needs
  EXPECT_NO_THROW(CheckWritable(FileType::kPng, FMT_BGR24, 65535, 65535));
  EXPECT_NO_THROW(CheckWritable(FileType::kRaw, FMT_BAY12, 70000, 1));
  // Unfinished files lie beside their final names, so that renaming is atomic.
  const ScratchDir dir;
  const std::filesystem::path final_path = dir / "a.raw";
  OutputSet set;
  EXPECT_EQ(std::filesystem::path(set.Stage(final_path)).parent_path(), final_path.parent_path());
}

}  // namespace
}  // namespace qvi::tool
