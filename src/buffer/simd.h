// Which row kernels the library runs.
//
// Every subsystem has portable row kernels and, where they pay, SSE2 ones
// (SSE2 is part of every x86-64 processor, so nothing is detected at run
// time) and for some AVX2 and AVX-512 ones, and NEON ones for 64-bit Arm.  A walker takes a vector policy: NoVec does nothing and leaves every
// pixel to the portable loop; an SSE2 policy does a leading run of whole
// vector blocks and tells the walker how far it got, and the portable loop
// finishes the line.  Both policies compile on x86-64 whatever the build, so
// the tests can hold them against each other; QVI_PORTABLE_ONLY (the CMake
// option of the same name) makes the library itself run NoVec everywhere.
#pragma once

#if defined(__SSE2__) || defined(_M_X64)
#define QVI_HAVE_SSE2 1
#else
#define QVI_HAVE_SSE2 0
#endif

#if QVI_HAVE_SSE2 && !defined(QVI_PORTABLE_ONLY)
#define QVI_USE_SSE2 1
#else
#define QVI_USE_SSE2 0
#endif

// AVX2 kernels are compiled per function (QVI_AVX2 marks each), so the rest
// of the library keeps the baseline instruction set, and run only when the
// processor has AVX2: CpuHasAvx2() asks on every call.  Its answer comes
// from the processor model the compiler's runtime reads once when the
// program is loaded (asking the processor itself traps to the hypervisor on
// virtual machines, a hundred microseconds and more); the library keeps no
// flag of its own.
#if QVI_HAVE_SSE2 && (defined(__GNUC__) || defined(__clang__))
#define QVI_HAVE_AVX2 1
#define QVI_AVX2 __attribute__((target("avx2")))
// For the pieces of a block's work that must not become calls of their own.
#define QVI_AVX2_INLINE __attribute__((target("avx2"), always_inline))
// AVX-512 kernels likewise, for the processors with its byte and word
// instructions (BW), its 128- and 256-bit forms (VL) and byte permutes (VBMI).
#define QVI_AVX512 __attribute__((target("avx2,avx512f,avx512bw,avx512vl,avx512vbmi")))
#else
#define QVI_HAVE_AVX2 0
#endif

#if QVI_HAVE_AVX2 && !defined(QVI_PORTABLE_ONLY)
#define QVI_USE_AVX2 1
#else
#define QVI_USE_AVX2 0
#endif

// NEON, part of every 64-bit Arm processor: compiled and run unconditionally
// there, where every subsystem's vector kernels are NEON ones.
#if defined(__aarch64__) && defined(__ARM_NEON)
#define QVI_HAVE_NEON 1
#else
#define QVI_HAVE_NEON 0
#endif

#if QVI_HAVE_NEON && !defined(QVI_PORTABLE_ONLY)
#define QVI_USE_NEON 1
#else
#define QVI_USE_NEON 0
#endif

// A subsystem's default vector policy: BestVec (a tag, not a policy: the
// walker chooses AVX2 or SSE2 on each call) where AVX2 kernels are built,
// else its SSE2 policy, else its portable one.  A macro so that a build
// without SSE2 never names the SSE2 policy.
#if QVI_USE_AVX2
#define QVI_DEFAULT_VEC(sse2_vec, no_vec) ::qvi::BestVec
#elif QVI_USE_SSE2
#define QVI_DEFAULT_VEC(sse2_vec, no_vec) sse2_vec
#else
#define QVI_DEFAULT_VEC(sse2_vec, no_vec) no_vec
#endif

namespace qvi {

struct BestVec;

// Byte-masked stores (AVX-512 BW and VL, their register state enabled by the
// operating system): where the processor has them, some AVX2 kernels that
// must keep the X byte of 32-bit pixels write the other three bytes of each
// pixel without reading the fourth (avx2.h, Store32KeepingX).  Those with
// AVX-512 F and VBMI as well run the AVX-512 kernels (CpuHasAvx512).
// Asked on every call, like CpuHasAvx2.
#if QVI_HAVE_AVX2
inline bool CpuHasAvx2() { return __builtin_cpu_supports("avx2"); }
inline bool CpuHasMaskedStores() {
  return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
}
inline bool CpuHasAvx512() {
  return __builtin_cpu_supports("avx512f") && CpuHasMaskedStores() && __builtin_cpu_supports("avx512vbmi");
}
#else
inline bool CpuHasAvx2() { return false; }
inline bool CpuHasMaskedStores() { return false; }
inline bool CpuHasAvx512() { return false; }
#endif

}  // namespace qvi
