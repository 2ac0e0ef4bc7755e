// The plugin's elements.
#pragma once

#include <gst/gst.h>

G_BEGIN_DECLS

// qvidemosaic: video/x-bayer to video/x-raw (GstBaseTransform).
GType qvi_demosaic_get_type(void);
// qviconvert: video/x-raw to video/x-raw (GstVideoFilter).
GType qvi_convert_get_type(void);
// qvideinterlace: a field of H lines to a frame of 2H lines (GstVideoFilter).
GType qvi_deinterlace_get_type(void);

G_END_DECLS
