// The subcommands of qvi.  Each takes its parsed options, does its work and
// returns normally, or throws Error with a message for the user.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace qvi::tool {

struct RawInputOptions {
  std::string input;
  std::string output;
  uint32_t width = 0;
  uint32_t height = 0;
  std::optional<uint32_t> stride;
  std::string format;
};

struct ConvertOptions : RawInputOptions {
  std::optional<std::string> method;  // dup, ave, med
  std::optional<std::string> phase;   // A, B, C, D
  std::optional<std::string> to;      // a format name
};
void RunConvert(const ConvertOptions& options, std::ostream& out);

struct DeinterlaceOptions : RawInputOptions {
  std::string method = "bilinear";  // linedup, lineave, bilinear, median
  std::string parity;               // odd, even
};
void RunDeinterlace(const DeinterlaceOptions& options, std::ostream& out);

void RunFormats(std::ostream& out);

struct DemoOptions {
  std::string out_dir = "qvi-demo";
  std::optional<std::string> pictures_dir;  // where to put the README pictures
};
void RunDemo(const DemoOptions& options, std::ostream& out);

}  // namespace qvi::tool
