#include "pfnc.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>

#include "qvi_formats.h"
#include "unpack.h"

namespace qvi::camera {
namespace {

constexpr BayerPhase kRG = BAYER_PHASE_A, kGR = BAYER_PHASE_B, kGB = BAYER_PHASE_C, kBG = BAYER_PHASE_D;
constexpr Packing kNone = Packing::kNone, kLsb10 = Packing::kLsb10, kLsb12 = Packing::kLsb12,
                  kGrouped10 = Packing::kGrouped10, kGrouped12 = Packing::kGrouped12;

constexpr std::optional<BayerPhase> kNoPhase;

constexpr CameraFormat kTaken[] = {
    {"Mono8", 0x01080001, FMT_Y8, kNoPhase, kNone, 8},
    {"Mono10", 0x01100003, FMT_Y10, kNoPhase, kNone, 10},
    {"Mono10p", 0x010A0046, FMT_Y10, kNoPhase, kLsb10, 10},
    {"Mono10Packed", 0x010C0004, FMT_Y10, kNoPhase, kGrouped10, 10},
    {"Mono12", 0x01100005, FMT_Y12, kNoPhase, kNone, 12},
    {"Mono12p", 0x010C0047, FMT_Y12, kNoPhase, kLsb12, 12},
    {"Mono12Packed", 0x010C0006, FMT_Y12, kNoPhase, kGrouped12, 12},
    {"Mono14", 0x01100025, FMT_Y14, kNoPhase, kNone, 14},
    {"Mono16", 0x01100007, FMT_Y16, kNoPhase, kNone, 16},

    {"BayerRG8", 0x01080009, FMT_BAY8, kRG, kNone, 8},
    {"BayerGR8", 0x01080008, FMT_BAY8, kGR, kNone, 8},
    {"BayerGB8", 0x0108000A, FMT_BAY8, kGB, kNone, 8},
    {"BayerBG8", 0x0108000B, FMT_BAY8, kBG, kNone, 8},
    {"BayerRG10", 0x0110000D, FMT_BAY10, kRG, kNone, 10},
    {"BayerGR10", 0x0110000C, FMT_BAY10, kGR, kNone, 10},
    {"BayerGB10", 0x0110000E, FMT_BAY10, kGB, kNone, 10},
    {"BayerBG10", 0x0110000F, FMT_BAY10, kBG, kNone, 10},
    {"BayerRG10p", 0x010A0058, FMT_BAY10, kRG, kLsb10, 10},
    {"BayerGR10p", 0x010A0056, FMT_BAY10, kGR, kLsb10, 10},
    {"BayerGB10p", 0x010A0054, FMT_BAY10, kGB, kLsb10, 10},
    {"BayerBG10p", 0x010A0052, FMT_BAY10, kBG, kLsb10, 10},
    {"BayerRG10Packed", 0x010C0027, FMT_BAY10, kRG, kGrouped10, 10},
    {"BayerGR10Packed", 0x010C0026, FMT_BAY10, kGR, kGrouped10, 10},
    {"BayerGB10Packed", 0x010C0028, FMT_BAY10, kGB, kGrouped10, 10},
    {"BayerBG10Packed", 0x010C0029, FMT_BAY10, kBG, kGrouped10, 10},
    {"BayerRG12", 0x01100011, FMT_BAY12, kRG, kNone, 12},
    {"BayerGR12", 0x01100010, FMT_BAY12, kGR, kNone, 12},
    {"BayerGB12", 0x01100012, FMT_BAY12, kGB, kNone, 12},
    {"BayerBG12", 0x01100013, FMT_BAY12, kBG, kNone, 12},
    {"BayerRG12p", 0x010C0059, FMT_BAY12, kRG, kLsb12, 12},
    {"BayerGR12p", 0x010C0057, FMT_BAY12, kGR, kLsb12, 12},
    {"BayerGB12p", 0x010C0055, FMT_BAY12, kGB, kLsb12, 12},
    {"BayerBG12p", 0x010C0053, FMT_BAY12, kBG, kLsb12, 12},
    {"BayerRG12Packed", 0x010C002B, FMT_BAY12, kRG, kGrouped12, 12},
    {"BayerGR12Packed", 0x010C002A, FMT_BAY12, kGR, kGrouped12, 12},
    {"BayerGB12Packed", 0x010C002C, FMT_BAY12, kGB, kGrouped12, 12},
    {"BayerBG12Packed", 0x010C002D, FMT_BAY12, kBG, kGrouped12, 12},
    {"BayerRG14", 0x0110010A, FMT_BAY14, kRG, kNone, 14},
    {"BayerGR14", 0x01100109, FMT_BAY14, kGR, kNone, 14},
    {"BayerGB14", 0x0110010B, FMT_BAY14, kGB, kNone, 14},
    {"BayerBG14", 0x0110010C, FMT_BAY14, kBG, kNone, 14},
    {"BayerRG16", 0x0110002F, FMT_BAY16, kRG, kNone, 16},
    {"BayerGR16", 0x0110002E, FMT_BAY16, kGR, kNone, 16},
    {"BayerGB16", 0x01100030, FMT_BAY16, kGB, kNone, 16},
    {"BayerBG16", 0x01100031, FMT_BAY16, kBG, kNone, 16},

    {"RGB8", 0x02180014, FMT_RGB24, kNoPhase, kNone, 8},
    {"BGR8", 0x02180015, FMT_BGR24, kNoPhase, kNone, 8},
    {"RGBa8", 0x02200016, FMT_RGBX32, kNoPhase, kNone, 8},
    {"BGRa8", 0x02200017, FMT_BGRX32, kNoPhase, kNone, 8},
    {"YUV422_8", 0x02100032, FMT_YUV422, kNoPhase, kNone, 8},
};

// Common formats qvi knows by name but does not take.
struct KnownName {
  std::string_view name;
  uint32_t code;
};
constexpr KnownName kKnownOnly[] = {
    {"Mono1p", 0x01010037},        {"Mono2p", 0x01020038},        {"Mono4p", 0x01040039},
    {"Mono8s", 0x01080002},        {"Mono14p", 0x010E0104},       {"Mono32", 0x01200111},
    {"BayerRG4p", 0x0104010E},     {"BayerGR4p", 0x0104010D},     {"BayerGB4p", 0x0104010F},
    {"BayerBG4p", 0x01040110},     {"BayerRG14p", 0x010E0106},    {"BayerGR14p", 0x010E0105},
    {"BayerGB14p", 0x010E0107},    {"BayerBG14p", 0x010E0108},    {"RGB10", 0x02300018},
    {"RGB10p", 0x021E005C},        {"RGB10p32", 0x0220001D},      {"RGB12", 0x0230001A},
    {"RGB12p", 0x0224005D},        {"RGB14", 0x0230005E},         {"RGB16", 0x02300033},
    {"RGB565p", 0x02100035},       {"BGR10", 0x02300019},         {"BGR10p", 0x021E0048},
    {"BGR12", 0x0230001B},         {"BGR12p", 0x02240049},        {"BGR14", 0x0230004A},
    {"BGR16", 0x0230004B},         {"BGR565p", 0x02100036},       {"RGBa10", 0x0240005F},
    {"RGBa12", 0x02400061},        {"RGBa16", 0x02400064},        {"BGRa10", 0x0240004C},
    {"BGRa12", 0x0240004E},        {"BGRa16", 0x02400051},        {"RGB8_Planar", 0x02180021},
    {"RGB10_Planar", 0x02300022},  {"RGB12_Planar", 0x02300023},  {"RGB16_Planar", 0x02300024},
    {"YUV8_UYV", 0x02180020},      {"YUV411_8_UYYVYY", 0x020C001E}, {"YUV422_8_UYVY", 0x0210001F},
    {"YCbCr8", 0x0218005B},        {"YCbCr8_CbYCr", 0x0218003A},  {"YCbCr422_8", 0x0210003B},
    {"YCbCr422_8_CbYCrY", 0x02100043}, {"YCbCr411_8", 0x020C005A}, {"Data8", 0x01080116},
    {"Data16", 0x01100118},
};

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

std::string Hex(uint32_t code) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(code));
  return text;
}

std::string UnsupportedMessage(uint32_t code) {
  const std::string_view name = PfncName(code);
  std::string message = "pixel format " + Hex(code);
  if (!name.empty())
    message += " (" + std::string(name) + ") is not one qvi converts";
  else
    message += " is not a pixel format qvi knows";
  return message + "; it takes Mono8-16, the 8- to 16-bit Bayer formats (10 and 12 bits also packed, \"p\" and " +
         "\"Packed\"), RGB8, BGR8, RGBa8, BGRa8 and YUV422_8";
}

}  // namespace

std::span<const CameraFormat> CameraFormats() { return kTaken; }

const CameraFormat* FindCameraFormat(uint32_t code) {
  for (const CameraFormat& f : kTaken)
    if (f.code == code) return &f;
  return nullptr;
}

const CameraFormat* FindCameraFormat(std::string_view name) {
  for (const CameraFormat& f : kTaken)
    if (SameName(f.name, name)) return &f;
  return nullptr;
}

std::string_view PfncName(uint32_t code) {
  if (const CameraFormat* f = FindCameraFormat(code)) return f->name;
  for (const KnownName& k : kKnownOnly)
    if (k.code == code) return k.name;
  return {};
}

std::optional<uint32_t> PfncCode(std::string_view name) {
  if (const CameraFormat* f = FindCameraFormat(name)) return f->code;
  for (const KnownName& k : kKnownOnly)
    if (SameName(k.name, name)) return k.code;
  return std::nullopt;
}

std::string DescribePixelFormat(uint32_t code) {
  const std::string_view name = PfncName(code);
  return name.empty() ? Hex(code) : std::string(name) + " (" + Hex(code) + ")";
}

UnsupportedFormat::UnsupportedFormat(uint32_t code) : std::runtime_error(UnsupportedMessage(code)), code_(code) {}

const CameraFormat& CameraFormatOf(uint32_t code) {
  if (const CameraFormat* f = FindCameraFormat(code)) return *f;
  throw UnsupportedFormat(code);
}

std::optional<uint32_t> CameraLineBytes(const CameraFormat& format, uint64_t width) {
  if (format.packing == Packing::kNone) return LineBytes(FormatOf(format.format), width);
  const uint64_t bytes = PackedLineBytes(format.packing, width);
  if (bytes > UINT32_MAX) return std::nullopt;
  return static_cast<uint32_t>(bytes);
}

std::optional<uint64_t> CameraFrameBytes(const CameraFormat& format, uint64_t width, uint64_t height) {
  // Both sides stay far below 2^64 for 32-bit widths and heights.
  if (width > UINT32_MAX || height > UINT32_MAX) return std::nullopt;
  if (format.packing == Packing::kNone) {
    const std::optional<uint32_t> line = LineBytes(FormatOf(format.format), width);
    if (!line) return std::nullopt;
    return uint64_t{*line} * height;
  }
  return PackedLineBytes(format.packing, width * height);
}

}  // namespace qvi::camera
