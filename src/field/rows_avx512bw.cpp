// No de-interlacing kernels of this set's own: AVX2's (rows_avx2.cpp) serve
// the processors that have it.
#include "field/row_kernels.h"

namespace qvi::field::QVI_ISA {

const FieldKernels kFieldKernels{};

}  // namespace qvi::field::QVI_ISA
