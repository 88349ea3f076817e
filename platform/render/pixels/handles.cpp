#include "platform/render/pixels/handles.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>

namespace platform {

void Release::operator()(FcConfig* config) const {
  FcConfigDestroy(config);
}

void Release::operator()(PangoContext* context) const {
  g_object_unref(context);
}

void Release::operator()(PangoFontMap* map) const {
  g_object_unref(map);
}

void Release::operator()(PangoLayout* layout) const {
  g_object_unref(layout);
}

void Release::operator()(cairo_t* context) const {
  cairo_destroy(context);
}

void Release::operator()(cairo_surface_t* surface) const {
  cairo_surface_destroy(surface);
}

}  // namespace platform
