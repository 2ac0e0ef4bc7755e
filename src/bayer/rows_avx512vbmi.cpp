// No demosaic kernels of this set's own: those of AVX2 with byte-masked
// stores (rows_avx512bw.cpp) serve the processors that have it.
#include "bayer/pair_kernels.h"

namespace qvi::bayer::QVI_ISA {

const PairKernelTable kPairKernels{};

}  // namespace qvi::bayer::QVI_ISA
