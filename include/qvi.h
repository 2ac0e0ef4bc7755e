/*
 * qvi - image processing for frame-grabber buffers.
 *
 * The library converts pixel formats, demosaics raw Bayer captures,
 * de-interlaces fields into frames and writes buffers to disk.  It never owns
 * image memory: every image is a buffer of the SDK's buffer library, passed in
 * as an opaque BufferHandle, and everything the library learns about a buffer
 * it asks through the one imported query QVB_BufferParameterGet.
 *
 * General rules that hold for every function below:
 *
 *  - Every call is synchronous and self-contained.  The library keeps no state,
 *    allocates no memory and starts no threads.  Calls that write different
 *    destination buffers may run on different threads at once; a call must not
 *    overlap another call that writes the same destination, nor a change of
 *    either buffer's parameters.
 *  - Validation comes first, in a fixed order per function; a failed check
 *    returns its status with no buffer written.
 *  - The return value of QVB_BufferParameterGet is never tested: before each
 *    query the answer's storage is set to 0 and the answer is judged by value,
 *    so a buffer library that cannot answer leaves a 0 behind.
 *  - Multi-byte pixel components are native (little-endian) words.
 *  - Padding bytes after the last pixel of a destination line are never
 *    written, and neither is the X byte of a 32-bit colour pixel produced from
 *    a colour source.
 *
 * Safety limits chosen by this implementation (behaviour outside the
 * documented contract):
 *
 *  - A buffer is taken to span stride x height bytes from its address.  A
 *    line walk that would read or write outside that span (a stride smaller
 *    than a line, or the drifting odd-width lines of FMT_Y12P and FMT_YUV422
 *    sources) stops before the first line that would not fit; the lines
 *    before it are converted exactly as documented.  Line gaps are computed
 *    modulo 2^32 and applied as a signed offset, so a stride smaller than a
 *    line makes lines overlap rather than jump four gigabytes ahead.
 *  - A source line is read past its last pixel only where a function says so
 *    (for example the FMT_RGB30 to FMT_RGB48 route below).
 *
 * This header compiles as C99 and as C++.
 */
#ifndef QVI_H
#define QVI_H

#include <stdint.h>
#include <stdio.h>

#if defined(QVI_BUILDING_LIBRARY) && defined(__GNUC__)
#define QVI_API __attribute__((visibility("default")))
#else
#define QVI_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------ */
/* Shared vocabulary                                                        */
/* ------------------------------------------------------------------------ */

/* Opaque handle of a buffer owned by the buffer library.  Never dereferenced
 * or freed by qvi; only passed to QVB_BufferParameterGet. */
typedef uint64_t BufferHandle;

/* Result of every exported operation. */
typedef uint32_t Status;
#define STATUS_OK UINT32_C(0)
#define STATUS_BAD_BAYER_MODE UINT32_C(3) /* demosaic method or phase not accepted by the route */
#define STATUS_OPEN_FAILED UINT32_C(5)    /* a file could not be opened */
#define STATUS_BAD_BUFFER UINT32_C(8)     /* invalid handle, no format or memory, destination too small */
#define STATUS_BAD_PARAMETER UINT32_C(10) /* unsupported format pair, file kind or method */
#define STATUS_BAD_FORMAT UINT32_C(12)    /* the TIFF writer does not accept the format */
#define STATUS_WRITE_FAILED UINT32_C(15)  /* a file write wrote fewer bytes than asked */
#define STATUS_CLOSE_FAILED UINT32_C(17)  /* closing a file failed */

/* Parameter ids of QVB_BufferParameterGet.  The answer's storage is 64 bits
 * wide for BUF_PARAM_ADDRESS and BUF_PARAM_VALID, 32 bits for the others. */
typedef uint32_t BufferParameter;
#define BUF_PARAM_WIDTH UINT32_C(1)            /* width in pixels */
#define BUF_PARAM_HEIGHT UINT32_C(2)           /* height in lines */
#define BUF_PARAM_ADDRESS UINT32_C(3)          /* address of line 0; 0 = no memory */
#define BUF_PARAM_STRIDE UINT32_C(4)           /* bytes from one line start to the next */
#define BUF_PARAM_FORMAT UINT32_C(7)           /* ImageFormat; 0 = no format */
#define BUF_PARAM_DEMOSAIC_METHOD UINT32_C(9)  /* DemosaicMethod of a Bayer buffer */
#define BUF_PARAM_BAYER_PHASE UINT32_C(10)     /* BayerPhase of a Bayer buffer */
#define BUF_PARAM_VALID UINT32_C(11)           /* non-zero for a usable buffer */

/* Answers of BUF_PARAM_DEMOSAIC_METHOD and BUF_PARAM_BAYER_PHASE carry their
 * parameter id in the low byte and the choice in the next byte; only these
 * whole values are accepted. */
typedef uint32_t DemosaicMethod;
#define DEMOSAIC_METHOD_DUP UINT32_C(0x109) /* duplication: copy one neighbour */
#define DEMOSAIC_METHOD_AVE UINT32_C(0x209) /* averaging: mean of two or four */
#define DEMOSAIC_METHOD_MED UINT32_C(0x309) /* median of four at red/blue sites */

/* Colour of the top-left sample of the mosaic (rows listed top to bottom). */
typedef uint32_t BayerPhase;
#define BAYER_PHASE_A UINT32_C(0x10A) /* R G / G B */
#define BAYER_PHASE_B UINT32_C(0x20A) /* G R / B G */
#define BAYER_PHASE_C UINT32_C(0x30A) /* G B / R G */
#define BAYER_PHASE_D UINT32_C(0x40A) /* B G / G R */

/* Pixel formats.  Every code is 0xC0022600 plus its low byte.  QVI_Convert
 * tells formats apart by the low byte alone; the TIFF writer and the
 * de-interlacers compare whole codes.  Bytes per pixel in brackets. */
typedef uint32_t ImageFormat;
#define FMT_Y8 UINT32_C(0xC0022601)       /* [1] 8-bit grey */
#define FMT_Y16 UINT32_C(0xC0022602)      /* [2] 16-bit grey */
#define FMT_Y32 UINT32_C(0xC0022603)      /* [4] grey in a 32-bit word */
#define FMT_RGB15 UINT32_C(0xC0022605)    /* [2] R bits 10-14, G 5-9, B 0-4 */
#define FMT_RGB16 UINT32_C(0xC0022606)    /* [2] R bits 11-15, G 5-10, B 0-4 */
#define FMT_XBGR32 UINT32_C(0xC0022607)   /* [4] bytes X, B, G, R */
#define FMT_BGRX32 UINT32_C(0xC0022608)   /* [4] bytes B, G, R, X */
#define FMT_BGR48 UINT32_C(0xC0022609)    /* [6] 16-bit words B, G, R */
#define FMT_BGR15 UINT32_C(0xC002260A)    /* [2] B bits 10-14, G 5-9, R 0-4 */
#define FMT_BGR16 UINT32_C(0xC002260B)    /* [2] B bits 11-15, G 5-10, R 0-4 */
#define FMT_XRGB32 UINT32_C(0xC002260C)   /* [4] bytes X, R, G, B */
#define FMT_RGBX32 UINT32_C(0xC002260D)   /* [4] bytes R, G, B, X */
#define FMT_RGB48 UINT32_C(0xC002260E)    /* [6] 16-bit words R, G, B */
#define FMT_RGB30 UINT32_C(0xC002260F)    /* [4] three 10-bit fields in a word */
#define FMT_BGR30 UINT32_C(0xC0022610)    /* [4] as FMT_RGB30, colours reversed */
#define FMT_BGR24 UINT32_C(0xC0022611)    /* [3] bytes B, G, R */
#define FMT_RGB24 UINT32_C(0xC0022612)    /* [3] bytes R, G, B */
#define FMT_Y10 UINT32_C(0xC0022613)      /* [2] 10-bit grey, right-aligned */
#define FMT_Y12 UINT32_C(0xC0022614)      /* [2] 12-bit grey, right-aligned */
#define FMT_Y14 UINT32_C(0xC0022615)      /* [2] 14-bit grey, right-aligned */
#define FMT_BAY8 UINT32_C(0xC0022616)     /* [1] 8-bit Bayer mosaic */
#define FMT_BAY10 UINT32_C(0xC0022617)    /* [2] 10-bit Bayer mosaic */
#define FMT_BAY12 UINT32_C(0xC0022618)    /* [2] 12-bit Bayer mosaic */
#define FMT_BAY14 UINT32_C(0xC0022619)    /* [2] 14-bit Bayer mosaic */
#define FMT_BAY16 UINT32_C(0xC002261A)    /* [2] 16-bit Bayer mosaic */
#define FMT_Y12P UINT32_C(0xC002261B)     /* [3 per 2] packed 12-bit grey (source only) */
#define FMT_BGR36 UINT32_C(0xC002261C)    /* [6] words B, G, R of 12 bits each */
#define FMT_TRIPLE16 UINT32_C(0xC002261D) /* [6] three 16-bit words (destination only) */
#define FMT_YUV422 UINT32_C(0xC002261E)   /* [4 per 2] bytes Y0, U, Y1, V (source only) */
#define FMT_Y12_ALT UINT32_C(0xC002261F)  /* [2] second code for 12-bit grey */

/* Key of a conversion: (source & 0xFF) * 256 + (destination & 0xFF). */
typedef uint32_t ConversionKey;

/* The buffer library's query, imported (never defined by qvi).  Writes the
 * answer for `id` through `out` and returns the buffer library's status
 * (0 on success).  A query that fails must leave the storage untouched. */
Status QVB_BufferParameterGet(BufferHandle buffer, BufferParameter id, void* out);

/* ------------------------------------------------------------------------ */
/* Conversion                                                               */
/* ------------------------------------------------------------------------ */

/*
 * QVI_Convert - convert the whole image of `source` into `destination`.
 *
 * Checks, in order (each failure returns STATUS_BAD_BUFFER, nothing written):
 * validity of the source, then of the destination; format of the
 * destination, then of the source (0 fails); address of the source, then of
 * the destination (0 fails).  It then reads both strides, both heights, both
 * widths and the source's demosaic method and phase, for every route.
 *
 * The route is chosen by the key of the two formats' low bytes.  A key that
 * is not a route returns STATUS_BAD_PARAMETER.  Every route first checks that
 * destination stride x destination height (unsigned 32-bit) holds source
 * width x source height x bytes of the destination format, else
 * STATUS_BAD_BUFFER; the destination's own width and height are never
 * compared with the source's.  Strides are not checked against the width.
 *
 * Routes (source -> destinations):
 *   FMT_Y8  -> FMT_Y8 (copy), FMT_Y16, FMT_Y10, FMT_Y12, FMT_Y14, FMT_Y32,
 *              FMT_RGB15, FMT_BGR15, FMT_RGB16, FMT_BGR16, the four X formats,
 *              FMT_BGR24, FMT_RGB24, FMT_BGR48, FMT_RGB48, FMT_BGR36,
 *              FMT_TRIPLE16, FMT_RGB30, FMT_BGR30.
 *              8-bit values go into wider words unscaled; the four bytes of an
 *              X format (X included) and the three words of a 48-bit format
 *              all receive the grey value; 5:6:5 and 5:5:5 take its top bits;
 *              the 30-bit formats get v + (v << 10) + (v << 22).
 *   FMT_Y16, FMT_Y10, FMT_Y12, FMT_Y14, FMT_Y12_ALT (n = 16, 10, 12, 14, 12)
 *           -> FMT_Y8, FMT_Y16, FMT_Y32, the 15- and 16-bit colour formats,
 *              the four X formats, FMT_BGR24, FMT_RGB24, FMT_BGR48,
 *              FMT_RGB48, FMT_RGB30, FMT_BGR30.
 *              8-bit outputs use g = s >> (n - 8), keeping its low 8 bits when
 *              a sample is wider than n bits; FMT_Y16, FMT_Y32 and the 48-bit
 *              formats receive the word s unscaled; the 30-bit formats receive
 *              0 for s = 0, else (s >> (n - 10)) + (1 << (22 - n)) +
 *              (1 << (32 - n)).  FMT_Y16 to FMT_Y16 is the copy below.
 *   FMT_Y12P -> FMT_RGB16, FMT_BGR16, the four X formats, FMT_BGR24,
 *              FMT_RGB24.  Each 3-byte group b0 b1 b2 gives two pixels with
 *              8-bit values b0 and ((b1 & 0x0F) << 4) + (b2 >> 4), written as
 *              from FMT_Y8.
 *   FMT_BGRX32 -> FMT_BGR24: the three colour bytes are written in reverse
 *              order (so BGR24 -> BGRX32 -> BGR24 swaps red and blue).
 *   FMT_BGR24, FMT_BGR48, FMT_BGR36, FMT_RGB30 -> FMT_RGB15, FMT_BGR15,
 *              FMT_RGB16, FMT_BGR16, the four X formats, FMT_BGR24,
 *              FMT_RGB24, FMT_BGR48, FMT_RGB48, FMT_RGB30, FMT_BGR30.
 *              From 8-bit values R, G, B: FMT_RGB16 gets ((R & 0xF8) << 8) +
 *              ((G & 0xFC) << 3) + (B >> 3), FMT_RGB15 ((R & 0xF8) << 7) +
 *              ((G & 0xF8) << 2) + (B >> 3), FMT_BGR16 and FMT_BGR15 the
 *              same with R and B exchanged; bytes go in the format's order
 *              and the X byte keeps what the destination held; 48-bit
 *              words are unscaled; FMT_RGB30 gets B + (G << 10) + (R << 22)
 *              and FMT_BGR30 R + (G << 10) + (B << 22).
 *              FMT_BGR48 (n = 16) and FMT_BGR36 (n = 12): 8-bit values are
 *              word >> (n - 8); 48-bit outputs get the words in their own
 *              order, FMT_BGR36 shifted left by 4; FMT_RGB30 gets
 *              (B >> (n - 10)) + ((G != 0) << (22 - n)) + ((R != 0) <<
 *              (32 - n)), FMT_BGR30 the same with R and B exchanged: the
 *              upper two fields carry a single bit, never a value.
 *              FMT_RGB30 is read as B in bits 0-9, G in bits 12-21 and R in
 *              bits 22-31 (bits 10-11 ignored), which is not the layout it is
 *              written with.  8-bit values are the top 8 bits of each field;
 *              the 15- and 16-bit outputs take their top bits in their own
 *              layout; FMT_BGR48 gets the 10-bit fields unscaled; FMT_RGB30
 *              copies the word and FMT_BGR30 gets (x >> 22) + (x & 0x3FFC00)
 *              + (x << 22).  FMT_RGB48 takes red from each pixel's own word
 *              but green and blue from the next word, so a line's last pixel
 *              reads the word after the line (its padding, or the next line's
 *              first pixel when the stride is 4 x width); where that word lies
 *              outside the source's stride x height, the last pixel takes
 *              green and blue from its own word.
 *   FMT_YUV422 -> the four X formats, FMT_BGR24, FMT_RGB24.
 *              Each four bytes Y0, U, Y1, V give two pixels; with u = U - 128
 *              and v = V - 128, each pixel's B = Y + floor(1815 u / 1024),
 *              G = Y - floor((352 u + 731 v) / 1024) and R = Y +
 *              floor(1436 v / 1024), each clamped to 0..255.  X bytes keep
 *              what the destination held.
 *   Bayer sources are handed to the demosaic entry points.
 *
 * Same-format copies FMT_Y8 -> FMT_Y8 and FMT_Y16 -> FMT_Y16: when both
 * strides and both heights are equal, stride x height bytes are copied in
 * one block (padding included) without a size check; otherwise the size rule
 * applies and pixels are copied line by line.
 *
 * Line walk: after each line the source and destination move on by their
 * stride minus the bytes of the line's pixels, computed modulo 2^32 and
 * rounded down to a multiple of 2 for 2- and 6-byte pixels and of 4 for
 * 4-byte pixels (1- and 3-byte pixels are not rounded).  FMT_Y12P and
 * FMT_YUV422 produce pixels in pairs: an odd width writes one pixel more per
 * line, and the gaps are still applied as stated (FMT_Y12P source: stride -
 * 3w/2, not rounded; FMT_YUV422 source: stride - 2w rounded down to even), so
 * such lines drift; the walk stops at the first line that would leave either
 * buffer's stride x height bytes.
 *
 * Samples wider than their bit depth keep the low 8 bits of the reduced value
 * before packing; the 48-bit and 30-bit formulas take such words as they are
 * (keeping the low 16 or 32 bits of the result).  A zero width or height
 * writes nothing and returns STATUS_OK.
 *
 * Returns STATUS_OK, STATUS_BAD_BAYER_MODE, STATUS_BAD_BUFFER or
 * STATUS_BAD_PARAMETER.
 */
QVI_API Status QVI_Convert(BufferHandle source, BufferHandle destination);

/* ------------------------------------------------------------------------ */
/* Demosaicing                                                              */
/* ------------------------------------------------------------------------ */

/* (entry points of the demosaic family follow) */

/* ------------------------------------------------------------------------ */
/* Field to frame                                                           */
/* ------------------------------------------------------------------------ */

/* (de-interlacing functions follow) */

/* ------------------------------------------------------------------------ */
/* File output                                                              */
/* ------------------------------------------------------------------------ */

/*
 * Byte-order writers.  Each puts an unsigned value on `stream` with putc, one
 * call per byte, in a fixed order: the "i" writers little-endian (low byte
 * first), the "m" writers big-endian (high byte first).  Only the low 8 bits
 * of the value count for QVI_fput_ui8 and the low 16 bits for the 16-bit
 * writers; wider values are silently cut.
 *
 * Each returns the result of the putc of the LAST byte only: that byte as a
 * value from 0 to 255 (0xFF gives 255, not EOF), or EOF if that last putc
 * failed.  A failed earlier byte of the same value is not reported.  The
 * writers neither check, flush, seek nor close the stream; `stream` must be a
 * valid stream open for writing.
 *
 *   QVI_fput_ui8    bits 0-7
 *   QVI_fput_ui16i  bits 0-7, 8-15
 *   QVI_fput_ui32i  bits 0-7, 8-15, 16-23, 24-31
 *   QVI_fput_ui16m  bits 8-15, 0-7
 *   QVI_fput_ui32m  bits 24-31, 16-23, 8-15, 0-7
 */
QVI_API int QVI_fput_ui8(FILE* stream, uint32_t value);
QVI_API int QVI_fput_ui16i(FILE* stream, uint32_t value);
QVI_API int QVI_fput_ui32i(FILE* stream, uint32_t value);
QVI_API int QVI_fput_ui16m(FILE* stream, uint32_t value);
QVI_API int QVI_fput_ui32m(FILE* stream, uint32_t value);

/* The kind of file QVI_FileWrite produces. */
typedef uint32_t FileKind;
#define FILE_KIND_RAW UINT32_C(2)  /* the buffer's lines as they are in memory */
#define FILE_KIND_TIFF UINT32_C(3) /* a TIFF file, see QVI_FileWriteTiff */

/*
 * Rules shared by QVI_FileWrite and QVI_FileWriteTiff:
 *
 *  - The buffer is only read; its memory and parameters are never changed.
 *    The only file touched is `path`, opened with fopen(path, "wb") (created,
 *    or truncated if it exists) only after every check on the buffer has
 *    passed; no file is created when a check fails.  A null `path` counts as
 *    a file that cannot be opened.
 *  - A failure to open `path` returns STATUS_OPEN_FAILED.  Failures are
 *    reported by the status alone: the library's description of the failure
 *    ("Failed to open file %20s for writing", "Unrecognised Image Format [%d]
 *    in IFD" and the like) is formatted with a bounded formatter into a
 *    128-byte local buffer and then dropped, so a path of any length is safe;
 *    nothing is printed or logged.
 *  - Once `path` is open the stream is always closed before the call
 *    returns, on failure paths as well (a caller retrying failed writes never
 *    runs out of streams).  A file that fails halfway stays on disk holding
 *    exactly the bytes written up to the failure, as described below.
 *  - Calls writing different paths may run at once; two calls writing the
 *    same path race like any two writers of one file.
 */

/*
 * QVI_FileWrite - save `buffer` to `path` as a raw dump (FILE_KIND_RAW) or a
 * TIFF file (FILE_KIND_TIFF).
 *
 * In this order:
 *  1. the validity of `buffer` is asked; an invalid handle returns
 *     STATUS_BAD_BUFFER whatever `kind` is;
 *  2. FILE_KIND_TIFF returns what QVI_FileWriteTiff(buffer, path) returns
 *     (that call asks the validity again);
 *  3. any other kind but FILE_KIND_RAW returns STATUS_BAD_PARAMETER;
 *  4. raw: the data address is asked (0 returns STATUS_BAD_BUFFER), then the
 *     height and the stride.  Width and format are never asked.
 *
 * The raw file has no header: it holds height x stride bytes from the data
 * address (the product taken modulo 2^32), that is every line including the
 * padding after its pixels, written with one fwrite.  A height or stride of 0
 * gives an empty file.
 *
 * Returns:
 *   on success            the status the buffer library returned for the
 *                         stride query, deliberately passed on as it is
 *                         (STATUS_OK from a library that answered normally);
 *   STATUS_BAD_BUFFER     invalid handle, or a raw dump of a buffer without
 *                         memory (no file created);
 *   STATUS_BAD_PARAMETER  kind is neither FILE_KIND_RAW nor FILE_KIND_TIFF (no
 *                         file created);
 *   STATUS_OPEN_FAILED    `path` cannot be opened for writing;
 *   STATUS_WRITE_FAILED   fwrite took fewer bytes than asked; the stream is
 *                         closed and the partial file stays;
 *   STATUS_CLOSE_FAILED   fclose failed (typically when buffered bytes could
 *                         not be written); whatever reached the disk stays;
 *   for FILE_KIND_TIFF, any status of QVI_FileWriteTiff.
 */
QVI_API Status QVI_FileWrite(BufferHandle buffer, const char* path, FileKind kind);

/*
 * QVI_FileWriteTiff - save `buffer` to `path` as a single-image, single-strip,
 * uncompressed baseline TIFF file in big-endian ("MM") byte order.
 *
 * Asks, in this order and all before `path` is opened: the validity (0
 * returns STATUS_BAD_BUFFER), the format (0 returns STATUS_BAD_BUFFER), the
 * data address, the height, the width and the stride.  The whole 32-bit
 * format code is compared; four codes are known:
 *
 *   FMT_Y8     BitsPerSample 8, SamplesPerPixel 1, PhotometricInterpretation 1
 *              (black is zero); 13 directory entries.
 *   FMT_BGR24  BitsPerSample 8,8,8, SamplesPerPixel 3,
 *   FMT_RGB24  PhotometricInterpretation 2 (RGB), PlanarConfiguration 1;
 *              14 entries.  Both codes take the same path: the three bytes of
 *              each pixel go to the file last byte first.  BGR24 memory is thus
 *              stored as red, green, blue; RGB24 memory is deliberately stored
 *              as blue, green, red, so a reader sees red and blue exchanged.
 *   FMT_Y16    deliberately never completed: the header and the directory up
 *              to and including the StripByteCounts value (130 bytes) are
 *              written, then the call returns STATUS_BAD_BUFFER.
 *
 * Layout (every multi-byte value big-endian): the 8-byte header "MM", 42, 8;
 * at offset 8 the entry count and the entries NewSubfileType 0, ImageWidth,
 * ImageLength, BitsPerSample, Compression 1 (none),
 * PhotometricInterpretation, StripOffsets, SamplesPerPixel, RowsPerStrip =
 * height, StripByteCounts = width x height x samples (modulo 2^32),
 * XResolution and YResolution 300/1, [PlanarConfiguration 1,] ResolutionUnit
 * 1 (none), then a next-directory offset of 0.  ImageWidth and ImageLength
 * are deliberately SHORT values holding only the low 16 bits of width and
 * height (a width of 70000 is stored as 4464), while RowsPerStrip and
 * StripByteCounts carry all 32 bits.  After the directory come (colour only)
 * the BitsPerSample array, the two resolutions and the pixels: a grey file is
 * 186 + width x height bytes with its pixels at offset 186, a colour file
 * 204 + 3 x width x height bytes with its pixels at offset 204.  Offsets of
 * these blocks are written as 0 and patched once each block's place is known
 * (ftell, fseek).
 *
 * Pixels are taken line by line from the data address, width pixels a line,
 * the next line starting stride bytes after the previous one (the step is
 * stride minus the line's bytes modulo 2^32, so a stride smaller than a line
 * makes lines overlap).  They are handed to the stream in blocks of up to
 * 24 KiB built on the stack; the file holds the same bytes as writing them
 * one at a time would.
 *
 * Safety limit of this implementation: the buffer is taken to span
 * stride x height bytes from its address (nothing if the address is 0).
 * Pixels are read only inside that span: from the first line that would not
 * fit (a stride smaller than a line, or no memory at all) to the end of the
 * strip, zero bytes are written instead, so the file keeps the size and
 * layout its directory announces.  A width or height of 0 writes no pixels.
 *
 * Returns:
 *   STATUS_OK           the file is complete;
 *   STATUS_BAD_BUFFER   invalid handle or format 0 (no file created); FMT_Y16
 *                       (130 bytes written, see above); or ftell could not tell
 *                       the position (`path` is not seekable, such as a pipe):
 *                       the file keeps the bytes written before the first
 *                       position was asked (the directory up to the count of
 *                       StripOffsets for grey, of BitsPerSample for colour);
 *   STATUS_OPEN_FAILED  `path` cannot be opened for writing;
 *   STATUS_BAD_FORMAT   the format is none of the four codes; the file keeps
 *                       the 8 header bytes;
 *   STATUS_CLOSE_FAILED the file could not be completed: fclose failed, or a
 *                       write on the way failed (a full disk).  Writes are not
 *                       checked one by one; the stream's error indicator is
 *                       read when the file is closed, so every write error
 *                       surfaces here.
 */
QVI_API Status QVI_FileWriteTiff(BufferHandle buffer, const char* path);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* QVI_H */
