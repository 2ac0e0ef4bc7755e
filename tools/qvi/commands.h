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

// qvi grab and qvi cameras: built only where Aravis is found.  Their
// discovery broadcasts: tests run it only in a private network namespace.
struct GrabOptions {
  std::optional<std::string> camera;   // a name for Aravis's discovery
  std::optional<std::string> address;  // an IPv4 address, opened directly
  std::optional<std::string> pixel_format;
  std::optional<uint32_t> width, height;
  std::optional<double> fps;
  std::optional<uint64_t> frames;  // without: until Ctrl-C
  std::optional<std::string> to;
  std::optional<std::string> method;  // dup, ave, med
  unsigned threads = 0;                // 0: one per core
  std::optional<std::string> output;
  bool json = false;
  double timeout = 5;  // seconds without a frame that end the run
};
void RunGrab(const GrabOptions& options, std::ostream& out);
void RunCameras(std::ostream& out);

}  // namespace qvi::tool
