// The de-interlacers over guard-page buffers: method (through
// QVI_FieldToFrame or called directly, unknown methods included), parity,
// format, field and frame geometry drawn from the input, and now and then a
// frame that overlaps its field.  Nothing outside field stride x height may be
// read and nothing outside frame stride x height written; a separate field is
// never written, and a refused call writes nothing.
#include "fuzz/fuzz_input.h"
#include "support/qvb_buffer.h"

namespace qvi::fuzz {

constexpr uint32_t kFormats[] = {FMT_Y8,     FMT_BGR24, FMT_RGB24, FMT_XBGR32, FMT_BGRX32, FMT_XRGB32,
                                 FMT_RGBX32, FMT_YUV422, FMT_Y16,  0,          0x1E,       0xC002261F};
constexpr uint32_t kBytes[] = {1, 3, 3, 4, 4, 4, 4, 2, 2, 1, 2, 2};
constexpr uint32_t kParities[] = {0, 1, 2, 0xFFFFFFFF};

// Called directly, method 4 reaches the median.
Status Call(uint32_t method, bool direct, BufferHandle field, BufferHandle frame, FieldParity parity) {
  constexpr Status (*kDirect[])(BufferHandle, BufferHandle, FieldParity) = {
      QVI_FieldToFrame_LineDup, QVI_FieldToFrame_LineAve, QVI_FieldToFrame_Bilinear, QVI_FieldToFrame_Median};
  return direct ? kDirect[std::min(method, 3u)](field, frame, parity) : QVI_FieldToFrame(field, frame, method, parity);
}

void Run(FuzzInput& in) {
  const uint32_t method = in.Below(5), flags = in.Byte(), parity = kParities[in.Below(4)];
  const uint32_t f = in.Below(12), format = kFormats[f];
  const uint32_t w = in.Below(40), h = in.Below(10);
  const uint32_t stride = in.Stride(w * kBytes[f]);
  // The frame should have the field's stride and twice its lines; the size
  // check only compares 2 x width x height with stride x height.
  const uint32_t frame_stride = flags & 1 ? in.Stride(w * kBytes[f]) : stride;
  const uint32_t frame_height = flags & 2 ? in.Below(2 * h + 3) : 2 * h;
  const uint32_t frame_width = flags & 4 ? in.Below(40) : w;
  const uint64_t field_bytes = uint64_t{stride} * h, frame_bytes = uint64_t{frame_stride} * frame_height;
  // Overlap: both buffers in one mapping, the frame `offset` bytes on.
  const bool overlap = (flags & 0x18) == 0x18;
  const uint64_t offset = overlap ? in.Below(static_cast<uint32_t>(field_bytes) + 1) : 0;

  test::FencedMemory field(overlap ? std::max(field_bytes, offset + frame_bytes) : field_bytes, in.PickFence(), 0);
  test::FencedMemory frame(overlap ? 0 : frame_bytes, in.PickFence(), 0xA5);
  in.Fill(field.data(), field.size());
  uint8_t* frame_data = overlap ? field.data() + offset : frame.data();

  // Now and then an unknown handle or a buffer without memory.
  const uint32_t faults = in.Byte();
  test::QvbBuffer fb(faults & 1 ? nullptr : field.data(), format, w, h, stride);
  test::QvbBuffer rb(faults & 2 ? nullptr : frame_data, format, frame_width, frame_height, frame_stride);
  const std::vector<uint8_t> field_before = Bytes(field), frame_before = Bytes(frame);

  const Status status = Call(method, flags & 0x80, faults & 4 ? kGone : fb.handle(), faults & 8 ? kGone : rb.handle(),
                             parity);
  Check(status == STATUS_OK || status == STATUS_BAD_BUFFER || status == STATUS_BAD_PARAMETER,
        "undocumented status", status);
  Check(overlap || Bytes(field) == field_before, "the field was written");
  Check(status == STATUS_OK || (Bytes(field) == field_before && Bytes(frame) == frame_before),
        "a refused call wrote its frame", status);
}

}  // namespace qvi::fuzz
