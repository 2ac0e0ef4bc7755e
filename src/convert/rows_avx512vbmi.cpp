// AVX-512 line kernels of the conversions (F, BW, VL and VBMI; see
// line_kernels.h).  4:2:2 luma/chroma into the 32-bit formats runs 512 bits
// wide, sixty-four pixels a block, with the AVX2 kernel's arithmetic; X bytes
// are never read, the colour bytes around them are stored with byte masks.
// BGR24 into the 5:6:5 and 5:5:5 formats, BGRX32 into BGR24, deep grey into
// 8-bit grey and 8-bit grey into the 24-bit formats run 256 bits wide: byte
// permutes (VBMI) and three-input logic replace the AVX2 kernels' chains of
// shuffles, shifts and masks.  (Measured: 512-bit loads and stores made the
// first three slower on large frames than the AVX2 kernels, though faster in
// cache.)  The 4:2:2 kernel hands what is left of a line to the AVX2 kernel
// of its route, compiled here with masked stores.
#include <immintrin.h>

#include <cstdint>

#include "convert/kernels_avx2.h"

namespace qvi::convert::QVI_ISA {
namespace {

// A table of N byte indices (32 or 64), for the byte permutes and shuffles.
template <int N>
struct alignas(N) Table {
  uint8_t b[N];
};
template <int N, class F>
constexpr Table<N> MakeTable(F index_of) {
  Table<N> t{};
  for (int i = 0; i < N; ++i) t.b[i] = static_cast<uint8_t>(index_of(i));
  return t;
}
__m512i Load(const Table<64>& t) { return _mm512_load_si512(t.b); }
__m256i Load(const Table<32>& t) { return _mm256_load_si256(reinterpret_cast<const __m256i*>(t.b)); }
__m512i LoadU(const uint8_t* p) { return _mm512_loadu_si512(p); }

// ---- 4:2:2 luma/chroma into the 32-bit formats: 64 pixels a block. ----

// Each pair's term (word 2k or 2k + 1 of a 128-bit lane) to both its pixels.
inline constexpr Table<64> kEvenWords = MakeTable<64>([](int i) { return (i % 16) / 4 * 4 + i % 2; });
inline constexpr Table<64> kOddWords = MakeTable<64>([](int i) { return (i % 16) / 4 * 4 + 2 + i % 2; });

// As Avx2Kernels::Chroma, for sixteen pairs.  64 (c - 128) comes from the chroma
// byte with its top bit flipped, as the high byte of a word, shifted right
// arithmetically by two.
struct ChromaTerms {
  __m512i to_b, from_g, to_r;
};
ChromaTerms Chroma(__m512i v, __m512i even, __m512i odd) {
  // 0x6A: (first & second) ^ third.
  const __m512i flipped = _mm512_ternarylogic_epi32(v, _mm512_set1_epi16(static_cast<short>(0xFF00)),
                                                    _mm512_set1_epi16(static_cast<short>(0x8000)), 0x6A);
  const __m512i uv64 = _mm512_srai_epi16(flipped, 2);
  const __m512i br = _mm512_mulhi_epi16(uv64, _mm512_set1_epi32(1815 | (1436 << 16)));  // blue, red terms
  const __m512i g = _mm512_madd_epi16(uv64, _mm512_set1_epi32(352 | (731 << 16)));      // green in the high word
  return {_mm512_shuffle_epi8(br, even), _mm512_shuffle_epi8(g, odd), _mm512_shuffle_epi8(br, odd)};
}

// Quadword k of a pair of registers: k < 8 from the first, 8 + j is the second's j.
__m512i Quadwords(long long q0, long long q1, long long q2, long long q3) {
  return _mm512_setr_epi64(q0, q0 + 1, q1, q1 + 1, q2, q2 + 1, q3, q3 + 1);
}

template <class W>
uint32_t Yuv422Rows(const uint8_t* s, uint8_t* d, uint32_t w) {
  const __m512i even = Load(kEvenWords), odd = Load(kOddWords);
  const __m512i low = _mm512_set1_epi16(0x00FF);
  // Lanes of the unpacked pixels, four pixels each, to pixel order (see below).
  const __m512i first = Quadwords(0, 8, 2, 10), second = Quadwords(4, 12, 6, 14);
  constexpr __mmask64 kColours = W::kColourOffset == 0 ? 0x7777777777777777ull : 0xEEEEEEEEEEEEEEEEull;
  uint32_t x = 0;
  for (; w - x >= 64; x += 64, s += 128, d += 256) {
    __m512i r[2], g[2], b[2];
    for (int i = 0; i < 2; ++i) {
      const __m512i v = LoadU(s + 64 * i);
      const __m512i luma = _mm512_and_si512(v, low);
      const ChromaTerms c = Chroma(v, even, odd);
      b[i] = _mm512_add_epi16(luma, c.to_b);
      g[i] = _mm512_sub_epi16(luma, c.from_g);
      r[i] = _mm512_add_epi16(luma, c.to_r);
    }
    // Clamped to 0..255 by the saturating pack.  Lane k of each plane holds
    // pixels 8k..8k+7, then 32+8k..32+8k+7.
    const __m512i bb = _mm512_packus_epi16(b[0], b[1]), gg = _mm512_packus_epi16(g[0], g[1]);
    const __m512i rr = _mm512_packus_epi16(r[0], r[1]), zero = _mm512_setzero_si512();
    const __m512i c0 = W::kRedFirst ? rr : bb, c2 = W::kRedFirst ? bb : rr;
    // Colour bytes at offset 0 or 1 of each pixel, a zero byte in the X place.
    const __m512i p0 = W::kColourOffset == 0 ? c0 : zero, p1 = W::kColourOffset == 0 ? gg : c0;
    const __m512i p2 = W::kColourOffset == 0 ? c2 : gg, p3 = W::kColourOffset == 0 ? zero : c2;
    const __m512i lo01 = _mm512_unpacklo_epi8(p0, p1), hi01 = _mm512_unpackhi_epi8(p0, p1);
    const __m512i lo23 = _mm512_unpacklo_epi8(p2, p3), hi23 = _mm512_unpackhi_epi8(p2, p3);
    // Lane k: pixels 8k..8k+3 (a), 8k+4..8k+7 (e), and the same 32 later (f, h).
    const __m512i a = _mm512_unpacklo_epi16(lo01, lo23), e = _mm512_unpackhi_epi16(lo01, lo23);
    const __m512i f = _mm512_unpacklo_epi16(hi01, hi23), h = _mm512_unpackhi_epi16(hi01, hi23);
    // The destination's lines 512 bytes ahead, as for the AVX2 masked stores.
    _mm_prefetch(reinterpret_cast<const char*>(d + 512), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(d + 576), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(d + 640), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(d + 704), _MM_HINT_T0);
    _mm512_mask_storeu_epi8(d, kColours, _mm512_permutex2var_epi64(a, first, e));
    _mm512_mask_storeu_epi8(d + 64, kColours, _mm512_permutex2var_epi64(a, second, e));
    _mm512_mask_storeu_epi8(d + 128, kColours, _mm512_permutex2var_epi64(f, first, h));
    _mm512_mask_storeu_epi8(d + 192, kColours, _mm512_permutex2var_epi64(f, second, h));
  }
  return x + Avx2Kernels::Yuv422<W>(s, d, w - x);
}

// ---- BGR24 into 5:6:5 and 5:5:5: 16 pixels a block, in 256-bit registers. ----

// The 48 source bytes are read as bytes 0-31 and 16-47; index k < 32 of a
// two-register permute is source byte k, index 32 + j is source byte 16 + j.
constexpr int SourceByte48(int k) { return k < 32 ? k : k + 16; }
template <int kLowByte, int kHighByte>
inline constexpr Table<32> kWordOf =
    MakeTable<32>([](int i) { return SourceByte48(3 * (i / 2) + (i % 2 ? kHighByte : kLowByte)); });

template <class W>
uint32_t Packed16Rows(const uint8_t* s, uint8_t* d, uint32_t w) {
  constexpr int kHigh = W::kRedInHighField ? 2 : 0, kLow = 2 - kHigh;  // byte offsets in a BGR24 pixel
  constexpr bool kSix = W::kGreenBits == 6;
  const __m256i x_index = Load(kWordOf<1, kHigh>), y_index = Load(kWordOf<kLow, 1>);
  const __m256i high_field = _mm256_set1_epi16(kSix ? static_cast<short>(0xF800) : static_cast<short>(0xFC00));
  const __m256i low_field = _mm256_set1_epi16(0x001F);
  uint32_t x = 0;
  for (; w - x >= 16; x += 16, s += 48, d += 32) {
    const __m256i a = v256::LoadU(s), b = v256::LoadU(s + 16);
    const __m256i hi_g = _mm256_permutex2var_epi8(a, x_index, b), g_lo = _mm256_permutex2var_epi8(a, y_index, b);
    const __m256i high = kSix ? hi_g : _mm256_srli_epi16(hi_g, 1);
    const __m256i middle = _mm256_srli_epi16(g_lo, kSix ? 5 : 6), low = _mm256_srli_epi16(g_lo, 3);
    const __m256i below = _mm256_ternarylogic_epi32(low_field, low, middle, 0xCA);
    v256::StoreU(d, _mm256_ternarylogic_epi32(high_field, high, below, 0xCA));
  }
  return x;
}

// ---- BGRX32 into BGR24, bytes reversed: 32 pixels a block. ----

// Output register r (bytes 32r..32r+31) from source registers r and r + 1:
// output byte k is source byte 4 (k / 3) + 2 - k % 3.
template <int kR>
inline constexpr Table<32> kReversedFrom = MakeTable<32>([](int i) {
  const int k = 32 * kR + i;
  return 4 * (k / 3) + 2 - k % 3 - 32 * kR;
});

uint32_t ReversedBgrx32Rows(const uint8_t* s, uint8_t* d, uint32_t w) {
  const __m256i i0 = Load(kReversedFrom<0>), i1 = Load(kReversedFrom<1>), i2 = Load(kReversedFrom<2>);
  uint32_t x = 0;
  for (; w - x >= 32; x += 32, s += 128, d += 96) {
    const __m256i a = v256::LoadU(s), b = v256::LoadU(s + 32);
    const __m256i c = v256::LoadU(s + 64), e = v256::LoadU(s + 96);
    v256::StoreU(d, _mm256_permutex2var_epi8(a, i0, b));
    v256::StoreU(d + 32, _mm256_permutex2var_epi8(b, i1, c));
    v256::StoreU(d + 64, _mm256_permutex2var_epi8(c, i2, e));
  }
  return x;
}

// ---- Deep grey into 8-bit grey: 32 pixels a block. ----

// Byte 2i of the 64 bytes of two registers: the low byte of each word.
inline constexpr Table<32> kLowBytes = MakeTable<32>([](int i) { return 2 * i; });

template <class R>
uint32_t DeepGreyRows(const uint8_t* s, uint8_t* d, uint32_t w) {
  constexpr int kShift = static_cast<int>(R::kSignificantBits) - 8;
  const __m256i low = Load(kLowBytes);
  uint32_t x = 0;
  for (; w - x >= 32; x += 32, s += 64, d += 32) {
    const __m256i a = _mm256_srli_epi16(v256::LoadU(s), kShift);
    const __m256i b = _mm256_srli_epi16(v256::LoadU(s + 32), kShift);
    v256::StoreU(d, _mm256_permutex2var_epi8(a, low, b));  // the low 8 bits of each reduced value
  }
  return x;
}

// ---- 8-bit grey into the 24-bit formats: 32 pixels a block. ----

// Output register r: byte k of the 96 is grey value k / 3.
template <int kR>
inline constexpr Table<32> kTripled = MakeTable<32>([](int i) { return (32 * kR + i) / 3; });

uint32_t Grey8To24Rows(const uint8_t* s, uint8_t* d, uint32_t w) {
  const __m256i i0 = Load(kTripled<0>), i1 = Load(kTripled<1>), i2 = Load(kTripled<2>);
  uint32_t x = 0;
  for (; w - x >= 32; x += 32, s += 32, d += 96) {
    // (The all-ones zero-masking form: GCC 12's plain form warns of an
    // uninitialised operand inside its own header.)
    const __m256i v = v256::LoadU(s);
    v256::StoreU(d, _mm256_maskz_permutexvar_epi8(~__mmask32{0}, i0, v));
    v256::StoreU(d + 32, _mm256_maskz_permutexvar_epi8(~__mmask32{0}, i1, v));
    v256::StoreU(d + 64, _mm256_maskz_permutexvar_epi8(~__mmask32{0}, i2, v));
  }
  return x;
}

struct Kernels {
  static constexpr uint32_t kBlock = Avx2Kernels::kBlock;

  template <class R, class W>
  static uint32_t Grey(const uint8_t* s, uint8_t* d, uint32_t w) {
    if constexpr (R::kBytes == 1) {
      static_assert(W::kBytes == 3);
      return Grey8To24Rows(s, d, w);
    } else {
      static_assert(W::kBytes == 1);
      return DeepGreyRows<R>(s, d, w);
    }
  }
  template <class W>
  static uint32_t Bgr24(const uint8_t* s, uint8_t* d, uint32_t w) {
    static_assert(W::kBytes == 2);
    return Packed16Rows<W>(s, d, w);
  }
  static uint32_t ReversedBgrx32(const uint8_t* s, uint8_t* d, uint32_t w) { return ReversedBgrx32Rows(s, d, w); }
  template <class W>
  static uint32_t Yuv422(const uint8_t* s, uint8_t* d, uint32_t w) {
    static_assert(W::kBytes == 4);
    return Yuv422Rows<W>(s, d, w);
  }
};

}  // namespace

const LineKernels kLineKernels = MakeLineKernels<Isa::QVI_ISA, Kernels>();

}  // namespace qvi::convert::QVI_ISA
