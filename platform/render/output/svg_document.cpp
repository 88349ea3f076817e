#include "platform/render/output/svg_document.h"

#include <cairo/cairo.h>

#include <charconv>
#include <cmath>
#include <map>
#include <memory>
#include <string_view>

#include "platform/foundation/text/base64.h"
#include "platform/render/paint/corners.h"
#include "platform/render/pixels/pixel_grid.h"
#include "platform/render/text/text_mask.h"

namespace platform {
namespace {

/// Straight pieces of a corner's curve; at 3 pixels a point none is seen.
constexpr int kCornerSteps = 24;

/// To a thousandth of a point, without trailing zeros.
std::string number(double value) {
  char digits[64];
  const double rounded = std::round(value * 1000) / 1000;
  const auto end = std::to_chars(digits, digits + sizeof digits, rounded + 0.0).ptr;
  return {digits, end};
}

std::string attribute(std::string_view name, std::string_view value) {
  std::string escaped = " " + std::string(name) + "=\"";
  for (const char c : value) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        // XML has no way to write the other control characters.
        escaped += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
  }
  return escaped + '"';
}

std::string attribute(std::string_view name, double value) {
  return attribute(name, number(value));
}

std::string fill(const Color& color) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text = "#";
  for (const double component : {color.red, color.green, color.blue}) {
    const auto level = static_cast<unsigned>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
    text += kDigits[level >> 4];
    text += kDigits[level & 15];
  }
  return attribute("fill", text) +
         (color.opacity < 1 ? attribute("fill-opacity", color.opacity) : "");
}

std::string box(const Rect& frame) {
  return attribute("x", frame.x) + attribute("y", frame.y) + attribute("width", frame.width) +
         attribute("height", frame.height);
}

std::string pathData(cairo_t* context) {
  cairo_path_t* path = cairo_copy_path(context);
  std::string data;
  const auto add = [&](char command, const cairo_path_data_t* points, int count) {
    data += command;
    for (int i = 1; i <= count; ++i) {
      data += (i == 1 ? "" : " ") + number(points[i].point.x) + " " + number(points[i].point.y);
    }
  };
  for (int i = 0; i < path->num_data; i += path->data[i].header.length) {
    const cairo_path_data_t* step = &path->data[i];
    switch (step->header.type) {
      case CAIRO_PATH_MOVE_TO:
        add('M', step, 1);
        break;
      case CAIRO_PATH_LINE_TO:
        add('L', step, 1);
        break;
      case CAIRO_PATH_CURVE_TO:
        add('C', step, 3);
        break;
      case CAIRO_PATH_CLOSE_PATH:
        data += 'Z';
        break;
    }
  }
  cairo_path_destroy(path);
  return data;
}

std::string outlines(const BrokenText& text, const TextPlacement& placement, Point origin) {
  const Handle<cairo_surface_t> surface(
      cairo_recording_surface_create(CAIRO_CONTENT_ALPHA, nullptr));
  const Handle<cairo_t> context(cairo_create(surface.get()));
  cairo_translate(context.get(), origin.x, origin.y);
  addOutlines(context.get(), text, placement);
  cairo_identity_matrix(context.get());
  return pathData(context.get());
}

/// The widget's outline, for clipping.
std::string roundedRectangle(Size size, double radius) {
  const auto corner = ContinuousCorner::of(radius, size);
  std::string data;
  // Clockwise from the left end of the top left corner; every second corner is run through
  // backward.
  for (int quarter = 0; quarter < 4; ++quarter) {
    const bool right = quarter == 1 || quarter == 2;
    const bool bottom = quarter >= 2;
    for (int i = 0; i <= kCornerSteps; ++i) {
      const int step = right == bottom ? i : kCornerSteps - i;
      const Point point = corner.point(static_cast<double>(step) / kCornerSteps);
      data += data.empty() ? "M" : "L";
      data += number(right ? size.width - point.x : point.x) + " " +
              number(bottom ? size.height - point.y : point.y);
    }
  }
  return data + "Z";
}

class Document {
 public:
  Document(const PictureOptions& options, const SVGTools& tools)
      : options_(options), tools_(tools) {}

  std::expected<void, std::string> add(const DisplayItem& item) {
    if (const auto* text = std::get_if<TextItem>(&item.content)) {
      addText(text->text, item.frame);
      return {};
    }
    if (const auto* color = std::get_if<FillItem>(&item.content)) {
      body_ += "  <rect" + box(inPoints(snapped(item.frame, options_.scale))) + fill(color->color) +
               "/>\n";
      return {};
    }
    return addPicture(std::get<ImageItem>(item.content).name, item.frame);
  }

  std::string finish(Size size) const {
    std::string file =
        "<svg xmlns=\"http://www.w3.org/2000/svg\"" + attribute("width", size.width) +
        attribute("height", size.height) +
        attribute("viewBox", "0 0 " + number(size.width) + " " + number(size.height)) +
        ">\n<defs>\n";
    const bool rounded = options_.cornerRadius > 0;
    if (rounded) {
      file += "  <clipPath id=\"widget\"><path" +
              attribute("d", roundedRectangle(size, options_.cornerRadius)) + "/></clipPath>\n";
    }
    return file + definitions_ + "</defs>\n<g" +
           (rounded ? attribute("clip-path", "url(#widget)") : "") + ">\n" + body_ +
           "</g>\n</svg>\n";
  }

 private:
  Rect inPoints(const PixelRect& pixels) const {
    const double scale = options_.scale;
    return {pixels.x / scale, pixels.y / scale, pixels.width / scale, pixels.height / scale};
  }

  void addText(const ArchivedText& text, const Rect& frame) {
    const auto broken = tools_.texts.broken(text, {.width = frame.width, .height = frame.height});
    const Rect place = inPoints(snapped(frame, options_.scale));
    const TextPlacement placement{
        .scale = options_.scale, .boxWidth = frame.width, .alignment = text.alignment};
    body_ += "  <path" + attribute("role", "img") + attribute("aria-label", text.text) +
             fill(text.color) + attribute("d", outlines(*broken, placement, {place.x, place.y})) +
             "/>\n";
  }

  std::expected<void, std::string> addPicture(const std::string& name, const Rect& frame) {
    const PixelRect pixels = snapped(frame, options_.scale);
    if (pixels.width <= 0 || pixels.height <= 0) {
      const auto looked = tools_.pictures.picture(name, options_.scheme, options_.scale);
      return looked ? std::expected<void, std::string>{} : std::unexpected(looked.error());
    }
    const auto picture = tools_.pictures.stretched(
        name, options_.scheme, options_.scale, pixels.width, pixels.height);
    if (!picture) {
      return std::unexpected(picture.error());
    }
    if (!*picture) {
      return {};
    }
    const auto [known, isNew] = ids_.try_emplace(*picture, "picture" + std::to_string(ids_.size()));
    const Rect place = inPoints(pixels);
    if (isNew) {
      define(known->second, **picture, place.size());
    }
    body_ += "  <use" + attribute("href", "#" + known->second) + attribute("x", place.x) +
             attribute("y", place.y) + "/>\n";
    return {};
  }

  void define(const std::string& id, const Picture& picture, Size size) {
    Bitmap bitmap{.width = picture.width, .height = picture.height};
    for (int y = 0; y < picture.height; ++y) {
      const auto row = picture.row(y);
      bitmap.pixels.insert(bitmap.pixels.end(), row.begin(), row.end());
    }
    definitions_ += "  <image" + attribute("id", id) + attribute("width", size.width) +
                    attribute("height", size.height) + attribute("preserveAspectRatio", "none") +
                    " href=\"data:image/png;base64," + encodeBase64(tools_.encoder.encode(bitmap)) +
                    "\"/>\n";
  }

  const PictureOptions& options_;
  const SVGTools& tools_;
  std::map<std::shared_ptr<const Picture>, std::string> ids_;
  std::string definitions_;
  std::string body_;
};

}  // namespace

std::expected<std::string, std::string> svgDocument(const DisplayList& list,
                                                    const PictureOptions& options,
                                                    const SVGTools& tools) {
  if (auto checked = checkPicture(list.size, options); !checked) {
    return std::unexpected(std::move(checked).error());
  }
  Document document(options, tools);
  for (const DisplayItem& item : list.items) {
    if (auto added = document.add(item); !added) {
      return std::unexpected(std::move(added).error());
    }
  }
  return document.finish(list.size);
}

}  // namespace platform
