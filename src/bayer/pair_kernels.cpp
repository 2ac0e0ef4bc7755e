#include "bayer/pair_kernels.h"

namespace qvi::bayer {
namespace {

constexpr IsaTables<PairKernelTable> kTables = [] {
  IsaTables<PairKernelTable> tables{};
#define QVI_TABLE(name, arch, flags, has) QVI_ON_##arch(tables[static_cast<size_t>(Isa::name)] = &name::kPairKernels;)
  QVI_INSTRUCTION_SETS(QVI_TABLE)
#undef QVI_TABLE
  return tables;
}();

}  // namespace

const MemberKernels* PairKernelsOf(size_t member, Isa isa) {
  const PairKernelTable* table = kTables[static_cast<size_t>(Best(KernelSetsOf(kMemberKeys[member].packing), isa))];
  return table != nullptr ? &(*table)[member] : nullptr;
}

}  // namespace qvi::bayer
