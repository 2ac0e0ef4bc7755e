// qvi formats: the pixel formats and the conversions between them.
#include <cstdio>
#include <ostream>
#include <string>

#include "commands.h"
#include "formats.h"

namespace qvi::tool {

void RunFormats(std::ostream& out) {
  out << "Pixel formats (names as --format and --to take them; bytes per pixel):\n";
  for (const FormatInfo& f : AllFormats()) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(f.code));
    std::string line = "  ";
    line += f.name;
    line.resize(12, ' ');
    line += code;
    line += "  " + BytesPerPixelText(f);
    line.resize(36, ' ');
    out << line << f.layout << "\n";
  }

  out << "\nConversions (QVI_Convert";
  if (!ConversionsFrom(FormatOf(FMT_BAY8)).empty())
    out << "; Bayer sources demosaic by --method dup, ave or med,\n"
           "except into RGBX32, dup only, and BAY8 into BGR16, dup and phase A only";
  out << "):\n";
  constexpr size_t kWidth = 79, kIndent = 14;
  for (const FormatInfo& f : AllFormats()) {
    const auto targets = ConversionsFrom(f);
    if (targets.empty()) continue;
    std::string line = "  ";
    line += f.name;
    line.resize(kIndent - 3, ' ');
    line += "->";
    for (const FormatInfo* t : targets) {
      if (line.size() + 1 + t->name.size() > kWidth) {
        out << line << "\n";
        line.assign(kIndent - 1, ' ');
      }
      line += ' ';
      line += t->name;
    }
    out << line << "\n";
  }
  out << "\nTIFF and PNG files are written from Y8 and BGR24 pixels, raw files from any.\n";
}

}  // namespace qvi::tool
