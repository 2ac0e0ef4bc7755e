// The instruction sets with kernels of their own, in rising order: the
// library runs the last one of its architecture that the processor has.
// Adding one is a line here and a rows_<name>.cpp in each family with
// kernels (src/convert, src/bayer, src/field).  The build
// (cmake/QviInstructionSets.cmake) reads the names, architectures and
// compiler flags from this list and compiles each rows_<name>.cpp with those
// flags and QVI_ISA defined as the name.
//
//   X(name, architecture, compiler flags, whether the processor has it, ...)
//
// (the arguments after X are handed on to it).
//
// QVI_CPU(feature) asks the processor (buffer/dispatch.cpp).  A shipped
// build needs no -march: only the files of each set get its flags.
#pragma once

// clang-format off
#define QVI_INSTRUCTION_SETS(X, ...)                                                            \
  X(sse2, x86_64, "-msse2", true, __VA_ARGS__)                                                  \
  X(avx2, x86_64, "-mavx2", QVI_CPU("avx2"), __VA_ARGS__)                                       \
  X(avx512bw, x86_64, "-mavx2 -mavx512bw -mavx512vl",                                           \
    QVI_CPU("avx2") && QVI_CPU("avx512bw") && QVI_CPU("avx512vl"), __VA_ARGS__)                 \
  X(avx512vbmi, x86_64, "-mavx2 -mavx512f -mavx512bw -mavx512vl -mavx512vbmi",                  \
    QVI_CPU("avx2") && QVI_CPU("avx512f") && QVI_CPU("avx512bw") && QVI_CPU("avx512vl") &&      \
    QVI_CPU("avx512vbmi"), __VA_ARGS__)                                                         \
  X(neon, aarch64, "", true, __VA_ARGS__)
// clang-format on
