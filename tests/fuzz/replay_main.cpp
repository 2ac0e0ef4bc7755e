// Outside the fuzz build each harness is linked with this driver, which feeds
// it every file of the directories (or the files) named on its command line
// once, so that every build replays the seed corpus.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  size_t inputs = 0;
  for (int i = 1; i < argc; ++i) {
    std::vector<std::filesystem::path> files{argv[i]};
    if (std::filesystem::is_directory(argv[i])) files.assign(std::filesystem::directory_iterator(argv[i]), {});
    for (const auto& file : files) {
      std::ifstream in(file, std::ios::binary);
      const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      ++inputs;
    }
  }
  std::printf("replayed %zu inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}
