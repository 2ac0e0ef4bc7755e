// Both file writers over random geometries, the buffer placed against a
// protected page (after its end, then before its start): the raw dump reads
// exactly stride x height bytes and the TIFF writer no more than that, also
// for strides shorter than a line of pixels.
#include <gtest/gtest.h>

#include <random>

#include "support/image.h"
#include "support/scratch_dir.h"
#include "support/fenced_image.h"

namespace qvi::test {
namespace {

class FileGuardPages : public FileTest, public ::testing::WithParamInterface<Fence> {};

TEST_P(FileGuardPages, FileWritersReadOnlyTheirBuffer) {
  struct Case {
    uint32_t format, bytes;
    FileKind kind;
    Status status;
  };
  const Case cases[] = {{FMT_Y8, 1, FILE_KIND_RAW, STATUS_OK},    {FMT_BGR48, 6, FILE_KIND_RAW, STATUS_OK},
                        {FMT_Y8, 1, FILE_KIND_TIFF, STATUS_OK},   {FMT_BGR24, 3, FILE_KIND_TIFF, STATUS_OK},
                        {FMT_RGB24, 3, FILE_KIND_TIFF, STATUS_OK}, {FMT_Y16, 2, FILE_KIND_TIFF, STATUS_BAD_BUFFER}};
  std::mt19937 rng(5);
  const auto below = [&rng](uint32_t n) { return static_cast<uint32_t>(rng() % n); };
  const std::string path = Path("image");
  for (const Case& c : cases) {
    for (int trial = 0; trial < 12; ++trial) {
      const uint32_t w = below(40), h = below(6), line = w * c.bytes;
      const uint32_t stride = trial % 3 == 0 ? line : trial % 3 == 1 ? line + below(5) : below(line + 1);
      FencedImage image(c.format, w, h, stride, 0, GetParam(), 0x3C);
      ASSERT_EQ(QVI_FileWrite(image.handle(), path.c_str(), c.kind), c.status)
          << std::hex << c.format << std::dec << " " << w << "x" << h << " stride " << stride;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fences, FileGuardPages, ::testing::Values(Fence::AfterEnd, Fence::BeforeStart));

}  // namespace
}  // namespace qvi::test
