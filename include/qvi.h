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
 *  - A buffer is taken to span stride x height bytes from its address.  The
 *    conversion and de-interlacing walks stop before the first line that
 *    would read or write outside that span (a stride smaller than a line, the
 *    drifting odd-width lines of FMT_Y12P and FMT_YUV422 sources, a frame
 *    smaller than the field's lines); the lines before it are produced
 *    exactly as documented.  The TIFF writer writes zero bytes for pixels
 *    outside its buffer.  The demosaic functions refuse images they cannot
 *    produce inside their buffers (see Demosaicing).  Line gaps are computed
 *    modulo 2^32 and applied as a signed offset, so a stride smaller than a
 *    line makes lines overlap rather than jump four gigabytes ahead.
 *  - QVI_Convert may run in place between formats of one pixel size, a
 *    Bayer source excepted (source and destination the same memory at the
 *    same stride): the result is that of converting a copy.  Other overlaps
 *    of source and destination, and any for demosaicing, give unspecified
 *    pixel values, still inside the two buffers.
 *  - A source line is read past its last pixel only where a function says so
 *    (the odd-width demosaic members; FMT_RGB30 to FMT_RGB48 only inside the
 *    buffer).
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
 *   Bayer sources are handed to the demosaic entry points (see
 *              Demosaicing for the route rules).  Besides the byte count,
 *              a Bayer route refuses with STATUS_BAD_BUFFER a destination
 *              whose stride x height cannot hold the source's rows at its
 *              stride.
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

/*
 * Demosaicing: QVI_BAY8_to_<packing>_<method>_<phase>(source, destination)
 *              QVI_BAYn_to_<packing>_<method>_<phase>(source, destination, bits)
 *
 * Each function turns the raw Bayer mosaic in `source` into a colour image in
 * `destination`, one function per input depth, output packing, method and
 * phase.
 *
 *   BAY8     one byte per sample (FMT_BAY8).
 *   BAYn     one native 16-bit word per sample holding `bits` significant
 *            bits, right-aligned (FMT_BAY10 to FMT_BAY16; QVI_Convert passes
 *            10, 12, 14 or 16).
 *   RGBX32   bytes R, G, B, X;  BGRX32  bytes B, G, R, X;  BGR24  bytes B, G, R.
 *            The X byte is never written: it keeps what the destination held.
 *   RGB16    one native 16-bit word ((R << 8) & 0xF800) | ((G << 3) & 0x07E0)
 *            | (B >> 3): red in bits 11-15, green 5-10, blue 0-4.
 *   BGR16    the same word with red and blue exchanged.
 *   phase    the colours of the 2x2 cell that repeats from row 0, column 0
 *            (top row, then bottom row): A = R G / G B, B = G R / B G,
 *            C = G B / R G, D = B G / G R.
 *
 * Checks and queries, in this order: validity of the source, then of the
 * destination (0 returns STATUS_BAD_BUFFER); for BAYn, bits == 8 returns
 * STATUS_BAD_BUFFER (no other depth is refused); then, unchecked, the
 * source's address and stride, the destination's stride and address, and the
 * source's height and width.  A failed check writes nothing.  Otherwise the
 * function writes every pixel of the width x height image and returns
 * STATUS_OK; it never fails once the checks have passed.
 *
 * Geometry.  Width and height are the source's; the destination's width,
 * height and format are never read.  Row y of each buffer starts y strides
 * after its address, except that a BAYn source's stride is rounded down to
 * even, and so is the gap after each RGB16 or BGR16 row (stride - 2 x width):
 * an odd stride acts as the next lower even one there.  Bytes after a row's
 * last pixel are never written.  The destination must hold `height` rows at
 * its stride; called directly, these functions cannot check that (they never
 * ask the destination's height).  QVI_Convert does: besides its byte count it
 * refuses, with STATUS_BAD_BUFFER, a destination whose stride x height cannot
 * hold the source's rows at that stride.
 *
 * Channel values.  8-bit samples are used as they are.  For BAYn every value
 * is one right shift of a sum of raw samples, each count taken modulo 32: a
 * copied sample s >> (bits - 8), a mean of two (a + b) >> (bits - 7), a mean of
 * four (a + b + c + d) >> (bits - 6).  Means truncate; nothing is rounded or
 * clamped.  The byte packings store the low 8 bits of each value, so a sample
 * wider than `bits` wraps (bits 12: 0x1FF0 gives 0xFF, 0x2000 gives 0x00).
 * The 16-bit packings confine their high and middle fields by the masks above
 * but OR in the low field (blue of RGB16, red of BGR16) unmasked, so an
 * oversized value runs into green (bits 12, blue sample 0xFFFF: 0x01FF).
 * Depths above 16 or below 8 are not refused; the counts above then apply
 * modulo 32 and give no useful image.
 *
 * dup (duplication) copies every missing colour from one sample of the
 * pixel's 2x2 block: the pixel's row and the row above (row 0: rows 0 and 1),
 * the pixel's column and the column to its left (column 0: columns 0 and 1).
 * Red and blue are the pixel's own sample or else the block's only red or
 * blue sample.  Green at a red or blue site is the left neighbour; in column
 * 0 it is the right neighbour in row 0 and the pixel above in later rows,
 * except at the blue sites of column 0 (rows 1, 3, 5, ...) of every phase-B
 * member and (rows 2, 4, ...) of QVI_BAY8_to_RGB16_dup_D and
 * QVI_BAYn_to_RGB16_dup_D, which take the right neighbour.  The other phase-D
 * members take the pixel above there.  dup reads nothing outside the image.
 *
 * ave (averaging).  N, S, W, E are the samples above, below, left and right
 * of a pixel, NW, NE, SW, SE the diagonal ones; mean() is the truncating mean
 * above.  Every pixel keeps its own sample for its own colour.  Inside the
 * image a red or blue site takes green = mean(N, S, W, E) and the other of red
 * and blue = mean(NW, NE, SW, SE); a green site takes the colour of its row's
 * other samples = mean(W, E) and the remaining colour = mean(N, S).  On the
 * border only existing neighbours are used, never mirrored ones:
 *   red/blue, first (last) row:  green = mean(W, E), other = mean(SW, SE)
 *                                (mean(NW, NE));
 *   red/blue, first (last) column: green = mean(N, S), other = mean(NE, SE)
 *                                (mean(NW, SW));
 *   red/blue, corner:            green = mean of its horizontal and vertical
 *                                neighbours, other = its diagonal neighbour;
 *   green, first (last) row:     mean(W, E) and the sample S (N);
 *   green, first (last) column:  the sample E (W) and mean(N, S);
 *   green, corner:               its horizontal and vertical neighbours.
 * The last column has the last-column rules only when the width is even.
 * For an odd width it has the rules of the columns before it and reads E, NE
 * and SE one sample past the end of the row: the first byte (BAYn: word) of
 * the row's padding, or of the next row when the stride is exactly the row.
 * The source must be readable there, also after its last row.
 * QVI_BAYn_to_RGB16_ave_B, even widths: the last pixel of rows 1, 3, 5, ...
 * (not the last row) takes red as (N + S) >> 1 of the raw samples, without the
 * depth reduction.
 *
 * med (median) is ave except at red and blue sites inside the image, which
 * take green = med(N, W, S, E) and the other colour = med(NW, NE, SW, SE),
 * med being the truncated mean of the two middle values of the four raw
 * samples, then reduced: BAYn ((m2 + m3) >> 1) >> (bits - 8).  A single
 * outlier among the four never reaches the output.  Deviations:
 *   QVI_BAYn_to_BGR24_med_B, QVI_BAYn_to_BGRX32_med_B: column 0 of rows 2, 4,
 *   ... (not the last row) takes blue as the low 8 bits of (N + S) >> 1 of
 *   the raw samples, without the depth reduction.
 *   QVI_BAY8_to_RGB16_med_C, QVI_BAYn_to_RGB16_med_C: for an odd width, in
 *   rows 1 to height - 2 every sample taken from the row below comes from one
 *   column further right, so the last column reads one and two samples past
 *   the end of the row below (the source must be readable two samples past
 *   the end of its last row); for an even width, the top-right pixel takes green as
 *   mean(W, the sample one past the end of row 1).
 *
 * Through QVI_Convert (FMT_BAY8 to FMT_BAY16 into FMT_BGRX32, FMT_BGR24,
 * FMT_RGB16 or FMT_RGBX32, and FMT_BAY8 into FMT_BGR16): after its size
 * check, the source's BUF_PARAM_DEMOSAIC_METHOD (DEMOSAIC_METHOD_DUP, _AVE,
 * _MED) and then its BUF_PARAM_BAYER_PHASE (BAYER_PHASE_A to _D) choose the
 * function; any other value returns STATUS_BAD_BAYER_MODE.  Into FMT_RGBX32
 * only dup is accepted, into FMT_BGR16 only dup in phase A; other methods or
 * phases there return STATUS_BAD_BAYER_MODE.  FMT_BAY10, 12, 14 and 16 pass
 * bits 10, 12, 14 and 16.  Once the function is called QVI_Convert returns
 * STATUS_OK, whatever the function returned.
 *
 * Choices of this implementation outside the documented contract: a width
 * or height below 2, a source or destination address of 0, a source stride
 * (after rounding) smaller than width x sample bytes, or a destination stride
 * smaller than width x pixel bytes: nothing is read or written and the
 * function returns STATUS_OK.
 *
 * Members: BGRX32, BGR24 and RGB16 with every method, RGBX32 with dup only,
 * each for both depths and all four phases; BGR16 only as
 * QVI_BAY8_to_BGR16_dup_A.  81 functions in all.
 */

/* 8-bit mosaic to RGBX32, duplication, phases D, C, B, A */
QVI_API Status QVI_BAY8_to_RGBX32_dup_D(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGBX32_dup_C(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGBX32_dup_B(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGBX32_dup_A(BufferHandle source, BufferHandle destination);

/* 8-bit mosaic to BGRX32, median, phases D, C, B, A */
QVI_API Status QVI_BAY8_to_BGRX32_med_D(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGRX32_med_C(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGRX32_med_B(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGRX32_med_A(BufferHandle source, BufferHandle destination);

/* 8-bit mosaic to BGRX32, averaging, phases D, C, B, A */
QVI_API Status QVI_BAY8_to_BGRX32_ave_D(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGRX32_ave_C(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGRX32_ave_B(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGRX32_ave_A(BufferHandle source, BufferHandle destination);

/* 8-bit mosaic to BGRX32, duplication, phases D, C, B, A */
QVI_API Status QVI_BAY8_to_BGRX32_dup_D(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGRX32_dup_C(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGRX32_dup_B(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGRX32_dup_A(BufferHandle source, BufferHandle destination);

/* 8-bit mosaic to BGR24, median, phases D, C, B, A */
QVI_API Status QVI_BAY8_to_BGR24_med_D(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGR24_med_C(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGR24_med_B(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGR24_med_A(BufferHandle source, BufferHandle destination);

/* 8-bit mosaic to BGR24, averaging, phases D, C, B, A */
QVI_API Status QVI_BAY8_to_BGR24_ave_D(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGR24_ave_C(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGR24_ave_B(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGR24_ave_A(BufferHandle source, BufferHandle destination);

/* 8-bit mosaic to BGR24, duplication, phases D, C, B, A */
QVI_API Status QVI_BAY8_to_BGR24_dup_D(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGR24_dup_C(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGR24_dup_B(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_BGR24_dup_A(BufferHandle source, BufferHandle destination);

/* 8-bit mosaic to RGB16, median, phases D, C, B, A */
QVI_API Status QVI_BAY8_to_RGB16_med_D(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGB16_med_C(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGB16_med_B(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGB16_med_A(BufferHandle source, BufferHandle destination);

/* 8-bit mosaic to RGB16, averaging, phases D, C, B, A */
QVI_API Status QVI_BAY8_to_RGB16_ave_D(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGB16_ave_C(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGB16_ave_B(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGB16_ave_A(BufferHandle source, BufferHandle destination);

/* 8-bit mosaic to RGB16, duplication, phases D, C, B, A */
QVI_API Status QVI_BAY8_to_RGB16_dup_D(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGB16_dup_C(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGB16_dup_B(BufferHandle source, BufferHandle destination);
QVI_API Status QVI_BAY8_to_RGB16_dup_A(BufferHandle source, BufferHandle destination);

/* 8-bit mosaic to BGR16, duplication, phase A */
QVI_API Status QVI_BAY8_to_BGR16_dup_A(BufferHandle source, BufferHandle destination);

/* n-bit mosaic to RGBX32, duplication, phases D, C, B, A */
QVI_API Status QVI_BAYn_to_RGBX32_dup_D(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGBX32_dup_C(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGBX32_dup_B(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGBX32_dup_A(BufferHandle source, BufferHandle destination, uint32_t bits);

/* n-bit mosaic to BGRX32, median, phases D, C, B, A */
QVI_API Status QVI_BAYn_to_BGRX32_med_D(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGRX32_med_C(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGRX32_med_B(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGRX32_med_A(BufferHandle source, BufferHandle destination, uint32_t bits);

/* n-bit mosaic to BGRX32, averaging, phases D, C, B, A */
QVI_API Status QVI_BAYn_to_BGRX32_ave_D(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGRX32_ave_C(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGRX32_ave_B(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGRX32_ave_A(BufferHandle source, BufferHandle destination, uint32_t bits);

/* n-bit mosaic to BGRX32, duplication, phases D, C, B, A */
QVI_API Status QVI_BAYn_to_BGRX32_dup_D(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGRX32_dup_C(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGRX32_dup_B(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGRX32_dup_A(BufferHandle source, BufferHandle destination, uint32_t bits);

/* n-bit mosaic to BGR24, median, phases D, C, B, A */
QVI_API Status QVI_BAYn_to_BGR24_med_D(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGR24_med_C(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGR24_med_B(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGR24_med_A(BufferHandle source, BufferHandle destination, uint32_t bits);

/* n-bit mosaic to BGR24, averaging, phases D, C, B, A */
QVI_API Status QVI_BAYn_to_BGR24_ave_D(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGR24_ave_C(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGR24_ave_B(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGR24_ave_A(BufferHandle source, BufferHandle destination, uint32_t bits);

/* n-bit mosaic to BGR24, duplication, phases D, C, B, A */
QVI_API Status QVI_BAYn_to_BGR24_dup_D(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGR24_dup_C(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGR24_dup_B(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_BGR24_dup_A(BufferHandle source, BufferHandle destination, uint32_t bits);

/* n-bit mosaic to RGB16, median, phases D, C, B, A */
QVI_API Status QVI_BAYn_to_RGB16_med_D(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGB16_med_C(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGB16_med_B(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGB16_med_A(BufferHandle source, BufferHandle destination, uint32_t bits);

/* n-bit mosaic to RGB16, averaging, phases D, C, B, A */
QVI_API Status QVI_BAYn_to_RGB16_ave_D(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGB16_ave_C(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGB16_ave_B(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGB16_ave_A(BufferHandle source, BufferHandle destination, uint32_t bits);

/* n-bit mosaic to RGB16, duplication, phases D, C, B, A */
QVI_API Status QVI_BAYn_to_RGB16_dup_D(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGB16_dup_C(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGB16_dup_B(BufferHandle source, BufferHandle destination, uint32_t bits);
QVI_API Status QVI_BAYn_to_RGB16_dup_A(BufferHandle source, BufferHandle destination, uint32_t bits);

/* ------------------------------------------------------------------------ */
/* Field to frame                                                           */
/* ------------------------------------------------------------------------ */

/*
 * De-interlacing: a field of H lines (every other line of an interlaced
 * frame) becomes a frame of 2H lines in a second buffer.  The field's lines
 * are copied into place and each missing line is made from the field lines
 * above and below it: by repeating one (QVI_FieldToFrame_LineDup), by their
 * byte-wise mean (QVI_FieldToFrame_LineAve), by a weighted mean of six bytes
 * (QVI_FieldToFrame_Bilinear) or by the median of six bytes
 * (QVI_FieldToFrame_Median).
 *
 * Geometry.  With S the field's stride, every frame line is S bytes and
 * frame line k starts k x S bytes after the frame's address, whatever the
 * frame's own stride: the frame's stride, width and height serve only the
 * size check below, so a frame whose stride differs from the field's
 * receives its lines at the field's spacing (pass a frame with the field's
 * stride).  A frame of 2H lines is 2 x H x S bytes (the median on 4-byte
 * formats writes fewer, see there); nothing before the frame's address is
 * written.  Lines are copied and averaged whole, padding included.
 *
 * Line order, with L0 .. L(H-1) the field's lines and M(i) the missing line
 * made from Li and Li+1:
 *   FIELD_PARITY_ODD (0): the field gives frame lines 1, 3, .., 2H-1; the
 *       frame is L0, then Li, M(i) for i = 0 .. H-2, then L(H-1).
 *   any other value: the field gives frame lines 0, 2, .., 2H-2; the frame
 *       is Li, M(i) for i = 0 .. H-2, then L(H-1) twice.
 * A field of one line gives L0 twice with either parity.
 *
 * Checks of the four methods, in order; each failure returns
 * STATUS_BAD_BUFFER with nothing written:
 *   1. the field's validity, 0 fails.  The frame's validity is then asked for
 *      but its answer is not looked at: the field's answer is tested a second
 *      time in its place, so a method called directly accepts an invalid
 *      frame handle (QVI_FieldToFrame refuses it before calling the method).
 *   2. the field's address, then the frame's, are asked for; then either
 *      being 0 fails.
 *   3. bilinear and median only: the field's format is asked for.
 *   4. both strides, both heights, both widths are asked for (field first).
 *   5. 2 x field width x field height greater than frame stride x frame
 *      height fails, products and comparison in unsigned 32-bit arithmetic.
 *      The field's width in pixels enters this test, not its stride.
 * Bilinear and median then return STATUS_BAD_PARAMETER for a format they do
 * not take (0 included).  The line methods never ask for the format and
 * never return STATUS_BAD_PARAMETER.
 *
 * Choices for input outside this contract:
 *   - A field height of 0 passes the checks, writes nothing and returns
 *     STATUS_OK.
 *   - No byte outside frame address .. + frame stride x frame height is
 *     written and no byte outside field address .. + S x H is read.  As the
 *     size check counts the field's width, not its stride, a frame can pass
 *     it and still be shorter than its 2H lines: the walk then stops before
 *     the first frame line that would not fit (the lines before it are
 *     written as usual) and the call returns STATUS_OK.
 *   - Field and frame must not overlap; if they do, the values written are
 *     unspecified but nothing outside the two buffers is touched.
 */

/* Methods of QVI_FieldToFrame. */
typedef uint32_t FieldToFrameMethod;
#define FIELD_TO_FRAME_LINE_DUP UINT32_C(0)  /* QVI_FieldToFrame_LineDup */
#define FIELD_TO_FRAME_LINE_AVE UINT32_C(1)  /* QVI_FieldToFrame_LineAve */
#define FIELD_TO_FRAME_BILINEAR UINT32_C(2)  /* QVI_FieldToFrame_Bilinear */
#define FIELD_TO_FRAME_MEDIAN UINT32_C(3)    /* QVI_FieldToFrame_Median */

/* Which frame lines the field supplies.  Every value other than 0 means the
 * even lines. */
typedef uint32_t FieldParity;
#define FIELD_PARITY_ODD UINT32_C(0)   /* frame lines 1, 3, 5, .. */
#define FIELD_PARITY_EVEN UINT32_C(1)  /* frame lines 0, 2, 4, .. */

/*
 * QVI_FieldToFrame_LineDup - each missing line repeats a field line: with
 * FIELD_PARITY_ODD frame line 0 repeats L0 (the field line below it) and
 * every later missing line the field line above it; with any other parity
 * every missing line repeats the field line above it and the last frame line
 * repeats L(H-1).  Every line is one block copy of S bytes.
 *
 * Returns STATUS_OK, or STATUS_BAD_BUFFER from the checks above.
 */
QVI_API Status QVI_FieldToFrame_LineDup(BufferHandle field, BufferHandle frame, FieldParity parity);

/*
 * QVI_FieldToFrame_LineAve - each missing line between two field lines is
 * their mean byte by byte over all S bytes, (a + b) >> 1 truncated, padding
 * included and whatever the pixel packing (a 16-bit or packed colour pixel
 * is averaged as separate bytes).  The missing line in front (FIELD_PARITY_ODD)
 * repeats L0, the one at the end (other parity) repeats L(H-1).
 *
 * Returns STATUS_OK, or STATUS_BAD_BUFFER from the checks above.
 */
QVI_API Status QVI_FieldToFrame_LineAve(BufferHandle field, BufferHandle frame, FieldParity parity);

/*
 * QVI_FieldToFrame_Bilinear - each missing line between field lines Li and
 * Li+1 is made byte by byte over its bytes: with a and b the bytes of Li and
 * Li+1 at the same place and a-, a+, b-, b+ the bytes one step to the left
 * and right (the step leads to the neighbour of the same kind), a byte is
 *     ((a + b) x 105 + (a- + a+ + b- + b+) x 75) >> 9
 * in 32-bit integer arithmetic, truncated.  The weights sum to 510, not 512,
 * on purpose: an area of uniform value v comes out as (510 x v) >> 9, so 255
 * becomes 254 and every value of 2 or more loses a little.  Edge bytes, which
 * lack a neighbour on one side, are the vertical mean (a + b) >> 1.  The
 * missing line in front (FIELD_PARITY_ODD) repeats L0, the one at the end
 * (other parity) repeats L(H-1).
 *
 * Formats, by the field's full code, with their step and edge bytes:
 *   FMT_Y8: step 1; the first and the last byte.
 *   FMT_BGR24, FMT_RGB24: step 3; the first 3 and the last 3 bytes.
 *   FMT_XBGR32, FMT_BGRX32, FMT_XRGB32, FMT_RGBX32: step 4; the first and
 *       the last pixel.  A missing line holds whole pixels only: pixel 0, the
 *       computed pixels 1 to (S - 8) >> 2 and one pixel of vertical means,
 *       8 + 4 x ((S - 8) >> 2) bytes, which is S when S is a multiple of 4.
 *   FMT_YUV422: step 2 for the even (luma) bytes and 4 for the odd (chroma)
 *       bytes; bytes 0, 1 and 3 and the last 3 bytes.
 * Any other code, including 0 and the other codes of the family, returns
 * STATUS_BAD_PARAMETER after the checks above, with nothing written.
 *
 * Choices for input outside this contract:
 *   - A line too short to hold a byte with neighbours on both sides (for
 *     example a stride of 2 with FMT_Y8, or of 6 or less with FMT_BGR24) is
 *     all vertical means.
 *   - 4-byte formats with a stride that is not a multiple of 4: the last 1
 *     to 3 bytes of each missing line are not written (they keep what the
 *     frame held) and every frame line still starts k x S bytes from the
 *     frame's address.  Below 8 bytes the same rule holds: a stride of 4 to 7
 *     gives a missing line of one pixel of vertical means, a stride below 4
 *     a missing line of nothing.
 *   - FMT_YUV422 with an odd stride: besides the last 3 bytes, the chroma
 *     byte S - 4, whose right neighbour would lie past the line, is a
 *     vertical mean.
 *
 * Returns STATUS_OK, STATUS_BAD_BUFFER or STATUS_BAD_PARAMETER.
 */
QVI_API Status QVI_FieldToFrame_Bilinear(BufferHandle field, BufferHandle frame, FieldParity parity);

/*
 * QVI_FieldToFrame_Median - as QVI_FieldToFrame_Bilinear (same formats,
 * steps, edge bytes, line order and checks), but each byte of a missing line
 * that is not an edge byte is QVS_median6(a-, a, a+, b-, b, b+) of the same
 * six field bytes instead of their weighted mean.
 *
 * The 4-byte formats (FMT_XBGR32, FMT_BGRX32, FMT_XRGB32, FMT_RGBX32) follow
 * a deliberately shorter count, kept as it always was: only
 * n = max(0, ((S - 4) >> 2) - 4) pixels are computed.  Each missing line is
 * pixel 0 (vertical means), pixels 1 to n (medians, step 4) and pixel n + 1
 * (vertical means): 4 x (n + 2) bytes, and the next frame line follows it
 * directly.  The field line read next (as the upper line of the next pair,
 * and as the final line) starts 4 x (n + 2) bytes after the start of the
 * current upper line rather than S bytes after it, so the frame's content
 * drifts line by line and it holds 2 x H x S - (S - 4 x (n + 2)) x (H - 1)
 * bytes; the rest of the frame is not written.  With S = 32 each missing line
 * is 20 bytes and the field falls 12 bytes behind per line; with S = 16,
 * n = 0 and a missing line is 8 bytes.
 *
 * Choices for input outside this contract: as for QVI_FieldToFrame_Bilinear
 * (short lines all vertical means, FMT_YUV422 with an odd stride), and for
 * the 4-byte formats with a stride below 8, where the unsigned count would
 * wrap: a missing line is the whole pixels the stride holds (one for 4 to 7
 * bytes, none below 4), all vertical means, and the field and frame move on
 * by that length as above.
 *
 * Returns STATUS_OK, STATUS_BAD_BUFFER or STATUS_BAD_PARAMETER.
 */
QVI_API Status QVI_FieldToFrame_Median(BufferHandle field, BufferHandle frame, FieldParity parity);

/*
 * QVS_median6 - the median of six values: the low 8 bits of each argument
 * are taken, and of the third and fourth smallest of them (equal values
 * counted separately) the truncated mean (m3 + m4) >> 1 is returned, 0 to
 * 255.  Decided with a handful of comparisons, without sorting the six.
 * A pure function; it cannot fail.
 */
QVI_API uint32_t QVS_median6(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t e, uint32_t f);

/*
 * QVI_FieldToFrame - de-interlaces `field` into `frame` by `method`.
 *
 * Asks for the field's validity, then the frame's; either being 0 returns
 * STATUS_BAD_BUFFER.  A method outside FIELD_TO_FRAME_LINE_DUP ..
 * FIELD_TO_FRAME_MEDIAN then returns STATUS_BAD_PARAMETER with nothing
 * written; otherwise the method's function is called with (field, frame,
 * parity), repeating its own checks, and its status is returned.
 */
QVI_API Status QVI_FieldToFrame(BufferHandle field, BufferHandle frame, FieldToFrameMethod method,
                                FieldParity parity);

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
 * 204 + 3 x width x height bytes with its pixels at offset 204.  The first
 * offset field asks the stream's position (ftell).  When the stream stands
 * where a new file would (the usual case), every offset is written in place
 * as the directory is written, with no seek.  Otherwise each offset is
 * written as 0 and patched with the position its block really took (ftell,
 * fseek).  On a new file both give the same bytes.
 *
 * Pixels are taken line by line from the data address, width pixels a line,
 * the next line starting stride bytes after the previous one (the step is
 * stride minus the line's bytes modulo 2^32, so a stride smaller than a line
 * makes lines overlap).  They are handed to the stream in blocks of up to
 * 6 KiB, and the stream writes through a 64 KiB buffer (so the file grows
 * by whole 64 KiB writes), both on the calling thread's stack: a thread that
 * calls this needs about 72 KiB of stack to spare.  The file holds the same
 * bytes as writing them one at a time would.
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
