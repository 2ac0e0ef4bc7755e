// The camera format table: every format the camera layer promises is there;
// each entry's phase, packing, depth and qvi format agree with its PFNC name,
// and its code with the depth and colour fields PFNC codes carry (and, where
// Aravis is installed, with arvenums.h); lookups by code and by name in any
// case; the errors for formats it does not take; and line and frame sizes.
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

TEST(CameraFormats, EveryPromisedFormatIsThere) {
  std::vector<std::string> names = {"Mono8",  "Mono10", "Mono10p",  "Mono10Packed", "Mono12", "Mono12p",
                                    "Mono12Packed", "Mono14", "Mono16", "RGB8", "BGR8", "RGBa8", "BGRa8",
                                    "YUV422_8"};
  for (const char* cell : {"RG", "GR", "GB", "BG"})
    for (const char* depth : {"8", "10", "10p", "10Packed", "12", "12p", "12Packed", "14", "16"})
      names.push_back(std::string("Bayer") + cell + depth);
  for (const std::string& name : names) EXPECT_NE(FindCameraFormat(name), nullptr) << name;
  EXPECT_EQ(CameraFormats().size(), names.size());
}

// What each entry must be, read off its name alone.
TEST(CameraFormats, EntriesAgreeWithTheirNames) {
  std::set<uint32_t> codes;
  std::set<std::string> names;
  for (const CameraFormat& f : CameraFormats()) {
    const std::string name(f.name);
    SCOPED_TRACE(name);
    EXPECT_TRUE(codes.insert(f.code).second) << "code used twice";
    EXPECT_TRUE(names.insert(Lower(name)).second) << "name used twice";
    EXPECT_EQ(FindCameraFormat(f.code), &f);
    EXPECT_EQ(FindCameraFormat(Lower(name)), &f);
    EXPECT_EQ(PfncCode(name), f.code);
    EXPECT_EQ(PfncName(f.code), f.name);

    const bool bayer = name.starts_with("Bayer"), mono = name.starts_with("Mono");
    const Packing packing = name.ends_with("Packed") ? (name.find("10") != std::string::npos ? Packing::kGrouped10
                                                                                             : Packing::kGrouped12)
                            : name.ends_with("p") ? (name.find("10") != std::string::npos ? Packing::kLsb10
                                                                                          : Packing::kLsb12)
                                                  : Packing::kNone;
    EXPECT_EQ(f.packing, packing);
    // The first number in the name is the depth ("YUV422_8" is 8 bits).
    const size_t digits = name == "YUV422_8" ? name.size() - 1 : name.find_first_of("0123456789");
    EXPECT_EQ(f.bits, std::stoul(name.substr(digits)));

    if (bayer) {
      const std::string cell = name.substr(5, 2);
      const BayerPhase phase = cell == "RG"   ? BAYER_PHASE_A
                               : cell == "GR" ? BAYER_PHASE_B
                               : cell == "GB" ? BAYER_PHASE_C
                                              : BAYER_PHASE_D;
      EXPECT_EQ(f.phase, phase);
      EXPECT_EQ(FormatOf(f.format).name, std::string("BAY").append(std::to_string(f.bits)));
    } else {
      EXPECT_FALSE(f.phase.has_value());
    }
    if (mono) {
      EXPECT_EQ(FormatOf(f.format).name, std::string("Y").append(std::to_string(f.bits)));
    }

    // A PFNC code carries mono (1) or colour (2) in its top byte and the
    // bits a pixel occupies in the next: 12 for every two-in-three layout.
    const FormatInfo& qvi = FormatOf(f.format);
    const uint32_t occupied = packing == Packing::kNone ? qvi.group_bytes * 8 / qvi.pixels_per_group
                              : packing == Packing::kLsb10 ? 10
                                                           : 12;
    EXPECT_EQ(f.code >> 24, bayer || mono ? 1u : 2u);
    EXPECT_EQ((f.code >> 16) & 0xFF, occupied);
  }
  EXPECT_EQ(FindCameraFormat("RGB8")->format, FMT_RGB24);
  EXPECT_EQ(FindCameraFormat("BGR8")->format, FMT_BGR24);
  EXPECT_EQ(FindCameraFormat("RGBa8")->format, FMT_RGBX32);
  EXPECT_EQ(FindCameraFormat("BGRa8")->format, FMT_BGRX32);
  EXPECT_EQ(FindCameraFormat("YUV422_8")->format, FMT_YUV422);
  EXPECT_EQ(FindCameraFormat("BAYERrg12P"), FindCameraFormat(0x010C0059));
  EXPECT_EQ(FindCameraFormat("Bayer_RG8"), nullptr);
  EXPECT_EQ(FindCameraFormat(0u), nullptr);
}

#ifdef QVI_HAVE_ARAVIS_HEADERS
TEST(CameraFormats, CodesMatchAravis) {
  const std::pair<uint32_t, const char*> aravis[] = {
      {ARV_PIXEL_FORMAT_MONO_8, "Mono8"},
      {ARV_PIXEL_FORMAT_MONO_10, "Mono10"},
      {ARV_PIXEL_FORMAT_MONO_10_PACKED, "Mono10Packed"},
      {ARV_PIXEL_FORMAT_MONO_12, "Mono12"},
      {ARV_PIXEL_FORMAT_MONO_12_PACKED, "Mono12Packed"},
      {ARV_PIXEL_FORMAT_MONO_14, "Mono14"},
      {ARV_PIXEL_FORMAT_MONO_16, "Mono16"},
      {ARV_PIXEL_FORMAT_BAYER_GR_8, "BayerGR8"},
      {ARV_PIXEL_FORMAT_BAYER_RG_8, "BayerRG8"},
      {ARV_PIXEL_FORMAT_BAYER_GB_8, "BayerGB8"},
      {ARV_PIXEL_FORMAT_BAYER_BG_8, "BayerBG8"},
      {ARV_PIXEL_FORMAT_BAYER_GR_10, "BayerGR10"},
      {ARV_PIXEL_FORMAT_BAYER_RG_10, "BayerRG10"},
      {ARV_PIXEL_FORMAT_BAYER_GB_10, "BayerGB10"},
      {ARV_PIXEL_FORMAT_BAYER_BG_10, "BayerBG10"},
      {ARV_PIXEL_FORMAT_BAYER_GR_12, "BayerGR12"},
      {ARV_PIXEL_FORMAT_BAYER_RG_12, "BayerRG12"},
      {ARV_PIXEL_FORMAT_BAYER_GB_12, "BayerGB12"},
      {ARV_PIXEL_FORMAT_BAYER_BG_12, "BayerBG12"},
      {ARV_PIXEL_FORMAT_BAYER_GR_16, "BayerGR16"},
      {ARV_PIXEL_FORMAT_BAYER_RG_16, "BayerRG16"},
      {ARV_PIXEL_FORMAT_BAYER_GB_16, "BayerGB16"},
      {ARV_PIXEL_FORMAT_BAYER_BG_16, "BayerBG16"},
      {ARV_PIXEL_FORMAT_BAYER_BG_10P, "BayerBG10p"},
      {ARV_PIXEL_FORMAT_BAYER_GB_10P, "BayerGB10p"},
      {ARV_PIXEL_FORMAT_BAYER_GR_10P, "BayerGR10p"},
      {ARV_PIXEL_FORMAT_BAYER_RG_10P, "BayerRG10p"},
      {ARV_PIXEL_FORMAT_BAYER_BG_12P, "BayerBG12p"},
      {ARV_PIXEL_FORMAT_BAYER_GB_12P, "BayerGB12p"},
      {ARV_PIXEL_FORMAT_BAYER_GR_12P, "BayerGR12p"},
      {ARV_PIXEL_FORMAT_BAYER_RG_12P, "BayerRG12p"},
      {ARV_PIXEL_FORMAT_BAYER_GR_12_PACKED, "BayerGR12Packed"},
      {ARV_PIXEL_FORMAT_BAYER_RG_12_PACKED, "BayerRG12Packed"},
      {ARV_PIXEL_FORMAT_BAYER_GB_12_PACKED, "BayerGB12Packed"},
      {ARV_PIXEL_FORMAT_BAYER_BG_12_PACKED, "BayerBG12Packed"},
      {ARV_PIXEL_FORMAT_BAYER_GR_10_PACKED, "BayerGR10Packed"},
      {ARV_PIXEL_FORMAT_BAYER_RG_10_PACKED, "BayerRG10Packed"},
      {ARV_PIXEL_FORMAT_BAYER_GB_10_PACKED, "BayerGB10Packed"},
      {ARV_PIXEL_FORMAT_BAYER_BG_10_PACKED, "BayerBG10Packed"},
      {ARV_PIXEL_FORMAT_RGB_8_PACKED, "RGB8"},
      {ARV_PIXEL_FORMAT_BGR_8_PACKED, "BGR8"},
      {ARV_PIXEL_FORMAT_RGBA_8_PACKED, "RGBa8"},
      {ARV_PIXEL_FORMAT_BGRA_8_PACKED, "BGRa8"},
      {ARV_PIXEL_FORMAT_YUV_422_YUYV_PACKED, "YUV422_8"},
  };
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
  struct Case {
    uint32_t code;
    std::string described, in_message;
  };
  const Case cases[] = {
      {0x010E0106, "BayerRG14p (0x010E0106)", "0x010E0106 (BayerRG14p) is not one qvi converts"},
      {0x0210001F, "YUV422_8_UYVY (0x0210001F)", "0x0210001F (YUV422_8_UYVY)"},
      {0x12345678, "0x12345678", "0x12345678 is not a pixel format qvi knows"},
      {0, "0x00000000", "0x00000000 is not"},
  };
  for (const Case& c : cases) {
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
  struct Case {
    const char* name;
    uint32_t width, height;
    uint32_t line;
    uint64_t frame;
  };
  const Case cases[] = {
      {"Mono8", 3, 3, 3, 9},         {"Mono10", 3, 3, 6, 18},
      {"Mono10p", 3, 3, 4, 12},      // 30 bits a line, 90 a frame
      {"Mono10p", 4, 2, 5, 10},      {"Mono12p", 3, 3, 5, 14},  // 36 bits a line, 108 a frame
      {"Mono12Packed", 3, 3, 5, 14}, {"BayerGB10Packed", 1, 1, 2, 2},
      {"BayerRG16", 3, 2, 6, 12},    {"RGB8", 3, 2, 9, 18},
      {"BGRa8", 3, 2, 12, 24},       {"YUV422_8", 3, 2, 8, 16},  // pairs round up
  };
  for (const Case& c : cases) {
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
