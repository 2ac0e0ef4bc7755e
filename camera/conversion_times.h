// Percentiles of per-frame times over a run of any length, without keeping
// the samples: a histogram of bins 1% wide from 1 microsecond to 1000 s.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qvi::camera {

class ConversionTimes {
 public:
  void Add(double ms);
  uint64_t count() const { return count_; }
  // The nearest-rank percentile (p in 0..100) in milliseconds: within 1% of
  // the sample it stands for, and exact for the smallest and largest sample;
  // 0 when there are none.
  double Percentile(double p) const;

 private:
  static constexpr double kLowest = 1e-3;  // ms
  static constexpr double kStep = 1.01;
  static constexpr size_t kBins = 2100;   // kLowest * kStep^kBins > 1e6 ms
  std::array<uint32_t, kBins> bins_{};
  uint64_t count_ = 0;
  double min_ = 0, max_ = 0;
};

}  // namespace qvi::camera
