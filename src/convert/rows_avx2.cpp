// The conversions' line kernels of this set: AVX2's (kernels_avx2.h).
#include "convert/kernels_avx2.h"

namespace qvi::convert::QVI_ISA {

const LineKernels kLineKernels = MakeLineKernels<Isa::QVI_ISA, Avx2Kernels>();

}  // namespace qvi::convert::QVI_ISA
