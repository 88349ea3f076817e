#pragma once

#include <expected>
#include <string>

#include "platform/render/images/picture_options.h"
#include "platform/render/images/picture_store.h"
#include "platform/render/layout/display_list.h"
#include "platform/render/output/png_encoder.h"
#include "platform/render/text/text_breaker.h"

namespace platform {

/// What an SVG document is made with.
struct SVGTools {
  TextBreaker& texts;
  PictureStore& pictures;
  PNGEncoder& encoder;
};

/// The list as an SVG file that needs nothing else: pictures embedded as PNG in the pixels they are
/// drawn with, once each; texts as outlines, with their words as a label. One unit is one point.
std::expected<std::string, std::string> svgDocument(const DisplayList& list,
                                                    const PictureOptions& options,
                                                    const SVGTools& tools);

}  // namespace platform
