// The camera format table checked against what each PFNC name says (and,
// where Aravis is installed, against its codes), its errors and its sizes.
#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

#include "pfnc.h"
#include "qvi_formats.h"
#include "unpack.h"

#ifdef QVI_HAVE_ARAVIS_HEADERS
#include <arv.h>
#endif

namespace qvi::camera {
namespace {

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// Every promised format is there, and each entry is what its name alone says.
TEST(CameraFormats, EntriesAgreeWithTheirNames) {
  std::vector<std::string> promised = {"Mono8", "Mono10", "Mono10p", "Mono10Packed", "Mono12", "Mono12p",
                                       "Mono12Packed", "Mono14", "Mono16", "RGB8", "BGR8", "RGBa8", "BGRa8",
                                       "YUV422_8"};
  for (const char* cell : {"RG", "GR", "GB", "BG"})
    for (const char* depth : {"8", "10", "10p", "10Packed", "12", "12p", "12Packed", "14", "16"})
      promised.push_back(std::string("Bayer") + cell + depth);
  for (const std::string& name : promised) EXPECT_NE(FindCameraFormat(name), nullptr) << name;
  EXPECT_EQ(CameraFormats().size(), promised.size());

  std::set<uint32_t> codes;
  std::set<std::string> names;
  for (const CameraFormat& f : CameraFormats()) {
    const std::string name(f.name);
    SCOPED_TRACE(name);
    EXPECT_TRUE(codes.insert(f.code).second && names.insert(Lower(name)).second) << "code or name used twice";
    EXPECT_EQ(FindCameraFormat(f.code), &f);
    EXPECT_EQ(FindCameraFormat(Lower(name)), &f);
    EXPECT_EQ(PfncName(f.code), f.name);
    EXPECT_EQ(PfncCode(name), f.code);

    const bool bayer = name.starts_with("Bayer"), mono = name.starts_with("Mono");
    const bool ten = name.find("10") != std::string::npos;
    const Packing packing = name.ends_with("Packed") ? (ten ? Packing::kGrouped10 : Packing::kGrouped12)
                            : name.ends_with("p")    ? (ten ? Packing::kLsb10 : Packing::kLsb12)
                                                     : Packing::kNone;
    EXPECT_EQ(f.packing, packing);
    // The first number in the name is the depth ("YUV422_8" is 8 bits).
    const size_t digits = name == "YUV422_8" ? name.size() - 1 : name.find_first_of("0123456789");
    EXPECT_EQ(f.bits, std::stoul(name.substr(digits)));
    const std::string cell = bayer ? name.substr(5, 2) : "";
    EXPECT_EQ(f.phase, cell == "RG"   ? std::optional(BAYER_PHASE_A)
                       : cell == "GR" ? std::optional(BAYER_PHASE_B)
                       : cell == "GB" ? std::optional(BAYER_PHASE_C)
                       : cell == "BG" ? std::optional(BAYER_PHASE_D)
                                      : std::nullopt);
    const FormatInfo& qvi = FormatOf(f.format);
    if (bayer || mono) {
      EXPECT_EQ(qvi.name, (bayer ? "BAY" : "Y") + std::to_string(f.bits));
    }

    // A PFNC code carries mono (1) or colour (2) in its top byte and the
    // bits a pixel occupies in the next: 12 for every two-in-three layout.
    const uint32_t occupied = packing == Packing::kNone    ? qvi.group_bytes * 8 / qvi.pixels_per_group
                              : packing == Packing::kLsb10 ? 10
                                                           : 12;
    EXPECT_EQ(f.code >> 24, bayer || mono ? 1u : 2u);
    EXPECT_EQ((f.code >> 16) & 0xFF, occupied);
  }
  const std::pair<const char*, ImageFormat> colour[] = {
      {"RGB8", FMT_RGB24}, {"BGR8", FMT_BGR24}, {"RGBa8", FMT_RGBX32}, {"BGRa8", FMT_BGRX32}, {"YUV422_8", FMT_YUV422}};
  for (const auto& [name, format] : colour) EXPECT_EQ(FindCameraFormat(name)->format, format) << name;
  EXPECT_EQ(FindCameraFormat("BAYERrg12P"), FindCameraFormat(0x010C0059));
  EXPECT_EQ(FindCameraFormat("Bayer_RG8"), nullptr);
}

#ifdef QVI_HAVE_ARAVIS_HEADERS
TEST(CameraFormats, CodesMatchAravis) {
// The four cells of one depth: BAYER(8, "8") names BayerRG8 ... BayerBG8.
#define BAYER(DEPTH, depth)                                                                        \
  {ARV_PIXEL_FORMAT_BAYER_RG_##DEPTH, "BayerRG" depth}, {ARV_PIXEL_FORMAT_BAYER_GR_##DEPTH, "BayerGR" depth}, \
      {ARV_PIXEL_FORMAT_BAYER_GB_##DEPTH, "BayerGB" depth}, {ARV_PIXEL_FORMAT_BAYER_BG_##DEPTH, "BayerBG" depth}
  const std::pair<uint32_t, const char*> aravis[] = {
      {ARV_PIXEL_FORMAT_MONO_8, "Mono8"}, {ARV_PIXEL_FORMAT_MONO_10, "Mono10"},
      {ARV_PIXEL_FORMAT_MONO_10_PACKED, "Mono10Packed"}, {ARV_PIXEL_FORMAT_MONO_12, "Mono12"},
      {ARV_PIXEL_FORMAT_MONO_12_PACKED, "Mono12Packed"}, {ARV_PIXEL_FORMAT_MONO_14, "Mono14"},
      {ARV_PIXEL_FORMAT_MONO_16, "Mono16"}, BAYER(8, "8"), BAYER(10, "10"), BAYER(12, "12"), BAYER(16, "16"),
      BAYER(10P, "10p"), BAYER(12P, "12p"), BAYER(10_PACKED, "10Packed"), BAYER(12_PACKED, "12Packed"),
      {ARV_PIXEL_FORMAT_RGB_8_PACKED, "RGB8"}, {ARV_PIXEL_FORMAT_BGR_8_PACKED, "BGR8"},
      {ARV_PIXEL_FORMAT_RGBA_8_PACKED, "RGBa8"}, {ARV_PIXEL_FORMAT_BGRA_8_PACKED, "BGRa8"},
      {ARV_PIXEL_FORMAT_YUV_422_YUYV_PACKED, "YUV422_8"},
  };
#undef BAYER
  for (const auto& [code, name] : aravis) {
    const CameraFormat* f = FindCameraFormat(code);
    ASSERT_NE(f, nullptr) << name;
    EXPECT_EQ(f->name, name);
  }
  // Formats qvi does not take still get their names in errors.
  EXPECT_EQ(PfncName(ARV_PIXEL_FORMAT_YUV_422_PACKED), "YUV422_8_UYVY");
  EXPECT_EQ(PfncName(ARV_PIXEL_FORMAT_RGB_12_PLANAR), "RGB12_Planar");
}
#endif

TEST(CameraFormats, UnsupportedCodesAreNamedInErrors) {
  const struct {
    uint32_t code;
    std::string described, in_message;
  } cases[] = {
      {0x010E0106, "BayerRG14p (0x010E0106)", "0x010E0106 (BayerRG14p) is not one qvi converts"},
      {0x0210001F, "YUV422_8_UYVY (0x0210001F)", "0x0210001F (YUV422_8_UYVY)"},
      {0x12345678, "0x12345678", "0x12345678 is not a pixel format qvi knows"},
      {0, "0x00000000", "0x00000000 is not"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FindCameraFormat(c.code), nullptr);
    EXPECT_EQ(DescribePixelFormat(c.code), c.described);
    try {
      CameraFormatOf(c.code);
      ADD_FAILURE() << c.described << " was taken";
    } catch (const UnsupportedFormat& e) {
      EXPECT_EQ(e.code(), c.code);
      EXPECT_NE(std::string(e.what()).find(c.in_message), std::string::npos) << e.what();
    }
  }
  EXPECT_EQ(PfncCode("mono14P"), 0x010E0104u);
  EXPECT_EQ(PfncCode("Mono15"), std::nullopt);
  EXPECT_EQ(DescribePixelFormat(0x01080009), "BayerRG8 (0x01080009)");
}

TEST(CameraFormats, LineAndFrameBytes) {
  const struct {
    const char* name;
    uint32_t width, height, line;
    uint64_t frame;
  } cases[] = {
      {"Mono8", 3, 3, 3, 9},         {"Mono10", 3, 3, 6, 18},
      {"Mono10p", 3, 3, 4, 12},      // 30 bits a line, 90 a frame
      {"Mono10p", 4, 2, 5, 10},      {"Mono12p", 3, 3, 5, 14},  // 36 bits a line, 108 a frame
      {"Mono12Packed", 3, 3, 5, 14}, {"BayerGB10Packed", 1, 1, 2, 2},
      {"BayerRG16", 3, 2, 6, 12},    {"RGB8", 3, 2, 9, 18},
      {"BGRa8", 3, 2, 12, 24},       {"YUV422_8", 3, 2, 8, 16},  // pairs round up
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.width) + " x " + std::to_string(c.height));
    const CameraFormat& f = *FindCameraFormat(c.name);
    EXPECT_EQ(CameraLineBytes(f, c.width), c.line);
    EXPECT_EQ(CameraFrameBytes(f, c.width, c.height), c.frame);
  }
  EXPECT_EQ(CameraLineBytes(*FindCameraFormat("Mono16"), uint64_t{1} << 31), std::nullopt);
  EXPECT_EQ(CameraFrameBytes(*FindCameraFormat("Mono8"), uint64_t{1} << 32, 1), std::nullopt);
}

}  // namespace
}  // namespace qvi::camera
