/*
 * qvb - the bundled stand-in for the SDK's buffer library.
 *
 * qvi asks everything it needs to know about an image through
 * QVB_BufferParameterGet (declared in qvi.h).  An application built with the
 * frame-grabber SDK links the SDK's own buffer library, which provides that
 * query; everyone else (the qvi tool, the examples, the tests) links this
 * small library instead.  Nothing in libqvi changes between the two.
 *
 * A stand-in buffer describes caller-owned memory: it never allocates or frees
 * pixel memory.  Handles are never reused, so a destroyed handle stays
 * invalid: it answers no query (the storage is left untouched) and
 * QVB_BufferParameterGet returns QVB_STATUS_NO_BUFFER for it.  All functions
 * may be called from several threads at once.
 *
 * This header compiles as C99 and as C++.
 */
#ifndef QVB_H
#define QVB_H

#include "qvi.h"

#ifdef __cplusplus
extern "C" {
#endif

#if defined(QVB_BUILDING_LIBRARY) && defined(__GNUC__)
#define QVB_API __attribute__((visibility("default")))
#else
#define QVB_API
#endif

/* Status of a buffer-library call: 0 on success. */
#define QVB_STATUS_OK UINT32_C(0)
#define QVB_STATUS_NO_BUFFER UINT32_C(8)       /* unknown or destroyed handle */
#define QVB_STATUS_BAD_PARAMETER UINT32_C(10)  /* unknown parameter id or null pointer */
#define QVB_STATUS_OUT_OF_MEMORY UINT32_C(20)  /* the handle table could not grow */

/*
 * Creates a buffer over `memory` (which the caller owns and keeps alive while
 * the buffer is used) with the given geometry and format, and stores its
 * handle in *handle.  The demosaic method and Bayer phase start as 0 (unset).
 * Handles are never 0.
 */
QVB_API Status QVB_BufferCreate(void* memory, uint32_t width, uint32_t height, uint32_t stride,
                                ImageFormat format, BufferHandle* handle);

/*
 * Sets one parameter of a live buffer: BUF_PARAM_WIDTH, BUF_PARAM_HEIGHT,
 * BUF_PARAM_ADDRESS (the value is the address), BUF_PARAM_STRIDE,
 * BUF_PARAM_FORMAT, BUF_PARAM_DEMOSAIC_METHOD or BUF_PARAM_BAYER_PHASE.
 * 32-bit parameters keep the low 32 bits of `value`.  BUF_PARAM_VALID cannot
 * be set.
 */
QVB_API Status QVB_BufferParameterSet(BufferHandle handle, BufferParameter id, uint64_t value);

/* Ends a buffer; its handle never answers again.  The memory is not freed. */
QVB_API Status QVB_BufferDestroy(BufferHandle handle);

/* QVB_BufferParameterGet itself is declared in qvi.h: a live buffer answers
 * every id listed there, BUF_PARAM_VALID with 1; an unknown id or handle
 * leaves *out untouched and returns a non-zero status. */

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* QVB_H */
