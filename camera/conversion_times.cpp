#include "conversion_times.h"

#include <algorithm>
#include <cmath>

namespace qvi::camera {

void ConversionTimes::Add(double ms) {
  const double bin = ms > kLowest ? std::floor(std::log(ms / kLowest) / std::log(kStep)) : 0.0;
  ++bins_[static_cast<size_t>(std::min(bin, static_cast<double>(kBins - 1)))];
  min_ = count_ == 0 ? ms : std::min(min_, ms);
  max_ = count_ == 0 ? ms : std::max(max_, ms);
  ++count_;
}

double ConversionTimes::Percentile(double p) const {
  if (count_ == 0) return 0;
  const uint64_t rank = std::max<uint64_t>(1, static_cast<uint64_t>(std::ceil(p / 100 * static_cast<double>(count_))));
  if (rank == 1) return min_;
  if (rank >= count_) return max_;
  uint64_t seen = 0;
  size_t bin = 0;
  for (; bin < kBins; ++bin) {
    seen += bins_[bin];
    if (seen >= rank) break;
  }
  // The middle of the bin (in ratio), kept inside what was seen.
  const double middle = kLowest * std::pow(kStep, static_cast<double>(bin) + 0.5);
  return std::clamp(middle, min_, max_);
}

}  // namespace qvi::camera
