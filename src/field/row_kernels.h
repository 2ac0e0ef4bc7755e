// The fast kernels of the de-interlacing rows: the table each instruction
// set's rows_<set>.cpp fills, and the choice of a call's kernels.  Each does
// a leading run of a row's bytes and returns where it stopped; the portable
// loop goes on from there.  A kernel reads the same bytes of the two field
// lines as the portable loop does for its output bytes and writes exactly
// those.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "buffer/dispatch.h"
#include "field/ops.h"

namespace qvi::field {

// Bilinear 0, Median 1: the index of an interpolating rule in the tables.
template <class Op>
inline constexpr size_t kOpIndex = std::is_same_v<Op, Median> ? 1 : 0;

struct FieldKernels {
  // The byte-wise truncating mean of two lines from byte 0.
  uint32_t (*mean)(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t n) = nullptr;
  // Bytes [i, end) of a row whose bytes all have neighbours `step` away.
  uint32_t (*interior[2])(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end,
                          uint32_t step) = {};
  // 4:2:2 bytes from an even i below end: luma (even bytes) with neighbours
  // 2 away, chroma (odd bytes) 4 away.
  uint32_t (*interior422[2])(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t i, uint32_t end) = {};
};

// The sets with kernels of their own.
inline constexpr IsaSet kFieldKernelSets{Isa::sse2, Isa::avx2, Isa::neon};

// Each set's kernels, defined in its rows_<set>.cpp.
QVI_DECLARE_PER_SET(FieldKernels, kFieldKernels)

// The kernels of the best set up to `isa` (null: the portable loops alone).
const FieldKernels* FieldKernelsOf(Isa isa);

}  // namespace qvi::field
