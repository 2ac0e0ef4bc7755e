// qvi grab and qvi cameras against Aravis's fake GigE Vision camera over real
// UDP.  The camera and discovery broadcast on every interface, so this
// program runs only inside a private network namespace that holds nothing
// but loopback (CTest starts it through scripts/netns.sh; every test skips
// itself when another interface is present).  Each test starts the camera on
// 127.0.0.1 and kills it at the end.
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "aravis_camera.h"
#include "support/qvi_program.h"

namespace qvi::camera {
namespace {

bool OnlyLoopback() {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return false;
  bool only = true;
  for (const ifaddrs* i = list; i; i = i->ifa_next) only = only && (i->ifa_flags & IFF_LOOPBACK);
  freeifaddrs(list);
  return only;
}

// Aravis's fake GigE Vision camera on 127.0.0.1, ready once it answers.
class FakeGigeCamera {
 public:
  explicit FakeGigeCamera(const std::string& options = "")
      : pid_(test::StartShell("exec arv-fake-gv-camera-0.8 -i 127.0.0.1 " + options + " </dev/null >/dev/null 2>&1")) {
    for (int tries = 0; tries < 50; ++tries) {
      try {
        AravisCamera::OpenAddress("127.0.0.1");
        return;
      } catch (const CameraError&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
      }
    }
    throw std::runtime_error("the fake GigE Vision camera did not answer");
  }
  ~FakeGigeCamera() { Kill(); }
  void Kill() {
    if (pid_ > 0) kill(pid_, SIGKILL), test::WaitFor(pid_);
    pid_ = 0;
  }

 private:
  pid_t pid_ = 0;
};

std::string ReadText(const std::string& path) {
  std::ifstream f(path);
  return {std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()};
}

// The numbers of the last line of qvi's output, when it is a JSON object.
std::map<std::string, double> Json(const std::string& out) {
  std::map<std::string, double> numbers;
  const size_t start = out.rfind('{');
  if (start == std::string::npos || out.find('\n', start) != out.size() - 1) return numbers;
  const std::string line = out.substr(start);
  const std::regex field("\"([a-z0-9_]+)\":(-?[0-9.]+)");
  for (auto i = std::sregex_iterator(line.begin(), line.end(), field); i != std::sregex_iterator(); ++i)
    numbers[(*i)[1]] = std::stod((*i)[2]);
  return numbers;
}

std::vector<std::string> Numbered(const std::string& stem, const std::string& ext, int count, int digits) {
  std::vector<std::string> names;
  char number[16];
  for (int i = 1; i <= count; ++i) names.push_back(stem + "-" + (std::snprintf(number, 16, "%0*d", digits, i), number) + ext);
  return names;
}

void WaitUntil(const std::function<bool()>& done) {
  for (int tries = 0; tries < 200 && !done(); ++tries) std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

// Each test runs qvi in a folder of its own.
class GigE : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!OnlyLoopback())
      GTEST_SKIP() << "runs only inside a private network namespace with nothing but loopback (scripts/netns.sh)";
  }
  test::QviDir dir_;
};

TEST_F(GigE, DiscoversTheCameraAndWritesNumberedFiles) {
  FakeGigeCamera camera;
  const test::QviResult list = dir_.Qvi("cameras");
  ASSERT_EQ(list.exit_code, 0) << list.err;
  EXPECT_NE(list.out.find("Aravis-Fake-GV01  Aravis  Fake   GV01    127.0.0.1  GigEVision"), std::string::npos)
      << list.out;
  test::QviResult r = dir_.Qvi("grab --camera Aravis-Fake-GV01 --pixel-format BayerGR8 --width 64 --height 48 --frames 6 "
                 "--threads 2 --json -o frame.tif");
  ASSERT_EQ(r.exit_code, 0) << r.err;
  auto json = Json(r.out);
  EXPECT_EQ(json["converted"], 6);
  EXPECT_EQ(json["files"], 6);
  EXPECT_EQ(json["incomplete"], 0);
  EXPECT_EQ(json["width"], 64);
  EXPECT_GE(json["received"], 6);
  for (const char* key : {"dropped", "fps", "convert_ms_p50", "convert_ms_p99"}) EXPECT_TRUE(json.count(key)) << key;
  EXPECT_NE(r.out.find("64 x 48 BayerGR8 to BGR24 (ave, phase B)"), std::string::npos) << r.out;
  EXPECT_EQ(dir_.Entries(), Numbered("frame", ".tif", 6, 3));
  for (const std::string& name : dir_.Entries()) EXPECT_EQ(std::filesystem::file_size(dir_ / name), 204u + 64 * 48 * 3) << name;
}

// With packets lost on the way, some frames arrive incomplete: they are
// counted and never written, and every file written holds one whole frame of
// the camera's ramp (a torn frame would mix two frames, or zeros).
TEST_F(GigE, LostPacketsGiveIncompleteFramesThatAreNeverWritten) {
  FakeGigeCamera camera("-r 50");  // 5% of the packets lost
  test::QviResult r = dir_.Qvi("grab --address 127.0.0.1 --pixel-format Mono8 --width 128 --height 96 --frames 12 --json "
                       "--timeout 20 -o frame.raw");
  ASSERT_EQ(r.exit_code, 0) << r.err;
  auto json = Json(r.out);
  EXPECT_GT(json["incomplete"], 0);
  EXPECT_EQ(json["converted"], 12);
  ASSERT_EQ(dir_.Entries(), Numbered("frame", ".raw", 12, 3));
  for (const std::string& name : dir_.Entries()) {
    const std::string bytes = ReadText(dir_ / name);
    ASSERT_EQ(bytes.size(), 128u * 96);
    const int first = static_cast<uint8_t>(bytes[0]);
    int wrong = 0;
    for (int y = 0; y < 96; ++y)
      for (int x = 0; x < 128; ++x) wrong += static_cast<uint8_t>(bytes[y * 128 + x]) != (first + x + y) % 255;
    EXPECT_EQ(wrong, 0) << name << " is not one whole frame";
  }
}

TEST_F(GigE, CtrlCStopsCleanlyAndKeepsOnlyWholeFiles) {
  FakeGigeCamera camera;
  const pid_t qvi = dir_.Start("grab --address 127.0.0.1 --pixel-format BayerGB8 --width 320 --height 240 --json "
                          "-o frame.png");
  WaitUntil([&] { return dir_.Entries().size() >= 2; });  // files being written, under temporary names
  kill(qvi, SIGINT);
  test::QviResult r = dir_.Finish(qvi);
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_NE(r.out.find("stopped by an interrupt"), std::string::npos) << r.out;
  const int converted = static_cast<int>(Json(r.out)["converted"]);
  EXPECT_GE(converted, 1);
  EXPECT_EQ(dir_.Entries(), Numbered("frame", ".png", converted, 6)) << "no temporary file may stay";
  for (const std::string& name : dir_.Entries()) {
    const std::string bytes = ReadText(dir_ / name);
    EXPECT_EQ(bytes.substr(bytes.size() - 8, 4), "IEND") << name << " is cut short";
  }
}

TEST_F(GigE, AStreamThatStopsEndsTheRunAndLeavesNoFile) {
  FakeGigeCamera camera;
  const pid_t qvi = dir_.Start("grab --address 127.0.0.1 --pixel-format Mono8 --width 64 --height 64 --timeout 1 "
                          "-o frame.raw");
  WaitUntil([&] { return !dir_.Entries().empty(); });
  camera.Kill();
  test::QviResult r = dir_.Finish(qvi);
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_NE(r.err.find("no frame came from the camera for 1.0 s (stream timeout)"), std::string::npos) << r.err;
  EXPECT_TRUE(dir_.Entries().empty());
}

TEST_F(GigE, ErrorsNameTheProblem) {
  FakeGigeCamera camera;
  const std::pair<std::string, std::string> cases[] = {
      {"--address 127.0.0.1 --pixel-format BayerRG12p",
       "the camera does not offer the pixel format BayerRG12p; it offers BayerBG8, BayerGB8, BayerGR8, BayerRG8, "
       "Mono8, RGB8, Mono16"},
      {"--address 127.0.0.1 --pixel-format RGB8 --to BGR24",
       "the library has no conversion from RGB24 (the camera's RGB8) to BGR24"},
      {"--address 127.0.0.1 --pixel-format RGB8 -o x.tif", "TIFF files are written from Y8 or BGR24 pixels, not RGB24"},
      {"--address 127.0.0.1 --pixel-format Mono8 --method med", "--method applies to Bayer formats only"},
      {"--address 127.0.0.1 --width 5000 --height 10", "a width of 5000 is outside the camera's range 1..2048"},
      {"--address 127.0.0.1 --fps 5000", "a frame rate of 5000 is outside the camera's range 0.1..1000"},
      {"--address 127.0.0.2", "no GigE Vision camera answered at 127.0.0.2"},
      {"--camera NoSuchCamera", "no camera named NoSuchCamera was found"},
  };
  for (const auto& [args, message] : cases) {
    test::QviResult r = dir_.Qvi("grab --frames 1 " + args);
    EXPECT_EQ(r.exit_code, 1) << args;
    EXPECT_NE(r.err.find(message), std::string::npos) << args << "\n" << r.err;
    EXPECT_TRUE(dir_.Entries().empty()) << args;
  }
}

}  // namespace
}  // namespace qvi::camera
