#include "bayer/pair_kernels.h"

namespace qvi::bayer {
namespace {

constexpr IsaTables<PairKernelTable> kTables = QVI_TABLES_PER_SET(PairKernelTable, kPairKernels);

}  // namespace

const MemberKernels* PairKernelsOf(size_t member, Isa isa) {
  const PairKernelTable* table = kTables[static_cast<size_t>(Best(KernelSetsOf(kMemberKeys[member].packing), isa))];
  return table != nullptr ? &(*table)[member] : nullptr;
}

}  // namespace qvi::bayer
