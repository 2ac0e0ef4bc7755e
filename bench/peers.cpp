// Side by side with the open-source peers (OpenCV's imgproc, libyuv, libtiff)
// on the same jobs, single-threaded.  Each round times a memcpy of the job's
// destination bytes, then our call and the peer's call one after the other
// (taking turns at going first), so the three see the same machine load; the
// table shows the median of the rounds.
//
//   qvi_peers [--size WxH] [--rounds N]
//
// Columns: our Mpx/s, the peer's, ours/peer (peer time over ours: above 1.0
// we are faster), each against memcpy (or, for file jobs, against one fwrite
// of the same bytes), the target and whether this run meets it.
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <random>
#include <string>
#include <vector>

#include "libyuv.h"
#include "qvb.h"
#include "qvi.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Buffer {
  Buffer(ImageFormat format, uint32_t w, uint32_t h, uint32_t stride, uint32_t seed = 1)
      : bytes(uint64_t{stride} * h + 64), width(w), height(h), stride(stride) {
    std::mt19937 rng(seed);
    for (auto& b : bytes) b = static_cast<uint8_t>(rng());
    QVB_BufferCreate(bytes.data(), w, h, stride, format, &handle);
  }
  ~Buffer() { QVB_BufferDestroy(handle); }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  uint8_t* data() { return bytes.data(); }
  // Keeps every 16-bit sample within `bits` (the peers clamp what we wrap).
  void Confine16(uint32_t bits) {
    for (uint64_t i = 0; i + 1 < bytes.size(); i += 2) bytes[i + 1] &= static_cast<uint8_t>((1u << (bits - 8)) - 1);
  }
  std::vector<uint8_t> bytes;
  uint32_t width, height, stride;
  BufferHandle handle = 0;
};

// What a target is measured against.
enum class Versus { Peer, Memcpy, Fwrite };

struct Job {
  std::string name, peer_name;
  uint64_t pixels = 0, bytes = 0;  // bytes: what the job writes (memory or file)
  std::function<void()> ours, peer;
  Versus versus = Versus::Peer;
  double target = 0;  // minimum ratio, 0 for none
  bool peer_too = false;  // also never below the peer
};

double Seconds(const std::function<void()>& f) {
  const auto t0 = Clock::now();
  f();
  return std::chrono::duration<double>(Clock::now() - t0).count();
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

std::string ScratchPath(const char* name) {
  const char* base = std::getenv("TMPDIR");
  return std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/qvi-peers-" +
         std::to_string(getpid()) + "-" + name;
}

void Fwrite(const std::string& path, const uint8_t* data, uint64_t bytes) {
  FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) return;
  static_cast<void>(std::fwrite(data, 1, bytes, f));
  std::fclose(f);
}

// libtiff: one strip of 8-bit grey or 8-bit RGB, uncompressed, big-endian.
void LibtiffWrite(const std::string& path, const uint8_t* data, uint32_t w, uint32_t h, uint32_t samples) {
  TIFF* t = TIFFOpen(path.c_str(), "wb");
  if (t == nullptr) return;
  TIFFSetField(t, TIFFTAG_IMAGEWIDTH, w);
  TIFFSetField(t, TIFFTAG_IMAGELENGTH, h);
  TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, samples);
  TIFFSetField(t, TIFFTAG_PHOTOMETRIC, samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
  TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, h);
  TIFFWriteEncodedStrip(t, 0, const_cast<uint8_t*>(data), tmsize_t{w} * h * samples);
  TIFFClose(t);
}

}  // namespace

int main(int argc, char** argv) {
  uint32_t w = 2448, h = 2048;
  int rounds = 15;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--size") == 0) std::sscanf(argv[i + 1], "%ux%u", &w, &h);
    if (std::strcmp(argv[i], "--rounds") == 0) rounds = std::max(1, std::atoi(argv[i + 1]));
  }
  w &= ~1u;
  h &= ~1u;
  cv::setNumThreads(1);
  const uint64_t px = uint64_t{w} * h;

  Buffer bay8(FMT_BAY8, w, h, w);
  Buffer bay12(FMT_BAY12, w, h, 2 * w);
  bay12.Confine16(12);
  Buffer y8(FMT_Y8, w, h, w);
  Buffer y12(FMT_Y12, w, h, 2 * w);
  y12.Confine16(12);
  Buffer bgr24(FMT_BGR24, w, h, 3 * w);
  Buffer bgrx32(FMT_BGRX32, w, h, 4 * w);
  Buffer yuv(FMT_YUV422, w, h, 2 * w);
  Buffer field8(FMT_Y8, w, h / 2, w);
  Buffer out24(FMT_BGR24, w, h, 3 * w, 2), out32(FMT_BGRX32, w, h, 4 * w, 2), out16(FMT_RGB16, w, h, 2 * w, 2);
  Buffer out8(FMT_Y8, w, h, w, 2), frame8(FMT_Y8, w, h, w, 2);
  Buffer tmp8(FMT_Y8, w, h, w, 3), tmp32(FMT_BGRX32, w, h, 4 * w, 3);

  const auto mat = [](Buffer& b, int type) { return cv::Mat(static_cast<int>(b.height), static_cast<int>(b.width), type, b.data(), b.stride); };
  const cv::Mat m_bay8 = mat(bay8, CV_8UC1), m_tmp8 = mat(tmp8, CV_8UC1), m_y8 = mat(y8, CV_8UC1);
  const cv::Mat m_bgr24 = mat(bgr24, CV_8UC3);
  cv::Mat m_out24 = mat(out24, CV_8UC3), m_out32 = mat(out32, CV_8UC4), m_out16 = mat(out16, CV_8UC2);
  const auto* y12_words = reinterpret_cast<const uint16_t*>(y12.data());
  const auto* bay12_words = reinterpret_cast<const uint16_t*>(bay12.data());
  const int iw = static_cast<int>(w), ih = static_cast<int>(h);

  std::vector<Job> jobs;
  const auto add = [&](std::string name, std::string peer_name, uint64_t bytes, std::function<void()> ours,
                       std::function<void()> peer, Versus versus, double target, bool peer_too = false) {
    jobs.push_back({std::move(name), std::move(peer_name), px, bytes, std::move(ours), std::move(peer), versus,
                    target, peer_too});
  };
  const auto cv_bayer = [&](int code, cv::Mat& out) { return [&, code] { cv::cvtColor(m_bay8, out, code); }; };

  // Demosaic, 8-bit: each of our methods against OpenCV's bilinear.
  add("BAY8 -> BGR24 dup", "OpenCV bilinear", 3 * px, [&] { QVI_BAY8_to_BGR24_dup_A(bay8.handle, out24.handle); },
      cv_bayer(cv::COLOR_BayerBG2BGR, m_out24), Versus::Peer, 2.0);
  add("BAY8 -> BGR24 ave", "OpenCV bilinear", 3 * px, [&] { QVI_BAY8_to_BGR24_ave_A(bay8.handle, out24.handle); },
      cv_bayer(cv::COLOR_BayerBG2BGR, m_out24), Versus::Peer, 1.5);
  add("BAY8 -> BGR24 med", "OpenCV bilinear", 3 * px, [&] { QVI_BAY8_to_BGR24_med_A(bay8.handle, out24.handle); },
      cv_bayer(cv::COLOR_BayerBG2BGR, m_out24), Versus::Peer, 1.0);
  add("BAY8 -> BGRX32 dup", "OpenCV bilinear BGRA", 4 * px,
      [&] { QVI_BAY8_to_BGRX32_dup_A(bay8.handle, out32.handle); }, cv_bayer(cv::COLOR_BayerBG2BGRA, m_out32),
      Versus::Peer, 2.0);
  add("BAY8 -> BGRX32 ave", "OpenCV bilinear BGRA", 4 * px,
      [&] { QVI_BAY8_to_BGRX32_ave_A(bay8.handle, out32.handle); }, cv_bayer(cv::COLOR_BayerBG2BGRA, m_out32),
      Versus::Peer, 1.5);
  add("BAY8 -> BGRX32 med", "OpenCV bilinear BGRA", 4 * px,
      [&] { QVI_BAY8_to_BGRX32_med_A(bay8.handle, out32.handle); }, cv_bayer(cv::COLOR_BayerBG2BGRA, m_out32),
      Versus::Peer, 1.0);
  // Demosaic, 12-bit: against libyuv's 16-to-8 reduction followed by OpenCV.
  const auto two_pass = [&](int code, cv::Mat& out) {
    return [&, code] {
      libyuv::Convert16To8Plane(bay12_words, iw, tmp8.data(), iw, 4096, iw, ih);
      cv::cvtColor(m_tmp8, out, code);
    };
  };
  add("BAY12 -> BGR24 ave", "libyuv 16-to-8 + OpenCV", 3 * px,
      [&] { QVI_BAYn_to_BGR24_ave_A(bay12.handle, out24.handle, 12); }, two_pass(cv::COLOR_BayerBG2BGR, m_out24),
      Versus::Peer, 1.5);
  add("BAY12 -> BGRX32 ave", "libyuv 16-to-8 + OpenCV", 4 * px,
      [&] { QVI_BAYn_to_BGRX32_ave_A(bay12.handle, out32.handle, 12); },
      two_pass(cv::COLOR_BayerBG2BGRA, m_out32), Versus::Peer, 1.5);
  add("BAY12 -> BGR24 dup", "libyuv 16-to-8 + OpenCV", 3 * px,
      [&] { QVI_BAYn_to_BGR24_dup_A(bay12.handle, out24.handle, 12); }, two_pass(cv::COLOR_BayerBG2BGR, m_out24),
      Versus::Peer, 0);
  add("BAY12 -> BGR24 med", "libyuv 16-to-8 + OpenCV", 3 * px,
      [&] { QVI_BAYn_to_BGR24_med_A(bay12.handle, out24.handle, 12); }, two_pass(cv::COLOR_BayerBG2BGR, m_out24),
      Versus::Peer, 0);

  // Repacking and grey routes: 0.9x memcpy and never below the peer.
  add("BGR24 -> BGRX32", "libyuv RGB24ToARGB", 4 * px, [&] { QVI_Convert(bgr24.handle, out32.handle); },
      [&] { libyuv::RGB24ToARGB(bgr24.data(), 3 * iw, out32.data(), 4 * iw, iw, ih); }, Versus::Memcpy, 0.9, true);
  add("BGRX32 -> BGR24", "libyuv ARGBToRGB24", 3 * px, [&] { QVI_Convert(bgrx32.handle, out24.handle); },
      [&] { libyuv::ARGBToRGB24(bgrx32.data(), 4 * iw, out24.data(), 3 * iw, iw, ih); }, Versus::Memcpy, 0.9, true);
  add("BGR24 -> RGB16", "OpenCV BGR2BGR565", 2 * px, [&] { QVI_Convert(bgr24.handle, out16.handle); },
      [&] { cv::cvtColor(m_bgr24, m_out16, cv::COLOR_BGR2BGR565); }, Versus::Memcpy, 0.9, true);
  add("Y8 -> BGR24", "OpenCV GRAY2BGR", 3 * px, [&] { QVI_Convert(y8.handle, out24.handle); },
      [&] { cv::cvtColor(m_y8, m_out24, cv::COLOR_GRAY2BGR); }, Versus::Memcpy, 0.9, true);
  add("Y8 -> BGRX32", "OpenCV GRAY2BGRA", 4 * px, [&] { QVI_Convert(y8.handle, out32.handle); },
      [&] { cv::cvtColor(m_y8, m_out32, cv::COLOR_GRAY2BGRA); }, Versus::Memcpy, 0.9, true);
  add("Y12 -> Y8", "libyuv Convert16To8Plane", px, [&] { QVI_Convert(y12.handle, out8.handle); },
      [&] { libyuv::Convert16To8Plane(y12_words, iw, out8.data(), iw, 4096, iw, ih); }, Versus::Memcpy, 0.9, true);

  // Luma/chroma: 1.2x libyuv.
  add("YUV422 -> BGR24", "libyuv YUY2ToARGB + ARGBToRGB24", 3 * px, [&] { QVI_Convert(yuv.handle, out24.handle); },
      [&] {
        libyuv::YUY2ToARGB(yuv.data(), 2 * iw, tmp32.data(), 4 * iw, iw, ih);
        libyuv::ARGBToRGB24(tmp32.data(), 4 * iw, out24.data(), 3 * iw, iw, ih);
      },
      Versus::Peer, 1.2);
  add("YUV422 -> BGRX32", "libyuv YUY2ToARGB", 4 * px, [&] { QVI_Convert(yuv.handle, out32.handle); },
      [&] { libyuv::YUY2ToARGB(yuv.data(), 2 * iw, out32.data(), 4 * iw, iw, ih); }, Versus::Peer, 1.2);

  // Field to frame (8-bit grey): against memcpy of the frame.
  const auto copy_lines = [&] {
    for (uint32_t i = 0; i < h / 2; ++i) {
      std::memcpy(frame8.data() + uint64_t{2 * i} * w, field8.data() + uint64_t{i} * w, w);
      std::memcpy(frame8.data() + uint64_t{2 * i + 1} * w, field8.data() + uint64_t{i} * w, w);
    }
  };
  const auto interpolate_lines = [&] {
    for (uint32_t i = 0; i + 1 < h / 2; ++i) {
      const uint8_t* a = field8.data() + uint64_t{i} * w;
      std::memcpy(frame8.data() + uint64_t{2 * i} * w, a, w);
      libyuv::InterpolatePlane(a, iw, a + w, iw, frame8.data() + uint64_t{2 * i + 1} * w, iw, iw, 1, 128);
    }
  };
  const auto field_job = [&](FieldToFrameMethod m) {
    return [&, m] { QVI_FieldToFrame(field8.handle, frame8.handle, m, FIELD_PARITY_EVEN); };
  };
  add("Field Y8 line doubling", "memcpy per line", px, field_job(FIELD_TO_FRAME_LINE_DUP), copy_lines,
      Versus::Memcpy, 0.8);
  add("Field Y8 line averaging", "libyuv InterpolatePlane", px, field_job(FIELD_TO_FRAME_LINE_AVE),
      interpolate_lines, Versus::Memcpy, 0.7);
  add("Field Y8 bilinear", "libyuv InterpolatePlane", px, field_job(FIELD_TO_FRAME_BILINEAR), interpolate_lines,
      Versus::Memcpy, 0.3);
  add("Field Y8 median", "libyuv InterpolatePlane", px, field_job(FIELD_TO_FRAME_MEDIAN), interpolate_lines,
      Versus::Memcpy, 0.3);

  // Files: against one fwrite of the same bytes.
  const std::string ours_path = ScratchPath("ours"), peer_path = ScratchPath("peer");
  add("TIFF Y8 file", "libtiff", px, [&] { QVI_FileWriteTiff(y8.handle, ours_path.c_str()); },
      [&] { LibtiffWrite(peer_path, y8.data(), w, h, 1); }, Versus::Fwrite, 0.9);
  add("TIFF BGR24 file", "libtiff", 3 * px, [&] { QVI_FileWriteTiff(bgr24.handle, ours_path.c_str()); },
      [&] { LibtiffWrite(peer_path, bgr24.data(), w, h, 3); }, Versus::Fwrite, 0.9);
  add("Raw BGR24 file", "fwrite", 3 * px, [&] { QVI_FileWrite(bgr24.handle, ours_path.c_str(), FILE_KIND_RAW); },
      [&] { Fwrite(peer_path, bgr24.data(), 3 * px); }, Versus::Fwrite, 0.9);

  std::vector<uint8_t> copy_from(4 * px, 1), copy_to(4 * px, 2);
  std::printf("Single thread, %ux%u, median of %d rounds.\n\n", w, h, rounds);
  std::printf("| job | peer | ours Mpx/s | peer Mpx/s | ours/peer | ours/memcpy | peer/memcpy | target | met |\n");
  std::printf("|---|---|---:|---:|---:|---:|---:|---|---|\n");
  int missed = 0;
  for (const Job& job : jobs) {
    const auto base = [&] {
      if (job.versus == Versus::Fwrite) {
        Fwrite(peer_path, bgr24.data(), job.bytes);
      } else {
        std::memcpy(copy_to.data(), copy_from.data(), job.bytes);
      }
    };
    // File jobs each write a file that does not exist yet: replacing one
    // would time the release of the old file's pages as well, the same
    // for every writer, and bury the differences between them.
    const auto timed = [&](const std::function<void()>& f) {
      if (job.versus == Versus::Fwrite) {
        std::remove(ours_path.c_str());
        std::remove(peer_path.c_str());
      }
      return Seconds(f);
    };
    std::vector<double> t_base, t_ours, t_peer;
    for (int r = -1; r < rounds; ++r) {  // round -1 warms caches and page tables
      // Whichever runs second finds the destination in cache: take turns.
      const double b = timed(base);
      double o, p;
      if (r % 2 == 0) {
        o = timed(job.ours);
        p = timed(job.peer);
      } else {
        p = timed(job.peer);
        o = timed(job.ours);
      }
      if (r < 0) continue;
      t_base.push_back(b);
      t_ours.push_back(o);
      t_peer.push_back(p);
    }
    const double base_s = Median(t_base), ours_s = Median(t_ours), peer_s = Median(t_peer);
    const double vs_peer = peer_s / ours_s, vs_base = base_s / ours_s;
    std::string target = "-";
    bool met = true;
    char text[64];
    if (job.target > 0) {
      const bool peer_target = job.versus == Versus::Peer;
      std::snprintf(text, sizeof text, "%s %.1fx %s%s", ">=", job.target, peer_target ? "peer" : (job.versus == Versus::Fwrite ? "fwrite" : "memcpy"),
                    job.peer_too ? ", >= peer" : "");
      target = text;
      met = (peer_target ? vs_peer : vs_base) >= job.target && (!job.peer_too || vs_peer >= 1.0);
      if (!met) ++missed;
    }
    std::printf("| %s | %s | %.0f | %.0f | %.2f | %.2f%s | %.2f | %s | %s |\n", job.name.c_str(),
                job.peer_name.c_str(), job.pixels / ours_s / 1e6, job.pixels / peer_s / 1e6, vs_peer, vs_base,
                job.versus == Versus::Fwrite ? " (fwrite)" : "", base_s / peer_s, target.c_str(),
                job.target > 0 ? (met ? "yes" : "no") : "");
  }
  std::remove(ours_path.c_str());
  std::remove(peer_path.c_str());
  std::printf("\n%d of the targets missed in this run.\n", missed);
  return 0;
}
