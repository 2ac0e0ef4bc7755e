// The demosaic entry points called directly over guard-page buffers: the
// member, the depth, sizes and strides (odd ones for 16-bit sources too)
// drawn from the input.  The source may be read only within stride x height
// bytes plus the member's documented over-read and is never written; the
// destination receives `height` rows at its stride (what a direct caller must
// supply) and nothing outside each row's pixels: padding and the X byte of
// the 32-bit packings keep their bytes, and an image the members cannot
// produce (smaller than 2x2, a stride shorter than a row, no memory) leaves
// the destination untouched.
#include "fuzz/fuzz_input.h"
#include "support/demosaic_members.h"
#include "support/qvb_buffer.h"

namespace qvi::fuzz {

void Run(FuzzInput& in) {
  const test::DemosaicMember& m = test::DemosaicMembers()[in.Below(test::DemosaicMembers().size())];
  const uint32_t b = in.Byte(), bits = b < 200 ? 10 + 2 * (b % 4) : b % 40;  // 8 is refused, other odd depths not
  const uint32_t w = in.Below(48), h = in.Below(12);
  const uint32_t sb = m.sample_bytes(), pb = m.pixel_bytes();
  const uint32_t src_stride = in.Stride(w * sb), dst_stride = in.Stride(w * pb);
  const uint32_t faults = in.Byte();

  test::FencedMemory src(test::DemosaicSourceBytes(w, h, src_stride, sb, m.over_read_samples(w, h)), in.PickFence(), 0);
  test::FencedMemory dst(uint64_t{dst_stride} * h, in.PickFence(), 0xA5);
  in.Fill(src.data(), src.size());
  test::QvbBuffer s(faults & 1 ? nullptr : src.data(), m.source_format(), w, h, src_stride);
  test::QvbBuffer d(faults & 2 ? nullptr : dst.data(), m.destination_format(), w, h, dst_stride);
  const std::vector<uint8_t> src_before = Bytes(src), dst_before = Bytes(dst);

  const Status status = m.call(faults & 4 ? kGone : s.handle(), faults & 8 ? kGone : d.handle(), bits);
  const bool refused = (faults & 0x0C) || (m.deep() && bits == 8);
  Check(status == (refused ? STATUS_BAD_BUFFER : STATUS_OK), "status", status);
  Check(Bytes(src) == src_before, "the source was written");

  const bool fits = m.source_pitch(src_stride) >= w * sb && dst_stride >= w * pb;
  if (refused || (faults & 3) || w < 2 || h < 2 || !fits) {
    Check(Bytes(dst) == dst_before, "an image that cannot be produced wrote its destination", status);
    return;
  }
  const uint32_t pitch = m.destination_pitch(dst_stride);
  for (uint64_t i = 0; i < dst.size(); ++i) {
    const uint64_t row = i / pitch, x = i % pitch;
    const bool pixel_byte = row < h && x < uint64_t{w} * pb && !(m.has_x_byte() && x % 4 == 3);
    Check(pixel_byte || dst.data()[i] == 0xA5, "a byte outside the pixels was written", i);
  }
}

}  // namespace qvi::fuzz
