// What a demosaic member is: input depth, output packing, method, phase and
// the deviations it carries, all fixed at compile time.  members.def lists
// the exported members; the kernels are instantiated from these types.
#pragma once

#include <cstdint>

namespace qvi::bayer {

// BAY8: one byte per sample.  BAYn: one 16-bit word per sample holding n
// significant bits, n passed at run time.
enum class Depth { BAY8, BAYn };
enum class Packing { RGBX32, BGRX32, BGR24, RGB16, BGR16 };
enum class Method { dup, ave, med };
// Colours of the 2x2 cell, top row then bottom row.
enum class Phase {
  A,  // R G / G B
  B,  // G R / B G
  C,  // G B / R G
  D,  // B G / G R
};

// Pixels where particular members deliberately differ from their siblings.
using Deviations = uint32_t;
inline constexpr Deviations kNone = 0;
// dup: blue sites of column 0 below row 0 take green from the right neighbour, not from the pixel above.
inline constexpr Deviations kGreenFromRightAtColumn0Blue = 1u << 0;
// ave/med: the closing column of odd interior rows takes red as the 8-bit mean of the raw samples above and below.
inline constexpr Deviations kUnreducedRedAtClosingColumn = 1u << 1;
// ave/med: column 0 of even interior rows takes blue as the 8-bit mean of the raw samples above and below.
inline constexpr Deviations kUnreducedBlueAtColumn0 = 1u << 2;
// ave/med: the row below is read one sample further right (odd widths: every interior row; even widths: the top-right green).
inline constexpr Deviations kBelowRowOneAhead = 1u << 3;

template <Depth D, Packing P, Method M, Phase F, Deviations X>
struct Member {
  static constexpr Depth kDepth = D;
  static constexpr Packing kPacking = P;
  static constexpr Method kMethod = M;
  static constexpr Phase kPhase = F;
  static constexpr Deviations kDeviations = X;
  static constexpr bool Has(Deviations d) { return (X & d) != 0; }

  static_assert(M == Method::dup || !Has(kGreenFromRightAtColumn0Blue), "a duplication-only deviation");
  static_assert(M != Method::dup || (X & ~kGreenFromRightAtColumn0Blue) == 0, "an averaging/median-only deviation");
};

// Phase layout.  Red stands on rows and columns of these parities; blue on
// the opposite ones; green everywhere else.
constexpr uint32_t RedRowParity(Phase f) { return (f == Phase::C || f == Phase::D) ? 1u : 0u; }
constexpr uint32_t RedColumnParity(Phase f) { return (f == Phase::B || f == Phase::D) ? 1u : 0u; }

// A mosaic row, known from its parity: its non-green samples are all red
// (kRed) or all blue, and stand at columns of parity kSiteColumn.  The
// colours the row lacks at a green site are the row's own colour (left and
// right) and the other one (above and below).
template <Phase F, uint32_t RowParity>
struct RowKind {
  static constexpr uint32_t kParity = RowParity;
  static constexpr bool kRed = RowParity == RedRowParity(F);
  static constexpr uint32_t kSiteColumn = kRed ? RedColumnParity(F) : 1u - RedColumnParity(F);
  // True when column x's parity holds the row's red or blue samples.
  static constexpr bool SiteAt(uint32_t column_parity) { return column_parity == kSiteColumn; }
};

}  // namespace qvi::bayer
