// The exported demosaic entry points, one per row of members.def.
#include "bayer/demosaic.h"
#include "qvi.h"

#define QVI_MEMBER(depth, packing, method, phase, deviations) QVI_ENTRY_##depth(packing, method, phase, deviations)

#define QVI_ENTRY_BAY8(P, M, F, X)                                                                  \
  QVI_API Status QVI_BAY8_to_##P##_##M##_##F(BufferHandle source, BufferHandle destination) {       \
    using namespace qvi::bayer;                                                                      \
    return Demosaic<Member<Depth::BAY8, Packing::P, Method::M, Phase::F, X>>(source, destination, 8); \
  }

#define QVI_ENTRY_BAYn(P, M, F, X)                                                                           \
  QVI_API Status QVI_BAYn_to_##P##_##M##_##F(BufferHandle source, BufferHandle destination, uint32_t bits) { \
    using namespace qvi::bayer;                                                                               \
    return Demosaic<Member<Depth::BAYn, Packing::P, Method::M, Phase::F, X>>(source, destination, bits);     \
  }

extern "C" {
#include "bayer/members.def"
}

#undef QVI_ENTRY_BAYn
#undef QVI_ENTRY_BAY8
#undef QVI_MEMBER
