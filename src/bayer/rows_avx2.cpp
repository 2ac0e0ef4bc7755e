// The demosaic pair kernels of this set: AVX2's (lanes_avx2.h).
#include "bayer/lanes_avx2.h"

namespace qvi::bayer::QVI_ISA {

const PairKernelTable kPairKernels = MakePairKernels<Isa::QVI_ISA, PairBlocks<Avx2Target>>();

}  // namespace qvi::bayer::QVI_ISA
