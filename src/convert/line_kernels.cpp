#include "convert/line_kernels.h"

namespace qvi::convert {
namespace {

constexpr IsaTables<LineKernels> kTables = QVI_TABLES_PER_SET(LineKernels, kLineKernels);

}  // namespace

LineKernel LineKernelOf(size_t route, Isa isa) {
  const Isa best = Best(kRouteKernels[route].sets, isa);
  const LineKernels* table = kTables[static_cast<size_t>(best)];
  return table != nullptr ? (*table)[route] : LineKernel{};
}

}  // namespace qvi::convert
