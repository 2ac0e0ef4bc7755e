// The plugin "qvi": registers its three elements.
#include <gst/gst.h>

#include "elements.h"

namespace {

gboolean PluginInit(GstPlugin* plugin) {
  return gst_element_register(plugin, "qvidemosaic", GST_RANK_NONE, qvi_demosaic_get_type()) &&
         gst_element_register(plugin, "qviconvert", GST_RANK_NONE, qvi_convert_get_type()) &&
         gst_element_register(plugin, "qvideinterlace", GST_RANK_NONE, qvi_deinterlace_get_type());
}

}  // namespace

#define PACKAGE "qvi"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, qvi,
                  "Demosaicing, format conversion and de-interlacing by the qvi image-processing library",
                  PluginInit, QVI_GST_VERSION, "Proprietary", "qvi", "Unknown package origin")
