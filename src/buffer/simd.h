// Which row kernels the library runs.
//
// Every subsystem has portable row kernels and, where they pay, SSE2 ones
// (SSE2 is part of every x86-64 processor, so nothing is detected at run
// time).  A walker takes a vector policy: NoVec does nothing and leaves every
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
