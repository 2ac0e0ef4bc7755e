// QVI_Convert over guard-page buffers, every choice drawn from the input:
// both formats (whole codes or bare low bytes), sizes, strides, the source's
// demosaic method and phase, unusable handles and addresses, and the side of
// each buffer that touches a protected page.  The source may be read only
// within stride x height bytes, plus the documented over-read of a demosaic
// member; the destination may be written only within stride x height bytes
// and only when the call succeeds; the source is never written.
#include "fuzz/fuzz_input.h"
#include "support/convert_reach.h"
#include "support/qvb_buffer.h"

namespace qvi::fuzz {

uint32_t DrawFormat(FuzzInput& in) {
  const uint32_t b = in.Byte();
  return (b & 0x1F) + (b & 0x20 ? 0 : kFormatFamily);
}

constexpr uint32_t kMethods[] = {DEMOSAIC_METHOD_DUP, DEMOSAIC_METHOD_AVE, DEMOSAIC_METHOD_MED, 0x100, 0x9};
constexpr uint32_t kPhases[] = {BAYER_PHASE_A, BAYER_PHASE_B, BAYER_PHASE_C, BAYER_PHASE_D, 0x50A};

void Run(FuzzInput& in) {
  const uint32_t src_format = DrawFormat(in), dst_format = DrawFormat(in);
  const Fmt src_fmt = LowByte(src_format), dst_fmt = LowByte(dst_format);
  const uint32_t w = in.Below(70), h = in.Below(12);
  const uint32_t src_stride = in.Stride(test::TightStride(src_fmt, w)), dst_stride = in.Stride(w * BytesPerPixel(dst_fmt));
  const uint32_t flags = in.Byte();
  // The destination's own width and height take no part in the size rule.
  const uint32_t dst_height = flags & 0x10 ? in.Below(2 * h + 2) : h;
  const uint32_t dst_width = flags & 0x20 ? in.Below(70) : w;
  const uint32_t method = kMethods[in.Below(5)], phase = kPhases[in.Below(5)];

  test::FencedMemory src(test::ConvertSourceBytes(src_fmt, dst_fmt, method, phase, w, h, src_stride), in.PickFence(), 0);
  test::FencedMemory dst(uint64_t{dst_stride} * dst_height, in.PickFence(), 0xA5);
  in.Fill(src.data(), src.size());

  test::QvbBuffer s(flags & 4 ? nullptr : src.data(), src_format, w, h, src_stride);
  test::QvbBuffer d(flags & 8 ? nullptr : dst.data(), dst_format, dst_width, dst_height, dst_stride);
  s.Set(BUF_PARAM_DEMOSAIC_METHOD, method);
  s.Set(BUF_PARAM_BAYER_PHASE, phase);
  const std::vector<uint8_t> src_before = Bytes(src), dst_before = Bytes(dst);

  const Status status = QVI_Convert(flags & 1 ? kGone : s.handle(), flags & 2 ? kGone : d.handle());
  const bool documented = status == STATUS_OK || status == STATUS_BAD_BAYER_MODE || status == STATUS_BAD_BUFFER;
  Check(documented || status == STATUS_BAD_PARAMETER, "undocumented status", status);
  Check(Bytes(src) == src_before, "the source was written");
  Check(status == STATUS_OK || Bytes(dst) == dst_before, "a refused conversion wrote its destination", status);
}

}  // namespace qvi::fuzz
