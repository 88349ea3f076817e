#include "platform/render/svg/svg_entry.h"

#include "platform/render/svg/svg_drawing.h"

extern "C" __attribute__((visibility("default"))) void glanceryDrawSVG(
    std::string_view svg, double scale, std::expected<platform::Picture, std::string>& result) {
  static_assert(std::is_same_v<decltype(glanceryDrawSVG), platform::SVGEntry>);
  result = platform::drawSVG(svg, scale);
}
