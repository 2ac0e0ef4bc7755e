// Unpacking the packed camera layouts into 16-bit words, right-aligned (a
// 12-bit sample s becomes the word s, 0..4095), in the host's byte order: the
// layout of FMT_Y10, FMT_Y12, FMT_BAY10 and FMT_BAY12, which QVI_Convert then
// takes.  Nothing is allocated; the caller owns both sides.
//
// Bytes b0, b1, ... of a line; p0, p1, ... its pixels; p[9:2] bits 9..2 of p.
//
// PFNC "p" (Mono10p, Mono12p, BayerRG10p, ...: Packing::kLsb10, kLsb12): the
// line is one little-endian bit stream; pixel i takes the `bits` bits from
// bit i * bits on, counting bit 0 as the lowest bit of b0.
//
//   12p:  b0 = p0[7:0]   b1 = p1[3:0] p0[11:8]   b2 = p1[11:4]
//   10p:  b0 = p0[7:0]   b1 = p1[5:0] p0[9:8]    b2 = p2[3:0] p1[9:6]
//         b3 = p3[1:0] p2[9:4]   b4 = p3[9:2]
//
// GigE Vision "Packed" (Mono10Packed, Mono12Packed, BayerRG12Packed, ...:
// Packing::kGrouped10, kGrouped12): two pixels in three bytes; the outer
// bytes hold each pixel's high 8 bits, the middle byte their low bits, the
// first pixel's in its low nibble.
//
//   12Packed:  b0 = p0[11:4]   b1 = p1[3:0] p0[3:0]   b2 = p1[11:4]
//   10Packed:  b0 = p0[9:2]    b1 = 00 p1[1:0] 00 p0[1:0]   b2 = p1[9:2]
//
// qvi's own FMT_Y12P (see qvi.h), which no camera format maps to: a
// big-endian bit stream, the first pixel in the high bits.  QVI_Convert takes
// it only into 8-bit colour, from the high 8 bits of each pixel.
//
//   Y12P:  b0 = p0[11:4]   b1 = p0[3:0] p1[11:8]   b2 = p1[7:0]
//
// So the same three bytes 0x12 0x34 0x56 are the pixels 0x412, 0x563 in 12p,
// 0x124, 0x563 in 12Packed and 0x123, 0x456 in Y12P.
//
// A line of `width` pixels occupies PackedLineBytes(packing, width) bytes,
// the last one partly used when the line ends inside a byte; the unpackers
// read those bytes and no others.  Lines of a frame start on a byte,
// `src_stride` bytes apart; a camera's frame, where the lines follow one
// another as one bit stream, goes through UnpackStream.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pfnc.h"

namespace qvi::camera {

// Bytes one line of `width` pixels occupies in `packing` (kNone: 0, as it
// depends on the format; CameraLineBytes covers every format).
uint64_t PackedLineBytes(Packing packing, uint64_t width);

// Unpacks one line of `width` pixels from `src` into `width` 16-bit words at
// `dst` (no alignment needed).  kNone writes nothing.
void UnpackLine(Packing packing, const uint8_t* src, uint8_t* dst, uint32_t width);

// Unpacks `height` lines, `src_stride` bytes apart in the source and
// `dst_stride` bytes apart in the destination.  Bytes of a destination line
// after its 2 * width bytes are left as they are.
void Unpack(Packing packing, const uint8_t* src, size_t src_stride, uint32_t width, uint32_t height, uint8_t* dst,
            size_t dst_stride);

// Unpacks a frame sent as one bit stream (CameraFrameBytes(format, width,
// height) bytes): line y starts at pixel y * width of the stream, which for
// some widths is inside a byte or a group.
void UnpackStream(Packing packing, const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst,
                  size_t dst_stride);

}  // namespace qvi::camera
