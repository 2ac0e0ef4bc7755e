#include "bayer/hand_off.h"

#include "bayer/member.h"

namespace qvi::bayer {
namespace {

constexpr uint32_t MemberCode(Depth d, Packing p, Method m, Phase f) {
  return static_cast<uint32_t>(d) << 12 | static_cast<uint32_t>(p) << 8 | static_cast<uint32_t>(m) << 4 |
         static_cast<uint32_t>(f);
}

}  // namespace

Status DemosaicHandOff(BufferHandle source, BufferHandle destination, Fmt source_format, Fmt destination_format,
                       uint32_t method, uint32_t phase) {
  Method m;
  switch (method) {
    case DEMOSAIC_METHOD_DUP: m = Method::dup; break;
    case DEMOSAIC_METHOD_AVE: m = Method::ave; break;
    case DEMOSAIC_METHOD_MED: m = Method::med; break;
    default: return STATUS_BAD_BAYER_MODE;
  }
  Packing p;
  switch (destination_format) {
    case Fmt::RGBX32: p = Packing::RGBX32; break;
    case Fmt::BGRX32: p = Packing::BGRX32; break;
    case Fmt::BGR24: p = Packing::BGR24; break;
    case Fmt::RGB16: p = Packing::RGB16; break;
    case Fmt::BGR16: p = Packing::BGR16; break;
    default: return STATUS_BAD_PARAMETER;
  }
  // RGBX32 and BGR16 exist only as duplication members.
  if ((p == Packing::RGBX32 || p == Packing::BGR16) && m != Method::dup) return STATUS_BAD_BAYER_MODE;
  Phase f;
  switch (phase) {
    case BAYER_PHASE_A: f = Phase::A; break;
    case BAYER_PHASE_B: f = Phase::B; break;
    case BAYER_PHASE_C: f = Phase::C; break;
    case BAYER_PHASE_D: f = Phase::D; break;
    default: return STATUS_BAD_BAYER_MODE;
  }
  // BGR16 exists only in phase A.
  if (p == Packing::BGR16 && f != Phase::A) return STATUS_BAD_BAYER_MODE;
  const uint32_t bits = MosaicBits(source_format);
  if (bits == 0) return STATUS_BAD_PARAMETER;
  const Depth d = bits == 8 ? Depth::BAY8 : Depth::BAYn;
  // The entry point repeats its own checks; what it returns is not passed on.
  switch (MemberCode(d, p, m, f)) {
#define QVI_CALL_BAY8(P, M, F) (void)QVI_BAY8_to_##P##_##M##_##F(source, destination)
#define QVI_CALL_BAYn(P, M, F) (void)QVI_BAYn_to_##P##_##M##_##F(source, destination, bits)
#define QVI_MEMBER(depth, packing, method, phase, deviations)                                   \
  case MemberCode(Depth::depth, Packing::packing, Method::method, Phase::phase):                \
    QVI_CALL_##depth(packing, method, phase);                                                    \
    return STATUS_OK;
#include "bayer/members.def"
#undef QVI_MEMBER
#undef QVI_CALL_BAYn
#undef QVI_CALL_BAY8
    default: return STATUS_BAD_PARAMETER;  // no such member (n-bit into BGR16 is not a route)
  }
}

}  // namespace qvi::bayer
