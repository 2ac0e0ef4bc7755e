// The tool's format table and status words.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "formats.h"

namespace qvi::tool {
namespace {

TEST(FormatTable, HoldsEveryCodeOnceUnderItsHeaderName) {
  std::set<ImageFormat> codes;
  std::set<std::string_view> names;
  for (const FormatInfo& f : AllFormats()) {
    codes.insert(f.code);
    names.insert(f.name);
    EXPECT_EQ(f.code & 0xFFFFFF00u, 0xC0022600u) << f.name;
    EXPECT_EQ(FindFormat(f.name), &f);
    EXPECT_EQ(&FormatOf(f.code), &f);
  }
  EXPECT_EQ(codes.size(), 30u);
  EXPECT_EQ(names.size(), 30u);
  // Spot checks against the header's names.
  EXPECT_EQ(FindFormat("BAY12")->code, FMT_BAY12);
  EXPECT_EQ(FindFormat("YUV422")->code, FMT_YUV422);
  EXPECT_EQ(FindFormat("Y12_ALT")->code, FMT_Y12_ALT);
}

TEST(FormatTable, NamesAreTypedWithoutCareForCaseOrPrefix) {
  const struct {
    const char* typed;
    ImageFormat expected;  // 0: not a format
  } cases[] = {
      {"bay12", FMT_BAY12}, {"Bgr24", FMT_BGR24}, {"FMT_Y8", FMT_Y8}, {"fmt_yuv422", FMT_YUV422},
      {"", 0},              {"FMT_", 0},          {"Y9", 0},          {"BAY12 ", 0},
      {"RGB", 0},
  };
  for (const auto& c : cases) {
    const FormatInfo* f = FindFormat(c.typed);
    if (c.expected == 0) {
      EXPECT_EQ(f, nullptr) << '"' << c.typed << '"';
    } else {
      ASSERT_NE(f, nullptr) << c.typed;
      EXPECT_EQ(f->code, c.expected) << c.typed;
    }
  }
}

TEST(FormatTable, LineBytesRoundPairsUp) {
  const struct {
    const char* format;
    uint64_t width;
    std::optional<uint32_t> bytes;
  } cases[] = {
      {"Y8", 5, 5},         {"BAY12", 5, 10},         {"BGR24", 5, 15},      {"BGR48", 3, 18},
      {"Y12P", 4, 6},       {"Y12P", 5, 9},           {"YUV422", 4, 8},      {"YUV422", 5, 12},
      {"BGRX32", 0, 0},     {"Y8", 0xFFFFFFFFu, 0xFFFFFFFFu}, {"Y16", 0x80000000u, std::nullopt},
      {"BGR48", 0x40000000u, std::nullopt},
  };
  for (const auto& c : cases)
    EXPECT_EQ(LineBytes(*FindFormat(c.format), c.width), c.bytes) << c.format << " x " << c.width;
}

TEST(StatusWords, NameEveryStatusOfTheLibrary) {
  const Status statuses[] = {STATUS_OK,           STATUS_BAD_BAYER_MODE, STATUS_OPEN_FAILED,
                             STATUS_BAD_BUFFER,   STATUS_BAD_PARAMETER,  STATUS_BAD_FORMAT,
                             STATUS_WRITE_FAILED, STATUS_CLOSE_FAILED};
  std::set<std::string_view> names, meanings;
  for (Status s : statuses) {
    names.insert(StatusName(s));
    meanings.insert(StatusMeaning(s));
    EXPECT_EQ(StatusName(s).substr(0, 7), "STATUS_");
    const std::string text = DescribeStatus(s);
    EXPECT_NE(text.find("(" + std::to_string(s) + ": "), std::string::npos) << text;
  }
  EXPECT_EQ(names.size(), std::size(statuses));
  EXPECT_EQ(meanings.size(), std::size(statuses));
  EXPECT_EQ(StatusName(4), "an unknown status");
}

TEST(Conversions, AreLearnedFromTheLibrary) {
  const struct {
    const char* from;
    const char* to;
    bool exists;
  } cases[] = {
      {"Y8", "Y8", true},          {"Y12", "BGR24", true},     {"Y12_ALT", "BGRX32", true},
      {"YUV422", "BGR24", true},   {"BGRX32", "BGR24", true},  {"Y16", "BGR36", false},
      {"BGR24", "Y8", false},      {"RGB24", "BGR24", false},  {"Y8", "YUV422", false},
      {"BAY12", "BGR24", true},    {"BAY16", "RGBX32", true},  {"BAY8", "BGR16", true},
      {"BAY10", "BGR16", false},   {"BAY12", "Y8", false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(HasConversion(*FindFormat(c.from), *FindFormat(c.to)), c.exists) << c.from << " -> " << c.to;
  // Destination-only and never-source formats have no row.
  EXPECT_TRUE(ConversionsFrom(*FindFormat("TRIPLE16")).empty());
  EXPECT_TRUE(ConversionsFrom(*FindFormat("RGB24")).empty());
  EXPECT_EQ(ConversionsFrom(*FindFormat("BGRX32")).size(), 1u);
}

}  // namespace
}  // namespace qvi::tool
