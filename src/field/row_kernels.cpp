#include "field/row_kernels.h"

namespace qvi::field {
namespace {

constexpr IsaTables<FieldKernels> kTables = QVI_TABLES_PER_SET(FieldKernels, kFieldKernels);

}  // namespace

const FieldKernels* FieldKernelsOf(Isa isa) { return kTables[static_cast<size_t>(Best(kFieldKernelSets, isa))]; }

}  // namespace qvi::field
