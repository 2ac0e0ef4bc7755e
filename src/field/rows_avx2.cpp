// The de-interlacing row kernels of AVX2: 256-bit x86 lanes, what is left of
// a row in 128-bit ones (lanes_x86.h).
#include "field/lanes_x86.h"

namespace qvi::field::QVI_ISA {

const FieldKernels kFieldKernels = RowBlocks<Lanes256>::kKernels;

}  // namespace qvi::field::QVI_ISA
