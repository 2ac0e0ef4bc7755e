// The only code that talks to the buffer library: what each exported
// operation asks about its buffers, in the order it asks, and where a check
// of an answer stops it.  Every query clears its storage first and none looks
// at the query's own return value (but the raw dump's stride, below): a
// buffer is judged by the answers alone, and an unanswered query reads as 0.
#pragma once

#include <cstdint>

#include "buffer/view.h"
#include "qvi.h"

namespace qvi::buffer {

// QVI_Convert: validity of the source, then of the destination; format of
// the destination, then of the source; address of the source, then of the
// destination (each 0 answer: STATUS_BAD_BUFFER).  Then, unchecked, strides,
// heights and widths (source before destination each time), and the
// source's demosaic method and phase.
struct ConversionBuffers {
  View source, destination;
  uint32_t method = 0;  // BUF_PARAM_DEMOSAIC_METHOD of the source
  uint32_t phase = 0;   // BUF_PARAM_BAYER_PHASE of the source
};
Status AskForConversion(BufferHandle source, BufferHandle destination, ConversionBuffers* buffers);

// A demosaic entry point: validity of the source, then of the destination
// (0: STATUS_BAD_BUFFER); for deep input a depth of exactly 8 refused the
// same way; then, unchecked, source address, source stride, destination
// stride, destination address, source height, source width.
//
// The Bayer hand-off: a Bayer route of QVI_Convert, once its own checks
// pass, calls a member's entry point with the same two handles, which asks
// this again (bayer/hand_off.h).
Status AskForDemosaic(BufferHandle source, BufferHandle destination, bool deep, uint32_t bits, View* source_view,
                      View* destination_view);

// QVI_FieldToFrame, before it hands both buffers to a method: validity of
// the field, then of the frame (0: STATUS_BAD_BUFFER).
Status AskForFieldToFrame(BufferHandle field, BufferHandle frame);

// A de-interlacing method: both validities asked, the field's answer
// tested; both addresses asked, then each tested (null: STATUS_BAD_BUFFER);
// the field's format where `format` (bilinear, median); then strides,
// heights and widths, field before frame each time.
enum class FieldFormat : bool { NotAsked, Asked };
Status AskForDeinterlacing(BufferHandle field, BufferHandle frame, FieldFormat format, View* field_view,
                           View* frame_view);

// QVI_FileWrite, before the raw dump or the TIFF writer: validity (0:
// STATUS_BAD_BUFFER).
Status AskForFileWrite(BufferHandle buffer);

// The raw dump: address (null: STATUS_BAD_BUFFER), height, stride; what the
// buffer library returned for the stride query is handed back in
// `stride_status`, which a finished dump returns as its own.
Status AskForRawDump(BufferHandle buffer, View* view, Status* stride_status);

// QVI_FileWriteTiff: validity, format (each 0: STATUS_BAD_BUFFER), then,
// unchecked, address (may be null), height, width, stride.
Status AskForTiff(BufferHandle buffer, View* view);

}  // namespace qvi::buffer
