// TIFF files: byte-exact layout, the deliberate oddities, the files left by
// refused formats, and every pixel read back by libtiff.
#include <tiffio.h>

#include <memory>
#include <random>

#include "file/file_test_support.h"
#include "file/tiff_strip.h"

namespace qvi::test {
namespace {

class Tiff : public FileTest {
 protected:
  std::vector<uint8_t> Write(TestImage& image, Status expected = STATUS_OK) {
    EXPECT_EQ(QVI_FileWriteTiff(image.handle(), Path("image.tif").c_str()), expected);
    return ReadFile(Path("image.tif"));
  }
};

uint32_t BigEndian32(const std::vector<uint8_t>& b, size_t at) {
  return uint32_t{b.at(at)} << 24 | uint32_t{b.at(at + 1)} << 16 | uint32_t{b.at(at + 2)} << 8 | b.at(at + 3);
}

TEST_F(Tiff, AGreyFileIsExactlyTheseBytes) {
  TestImage image(FMT_Y8, 3, 2, 4);
  Fill(image, {1, 2, 3, 0xEE, 4, 5, 6, 0xEE});  // the fourth byte of each line is padding
  const std::vector<uint8_t> expected = {
      0x4D, 0x4D, 0x00, 0x2A, 0x00, 0x00, 0x00, 0x08, 0x00, 0x0D,              // header, 13 entries
      0x00, 0xFE, 0x00, 0x04, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00,  // NewSubfileType
      0x01, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01, 0x00, 0x03, 0x00, 0x00,  // ImageWidth 3
      0x01, 0x01, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x00,  // ImageLength 2
      0x01, 0x02, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01, 0x00, 0x08, 0x00, 0x00,  // BitsPerSample 8
      0x01, 0x03, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00,  // Compression 1
      0x01, 0x06, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00,  // Photometric 1
      0x01, 0x11, 0x00, 0x04, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xBA,  // StripOffsets 186
      0x01, 0x15, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00,  // SamplesPerPixel 1
      0x01, 0x16, 0x00, 0x04, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02,  // RowsPerStrip 2
      0x01, 0x17, 0x00, 0x04, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x06,  // StripByteCounts 6
      0x01, 0x1A, 0x00, 0x05, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xAA,  // XResolution at 170
      0x01, 0x1B, 0x00, 0x05, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xB2,  // YResolution at 178
      0x01, 0x28, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00,  // ResolutionUnit 1
      0x00, 0x00, 0x00, 0x00,                                                  // no next directory
      0x00, 0x00, 0x01, 0x2C, 0x00, 0x00, 0x00, 0x01,                          // 300/1
      0x00, 0x00, 0x01, 0x2C, 0x00, 0x00, 0x00, 0x01,                          // 300/1
      1, 2, 3, 4, 5, 6};
  EXPECT_EQ(Write(image), expected);
}

TEST_F(Tiff, ColourCodesShareOnePathThatReversesEachPixel) {
  std::vector<uint8_t> files[2];
  for (int i : {0, 1}) {
    TestImage image(i == 0 ? FMT_BGR24 : FMT_RGB24, 2, 1, 6);
    Fill(image, {10, 20, 30, 40, 50, 60});
    files[i] = Write(image);
  }
  EXPECT_EQ(files[0][9], 14);  // entries
  EXPECT_EQ(std::vector<uint8_t>(files[0].begin() + 204, files[0].end()),
            (std::vector<uint8_t>{30, 20, 10, 60, 50, 40}));
  EXPECT_EQ(files[0], files[1]);
}

// ImageWidth and ImageLength are SHORTs holding the low 16 bits; RowsPerStrip
// and StripByteCounts carry all 32.
TEST_F(Tiff, WidthAndHeightAreCutToSixteenBits) {
  for (auto [w, h] : {std::pair{70000u, 1u}, {1u, 70000u}}) {
    TestImage image(FMT_Y8, w, h, w);
    const std::vector<uint8_t> file = Write(image);
    ASSERT_EQ(file.size(), 186u + 70000u);
    EXPECT_EQ(BigEndian32(file, 30), (w & 0xFFFF) << 16);
    EXPECT_EQ(BigEndian32(file, 42), (h & 0xFFFF) << 16);
    EXPECT_EQ(BigEndian32(file, 114), h);
    EXPECT_EQ(BigEndian32(file, 126), 70000u);
  }
}

TEST_F(Tiff, RefusedFormatsLeaveWhatWasWrittenBeforeTheRefusal) {
  TestImage grey8(FMT_Y8, 3, 2, 6, 0, 9), grey16(FMT_Y16, 3, 2, 6, 0, 9);
  std::vector<uint8_t> expected = Write(grey8);
  expected.resize(130);  // header and ten entries, StripByteCounts the last
  expected[55] = 16;     // BitsPerSample
  expected[93] = 0;      // StripOffsets, never patched
  EXPECT_EQ(Write(grey16, STATUS_BAD_BUFFER), expected);

  // Whole codes are compared: a right low byte in another family is unknown.
  for (uint32_t format : {1u, FMT_Y32, FMT_BGRX32, 0xD0022601u}) {
    TestImage image(format, 2, 2, 8);
    EXPECT_EQ(Write(image, STATUS_BAD_FORMAT), (std::vector<uint8_t>{0x4D, 0x4D, 0, 0x2A, 0, 0, 0, 8}));
  }
}

// Lines outside stride x height bytes are written as zeros.
TEST_F(Tiff, PixelsOutsideTheBufferBecomeZeros) {
  TestImage overlapping(FMT_Y8, 4, 3, 2);  // 4-byte lines 2 bytes apart in 6 bytes
  Fill(overlapping, {1, 2, 3, 4, 5, 6});
  std::vector<uint8_t> file = Write(overlapping);
  EXPECT_EQ(std::vector<uint8_t>(file.begin() + 186, file.end()),
            (std::vector<uint8_t>{1, 2, 3, 4, 3, 4, 5, 6, 0, 0, 0, 0}));
  TestImage no_memory(FMT_BGR24, 2, 2, 6);
  no_memory.params().address = 0;
  file = Write(no_memory);
  EXPECT_EQ(std::vector<uint8_t>(file.begin() + 204, file.end()), std::vector<uint8_t>(12, 0));
}

// The 16-bit stage the writer never reaches: high byte first, lines at the
// stride rounded down to even.
TEST(TiffStrip, SixteenBitSamplesGoHighByteFirst) {
  uint8_t memory[] = {0x34, 0x12, 0x78, 0x56, 0xBC, 0x9A, 0x01, 0x00, 0xEE, 0xEE};
  std::unique_ptr<FILE, int (*)(FILE*)> stream(std::tmpfile(), std::fclose);
  file::tiff::WriteStrip(stream.get(), {memory, 2, 2, 5}, file::tiff::Pixels::Grey16BigEndian);
  std::rewind(stream.get());
  std::vector<uint8_t> written(16);
  written.resize(std::fread(written.data(), 1, written.size(), stream.get()));
  EXPECT_EQ(written, (std::vector<uint8_t>{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0x00, 0x01}));
}

TEST_F(Tiff, LibtiffReadsBackEveryPixel) {
  TIFFSetWarningHandler(nullptr);
  struct Case {
    uint32_t format, width, height, stride;
  };
  const Case cases[] = {{FMT_Y8, 1, 1, 1},    {FMT_Y8, 7, 5, 7},      {FMT_Y8, 13, 4, 16},
                        {FMT_BGR24, 1, 1, 3}, {FMT_BGR24, 9, 6, 32},  {FMT_RGB24, 11, 2, 33}};
  std::mt19937 rng(6);
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << c.format << std::dec << " " << c.width << "x" << c.height);
    TestImage image(c.format, c.width, c.height, c.stride);
    for (uint8_t& b : image.bytes()) b = static_cast<uint8_t>(rng());
    Write(image);
    std::unique_ptr<TIFF, void (*)(TIFF*)> tif(TIFFOpen(Path("image.tif").c_str(), "r"), TIFFClose);
    ASSERT_NE(tif, nullptr);
    const uint16_t samples = c.format == FMT_Y8 ? 1 : 3;
    auto field = [&tif]<class T>(ttag_t tag, T value) { TIFFGetField(tif.get(), tag, &value); return value; };
    EXPECT_EQ(field(TIFFTAG_IMAGEWIDTH, 0u), c.width);
    EXPECT_EQ(field(TIFFTAG_IMAGELENGTH, 0u), c.height);
    EXPECT_EQ(field(TIFFTAG_PHOTOMETRIC, uint16_t{0}), samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    EXPECT_EQ(field(TIFFTAG_SAMPLESPERPIXEL, uint16_t{0}), samples);
    EXPECT_EQ(field(TIFFTAG_BITSPERSAMPLE, uint16_t{0}), 8);
    ASSERT_EQ(TIFFScanlineSize(tif.get()), tmsize_t{c.width} * samples);
    std::vector<uint8_t> line(c.width * samples);
    for (uint32_t y = 0; y < c.height; ++y) {
      ASSERT_EQ(TIFFReadScanline(tif.get(), line.data(), y), 1);
      // Sample s of a pixel is memory byte (samples - 1 - s): BGR24 reads as
      // RGB, and RGB24 deliberately with red and blue exchanged.
      for (uint32_t i = 0; i < line.size(); ++i)
        ASSERT_EQ(line[i], image.line(y)[i / samples * samples + samples - 1 - i % samples]) << i << "," << y;
    }
  }
}

}  // namespace
}  // namespace qvi::test
