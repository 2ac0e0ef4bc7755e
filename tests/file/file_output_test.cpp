// File output: the byte-order writers, QVI_FileWrite and QVI_FileWriteTiff:
// queries and refusals, the raw dump's bytes, the TIFF layout byte for byte,
// every pixel read back by libtiff, and failures that leave no stream open.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <memory>
#include <numeric>
#include <random>

#include "file/tiff_writer.h"
#include "support/image.h"
#include "support/scratch_dir.h"

namespace qvi::test {
namespace {

class FileOutput : public FileTest {
 protected:
  std::vector<uint8_t> Read(const std::string& name) const { return ReadFile(Path(name)); }
  std::vector<uint8_t> WriteTiff(TestImage& image, Status expected = STATUS_OK) {
    EXPECT_EQ(QVI_FileWriteTiff(image.handle(), Path("image.tif").c_str()), expected);
    return Read("image.tif");
  }
};

// On an unbuffered stream that refuses the byte 0xEE.
TEST(ByteOrder, WritersPutTheirBytesInOrderAndReportTheLastPutcOnly) {
  using Case = std::tuple<int (*)(FILE*, uint32_t), uint32_t, std::vector<uint8_t>, int>;
  const Case cases[] = {
      {QVI_fput_ui8, 0x11223344, {0x44}, 0x44},
      {QVI_fput_ui16i, 0x11223344, {0x44, 0x33}, 0x33},
      {QVI_fput_ui32i, 0x11223344, {0x44, 0x33, 0x22, 0x11}, 0x11},
      {QVI_fput_ui16m, 0x11223344, {0x33, 0x44}, 0x44},
      {QVI_fput_ui32m, 0x11223344, {0x11, 0x22, 0x33, 0x44}, 0x44},
      {QVI_fput_ui32i, 0xFF000000, {0x00, 0x00, 0x00, 0xFF}, 255},  // not EOF
      {QVI_fput_ui8, 0x12EE, {}, EOF},
      {QVI_fput_ui16i, 0xEE12, {0x12}, EOF},
      {QVI_fput_ui16m, 0xEE12, {0x12}, 0x12},  // a failed earlier byte goes unreported
      {QVI_fput_ui32m, 0xEEEE0012, {0x00, 0x12}, 0x12},
  };
  static std::vector<uint8_t> arrived;
  cookie_io_functions_t io{};
  io.write = [](void*, const char* bytes, size_t n) -> ssize_t {
    if (static_cast<uint8_t>(bytes[0]) == 0xEE) return -1;
    arrived.insert(arrived.end(), bytes, bytes + n);
    return static_cast<ssize_t>(n);
  };
  for (const auto& [put, value, bytes, result] : cases) {
    arrived.clear();
    FILE* stream = fopencookie(nullptr, "w", io);
    setvbuf(stream, nullptr, _IONBF, 0);
    EXPECT_EQ(put(stream, value), result) << std::hex << value;
    fclose(stream);
    EXPECT_EQ(arrived, bytes) << std::hex << value;
  }
}

// The width is never consulted; a height or stride of 0 gives an empty file;
// the stride query's status is the result.
TEST_F(FileOutput, RawDumpHoldsEveryLineWithItsPadding) {
  for (auto [w, h, stride] : {std::tuple{3u, 2u, 5u}, {0u, 4u, 3u}, {2u, 0u, 8u}, {2u, 3u, 0u}}) {
    TestImage image(FMT_BGR24, w, h, stride, /*slack=*/16);
    std::iota(image.bytes().begin(), image.bytes().end(), uint8_t{1});
    ASSERT_EQ(QVI_FileWrite(image.handle(), Path("a").c_str(), FILE_KIND_RAW), STATUS_OK);
    EXPECT_EQ(Read("a"), std::vector<uint8_t>(image.bytes().begin(), image.bytes().end() - 16));
  }
  TestImage image(FMT_Y8, 2, 2, 2);
  SetQueryStatus(99);  // answers still arrive
  EXPECT_EQ(QVI_FileWrite(image.handle(), Path("b").c_str(), FILE_KIND_RAW), 99u);
  EXPECT_EQ(Read("b").size(), 4u);
}

TEST_F(FileOutput, AsksInOrderAndRefusesBeforeOpeningAnything) {
  constexpr auto V = BUF_PARAM_VALID, A = BUF_PARAM_ADDRESS, H = BUF_PARAM_HEIGHT, S = BUF_PARAM_STRIDE,
                 F = BUF_PARAM_FORMAT, W = BUF_PARAM_WIDTH;
  using Case = std::tuple<uint64_t, uint64_t, uint32_t, FileKind, Status, std::vector<BufferParameter>>;
  for (const auto& [valid, address, format, kind, status, queries] : {
           Case{1, 1, FMT_Y8, FILE_KIND_RAW, STATUS_OK, {V, A, H, S}},
           Case{1, 1, FMT_Y8, FILE_KIND_TIFF, STATUS_OK, {V, V, F, A, H, W, S}},
           Case{1, 0, FMT_Y8, FILE_KIND_RAW, STATUS_BAD_BUFFER, {V, A}},
           Case{1, 1, 0, FILE_KIND_TIFF, STATUS_BAD_BUFFER, {V, V, F}},
           Case{0, 1, FMT_Y8, FILE_KIND_TIFF, STATUS_BAD_BUFFER, {V}},
           Case{0, 1, FMT_Y8, 4, STATUS_BAD_BUFFER, {V}},  // validity first, whatever the kind
           Case{1, 1, FMT_Y8, 0, STATUS_BAD_PARAMETER, {V}},
           Case{1, 1, FMT_Y8, 4, STATUS_BAD_PARAMETER, {V}}}) {
    SCOPED_TRACE(testing::Message() << "valid " << valid << " address " << address << " kind " << kind);
    TestImage image(format, 2, 2, 2);
    image.params().valid = valid;
    if (address == 0) image.params().address = 0;
    ClearQueryLog();
    EXPECT_EQ(QVI_FileWrite(image.handle(), Path("f").c_str(), kind), status);
    std::vector<BufferParameter> asked;
    for (const Query& q : QueryLog()) asked.push_back(q.id);
    EXPECT_EQ(asked, queries);
    EXPECT_EQ(std::filesystem::remove(Path("f")), status == STATUS_OK);
  }
}

// /dev/full takes nothing.  A dump that fits the stream's buffer fails only
// when fclose flushes it, a larger one in fwrite; the TIFF writer's failed
// writes, small or large, surface when the file is closed.  A pipe has no
// position: the first ftell fails, and what was written up to it (header,
// entry count, the entries before the first placeholder and its tag, type and
// count) reaches the reader.  No failure leaves a stream open, and a path of
// any length is safe.
TEST_F(FileOutput, ReportsEachFailureWhereItSurfacesAndClosesTheStream) {
  const std::string missing = Path("no-such-dir/x"), very_long = Path(std::string(5000, 'x')), file = Path("t"),
                    fifo = Path("pipe");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const char* full = "/dev/full";
  const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
  const auto before = descriptors();
  // Kind, format, a size x size image, path, status and the bytes the pipe passes on.
  using Case = std::tuple<FileKind, uint32_t, uint32_t, const char*, Status, ssize_t>;
  for (const auto& [kind, format, size, path, status, piped] : {
           Case{FILE_KIND_RAW, FMT_Y8, 4, missing.c_str(), STATUS_OPEN_FAILED, 0},
           Case{FILE_KIND_TIFF, FMT_Y8, 4, very_long.c_str(), STATUS_OPEN_FAILED, 0},
           Case{FILE_KIND_TIFF, FMT_Y8, 4, nullptr, STATUS_OPEN_FAILED, 0},
           Case{FILE_KIND_RAW, FMT_Y8, 4, full, STATUS_CLOSE_FAILED, 0},
           Case{FILE_KIND_RAW, FMT_Y8, 1024, full, STATUS_WRITE_FAILED, 0},
           Case{FILE_KIND_TIFF, FMT_Y8, 4, full, STATUS_CLOSE_FAILED, 0},
           Case{FILE_KIND_TIFF, FMT_Y8, 1024, full, STATUS_CLOSE_FAILED, 0},
           Case{FILE_KIND_TIFF, FMT_BGR24, 512, full, STATUS_CLOSE_FAILED, 0},
           Case{FILE_KIND_TIFF, FMT_Y16, 4, file.c_str(), STATUS_BAD_BUFFER, 0},  // refused once the file is open
           Case{FILE_KIND_TIFF, FMT_Y32, 4, file.c_str(), STATUS_BAD_FORMAT, 0},
           Case{FILE_KIND_TIFF, FMT_Y8, 2, fifo.c_str(), STATUS_BAD_BUFFER, 8 + 2 + 6 * 12 + 8},  // up to StripOffsets
           Case{FILE_KIND_TIFF, FMT_BGR24, 2, fifo.c_str(), STATUS_BAD_BUFFER, 8 + 2 + 3 * 12 + 8}}) {  // BitsPerSample
    if (path == full && access(full, W_OK) != 0) continue;  // no /dev/full here
    SCOPED_TRACE(testing::Message() << kind << " " << std::hex << format << std::dec << " " << size << " "
                                    << (path ? path : "(null)"));
    const int reader = piped ? open(fifo.c_str(), O_RDONLY | O_NONBLOCK) : -1;
    ASSERT_TRUE(!piped || reader >= 0);
    TestImage image(format, size, size, size * (format == FMT_BGR24 ? 3 : 1));
    EXPECT_EQ(QVI_FileWrite(image.handle(), path, kind), status);
    if (reader < 0) continue;
    char arrived[1024];
    EXPECT_EQ(read(reader, arrived, sizeof arrived), piped);
    close(reader);
  }
  EXPECT_EQ(descriptors(), before) << "a failed write left a stream open";
}

// Byte for byte.  ImageWidth and ImageLength are SHORTs holding the low 16
// bits (70000 is stored as 4464); RowsPerStrip and StripByteCounts carry all
// 32.  The padding after each line is skipped.  FMT_Y16 is refused after the
// first ten entries, StripByteCounts the last, with BitsPerSample 16 and
// StripOffsets never patched; a format not taken, compared by whole code, is
// refused after the header.
TEST_F(FileOutput, AGreyFileIsExactlyTheseBytesAndARefusalLeavesItsStart) {
  for (auto [w, h, stride] : {std::tuple{3u, 2u, 4u}, {70000u, 1u, 70000u}, {1u, 70000u, 1u}}) {
    SCOPED_TRACE(testing::Message() << w << "x" << h);
    TestImage image(FMT_Y8, w, h, stride);
    std::iota(image.bytes().begin(), image.bytes().end(), uint8_t{1});
    std::vector<uint8_t> expected;
    auto put = [&expected](uint32_t value, int bytes) {
      while (bytes-- > 0) expected.push_back(static_cast<uint8_t>(value >> 8 * bytes));
    };
    put(0x4D4D002A, 4), put(8, 4), put(13, 2);  // "MM", 42, the directory at 8 with 13 entries
    // NewSubfileType, ImageWidth, ImageLength, BitsPerSample, Compression,
    // Photometric, StripOffsets, SamplesPerPixel, RowsPerStrip, StripByteCounts,
    // XResolution, YResolution, ResolutionUnit: tag, type (3 SHORT, 4 LONG,
    // 5 RATIONAL), count 1 and value (a SHORT in the first half).
    for (auto [tag, type, value] : {std::tuple{254u, 4u, 0u}, {256, 3, w & 0xFFFF}, {257, 3, h & 0xFFFF},
                                    {258, 3, 8}, {259, 3, 1}, {262, 3, 1}, {273, 4, 186}, {277, 3, 1}, {278, 4, h},
                                    {279, 4, w * h}, {282, 5, 170}, {283, 5, 178}, {296, 3, 1}})
      put(tag, 2), put(type, 2), put(1, 4), put(type == 3 ? value << 16 : value, 4);
    put(0, 4), put(300, 4), put(1, 4), put(300, 4), put(1, 4);  // no next directory; 300/1 twice
    for (uint32_t y = 0; y < h; ++y) expected.insert(expected.end(), image.line(y), image.line(y) + w);
    EXPECT_EQ(WriteTiff(image), expected);
    TestImage grey16(FMT_Y16, w, h, stride);
    expected.resize(130), expected[55] = 16, expected[93] = 0;
    EXPECT_EQ(WriteTiff(grey16, STATUS_BAD_BUFFER), expected);
    expected.resize(8);
    for (uint32_t format : {1u, FMT_Y32, FMT_BGRX32, 0xD0022601u}) {  // the last: Y8's low byte, another family
      TestImage unknown(format, w, h, stride);
      EXPECT_EQ(WriteTiff(unknown, STATUS_BAD_FORMAT), expected) << std::hex << format;
    }
  }
}

// A stream that does not stand at the start of its file (here after three
// bytes) has each offset patched to where its block really landed: the file
// a new stream gets, shifted, with every offset 3 larger.
TEST_F(FileOutput, OffsetsArePatchedWhereTheStreamDoesNotCountFromTheStart) {
  for (auto [format, offset_fields] : {std::pair{FMT_Y8, std::vector<size_t>{90, 138, 150}},
                                       {FMT_BGR24, std::vector<size_t>{54, 90, 138, 150}}}) {
    TestImage image(format, 5, 3, 16);
    std::iota(image.bytes().begin(), image.bytes().end(), uint8_t{1});
    std::vector<uint8_t> expected = WriteTiff(image);
    for (size_t at : offset_fields) expected[at + 3] += 3;
    expected.insert(expected.begin(), {'a', 'b', 'c'});
    FILE* stream = std::tmpfile();
    ASSERT_NE(stream, nullptr);
    std::fputs("abc", stream);
    const View source{image.bytes().data(), 16, 5, 3, format};
    EXPECT_EQ(file::tiff::WriteTiff(stream, source), STATUS_OK);
    std::vector<uint8_t> file(expected.size() + 1);
    std::rewind(stream);
    file.resize(std::fread(file.data(), 1, file.size(), stream));
    std::fclose(stream);
    EXPECT_EQ(file, expected) << std::hex << format;
  }
}

// Lines outside stride x height bytes are written as zeros.
TEST_F(FileOutput, PixelsOutsideTheBufferBecomeZeros) {
  TestImage overlapping(FMT_Y8, 4, 3, 2);  // 4-byte lines 2 bytes apart in 6 bytes
  std::iota(overlapping.bytes().begin(), overlapping.bytes().end(), uint8_t{1});
  std::vector<uint8_t> file = WriteTiff(overlapping);
  EXPECT_EQ(std::vector<uint8_t>(file.begin() + 186, file.end()),
            (std::vector<uint8_t>{1, 2, 3, 4, 3, 4, 5, 6, 0, 0, 0, 0}));
  TestImage no_memory(FMT_BGR24, 2, 2, 6), rgb24(FMT_RGB24, 2, 2, 6);
  no_memory.params().address = rgb24.params().address = 0;
  file = WriteTiff(no_memory);
  EXPECT_EQ(std::vector<uint8_t>(file.begin() + 204, file.end()), std::vector<uint8_t>(12, 0));
  EXPECT_EQ(WriteTiff(rgb24), file);  // both colour codes write the same file
  TestImage large(FMT_BGR24, 300, 100, 900);
  large.params().address = 0;
  file = WriteTiff(large);
  EXPECT_EQ(std::vector<uint8_t>(file.begin() + 204, file.end()), std::vector<uint8_t>(90000, 0));
}

// Sample s of a pixel is memory byte (samples - 1 - s): BGR24 reads as RGB,
// and RGB24 deliberately with red and blue exchanged.
TEST_F(FileOutput, LibtiffReadsBackEveryPixel) {
  TIFFSetWarningHandler(nullptr);
  std::mt19937 rng(6);
  // The last three span several of the stream's 64 KiB writes: converted
  // blocks, blocks of lines with gaps, and one run of gap-free lines.
  for (auto [format, width, height, stride] :
       {std::tuple{FMT_Y8, 1u, 1u, 1u}, {FMT_Y8, 13u, 4u, 16u}, {FMT_BGR24, 9u, 6u, 32u}, {FMT_RGB24, 11u, 2u, 33u},
        {FMT_BGR24, 301u, 150u, 905u}, {FMT_Y8, 401u, 300u, 402u}, {FMT_Y8, 500u, 300u, 500u}}) {
    SCOPED_TRACE(testing::Message() << std::hex << format << std::dec << " " << width << "x" << height);
    TestImage image(format, width, height, stride);
    const uint16_t samples = format == FMT_Y8 ? 1 : 3;
    for (uint8_t& b : image.bytes()) b = static_cast<uint8_t>(rng());
    const std::vector<uint8_t> file = WriteTiff(image);
    EXPECT_EQ(file.size(), (samples == 1 ? 186u : 204u) + width * height * samples);
    EXPECT_EQ(file[9], samples == 1 ? 13 : 14);  // directory entries
    std::unique_ptr<TIFF, void (*)(TIFF*)> tif(TIFFOpen(Path("image.tif").c_str(), "r"), TIFFClose);
    ASSERT_NE(tif, nullptr);
    auto field = [&tif]<class T>(ttag_t tag, T value) { TIFFGetField(tif.get(), tag, &value); return value; };
    EXPECT_EQ(field(TIFFTAG_PHOTOMETRIC, uint16_t{0}), samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    EXPECT_EQ(field(TIFFTAG_SAMPLESPERPIXEL, uint16_t{0}), samples);
    EXPECT_EQ(field(TIFFTAG_BITSPERSAMPLE, uint16_t{0}), 8);
    ASSERT_EQ(TIFFScanlineSize(tif.get()), tmsize_t{width} * samples);
    std::vector<uint8_t> line(width * samples);
    for (uint32_t y = 0; y < height; ++y) {
      ASSERT_EQ(TIFFReadScanline(tif.get(), line.data(), y), 1);
      for (uint32_t i = 0; i < line.size(); ++i)
        ASSERT_EQ(line[i], image.line(y)[i / samples * samples + samples - 1 - i % samples]) << i << "," << y;
    }
  }
}

}  // namespace
}  // namespace qvi::test
