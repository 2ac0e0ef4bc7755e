#include "convert/line_kernels.h"

namespace qvi::convert {
namespace {

constexpr IsaTables<LineKernels> kTables = [] {
  IsaTables<LineKernels> tables{};
#define QVI_TABLE(name, arch, flags, has) QVI_ON_##arch(tables[static_cast<size_t>(Isa::name)] = &name::kLineKernels;)
  QVI_INSTRUCTION_SETS(QVI_TABLE)
#undef QVI_TABLE
  return tables;
}();

}  // namespace

LineKernel LineKernelOf(size_t route, Isa isa) {
  const Isa best = Best(kRouteKernels[route].sets, isa);
  const LineKernels* table = kTables[static_cast<size_t>(best)];
  return table != nullptr ? (*table)[route] : LineKernel{};
}

}  // namespace qvi::convert
