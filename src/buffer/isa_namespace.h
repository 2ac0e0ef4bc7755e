// Included first by every header whose code is compiled once per instruction
// set: such code lives in a namespace named after the set (QVI_ISA, which
// src/CMakeLists.txt defines for each rows_<set>.cpp), so that no inline
// function or template compiled with one set's flags can be the copy the
// linker keeps for another set's callers, or for the baseline code.
#pragma once

#if !defined(QVI_ISA)
#error "compiled only in a rows_<set>.cpp (QVI_ISA names the set)"
#endif
