#include "field/row_kernels.h"

namespace qvi::field {
namespace {

constexpr IsaTables<FieldKernels> kTables = [] {
  IsaTables<FieldKernels> tables{};
#define QVI_TABLE(name, arch, flags, has) QVI_ON_##arch(tables[static_cast<size_t>(Isa::name)] = &name::kFieldKernels;)
  QVI_INSTRUCTION_SETS(QVI_TABLE)
#undef QVI_TABLE
  return tables;
}();

}  // namespace

const FieldKernels* FieldKernelsOf(Isa isa) { return kTables[static_cast<size_t>(Best(kFieldKernelSets, isa))]; }

}  // namespace qvi::field
