// The de-interlacing row kernels of SSE2: 128-bit x86 lanes (lanes_x86.h).
#include "field/lanes_x86.h"

namespace qvi::field::QVI_ISA {

const FieldKernels kFieldKernels = RowBlocks<Lanes128>::kKernels;

}  // namespace qvi::field::QVI_ISA
