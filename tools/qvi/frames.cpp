#include "frames.h"

#include <unistd.h>

#include <cstdio>
#include <ostream>

#include "error.h"

namespace qvi::tool {

const FormatInfo& ParseFormat(const std::string& name, const std::string& option) {
  const FormatInfo* f = FindFormat(name);
  if (!f) throw Error(option + " " + name + " is not a pixel format; `qvi formats` lists them");
  return *f;
}

DemosaicMethod ParseDemosaicMethod(const std::string& name) {
  if (name == "dup") return DEMOSAIC_METHOD_DUP;
  if (name == "ave") return DEMOSAIC_METHOD_AVE;
  if (name == "med") return DEMOSAIC_METHOD_MED;
  throw Error("--method " + name + " is not a demosaic method; use dup, ave or med");
}

void ForEachFrame(const RawInputOptions& options, const RawGeometry& geometry, Image& frame,
                  const std::function<const Image&(Image&)>& process, const std::string& command,
                  const std::string& unit, const std::string& what, std::ostream& out) {
  const FileType type = FileTypeOf(options.output);
  RawReader reader(options.input, geometry);
  const uint64_t count = reader.frames();
  const bool progress = count > 1 && ::isatty(STDERR_FILENO);
  OutputSet outputs;
  for (uint64_t i = 0; i < count; ++i) {
    if (progress) std::fprintf(stderr, "\r%s: %s %llu of %llu", command.c_str(), unit.c_str(),
                               static_cast<unsigned long long>(i + 1), static_cast<unsigned long long>(count));
    try {
      reader.ReadFrame(frame);
      const Image& result = process(frame);
      WriteImage(result, outputs.Stage(NumberedPath(options.output, i, count)), type);
    } catch (const Error& e) {
      if (progress) std::fputc('\n', stderr);
      if (count == 1) throw;
      throw Error(unit + " " + std::to_string(i + 1) + " of " + std::to_string(count) + ": " + e.what() +
                  "; no output written");
    }
  }
  if (progress) std::fputc('\n', stderr);
  outputs.CommitAll();
  out << command << ": " << count << " " << unit << (count == 1 ? "" : "s") << ", " << what << ", written to "
      << NumberedPath(options.output, 0, count);
  if (count > 1) out << " .. " << NumberedPath(options.output, count - 1, count);
  out << "\n";
}

}  // namespace qvi::tool
