#include "platform/render/layout/display_list.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <utility>

#include <nlohmann/json.hpp>

namespace platform {
namespace {

using Json = nlohmann::ordered_json;

std::string hex(const Color& color) {
  const auto byte = [](double component) {
    return static_cast<unsigned>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
  };
  char text[40];
  std::snprintf(text,
                sizeof text,
                "#%02X%02X%02X%02X",
                byte(color.red),
                byte(color.green),
                byte(color.blue),
                byte(color.opacity));
  return text;
}

// In the order of TextAlignment.
constexpr std::array kAlignmentNames = {"leading", "center", "trailing"};

/// Whole numbers are written without a decimal point.
Json jsonNumber(double number) {
  constexpr double kExact = 1e15;
  if (std::trunc(number) == number && std::abs(number) < kExact) {
    return static_cast<std::int64_t>(number);
  }
  return number;
}

/// Never minus zero.
Json thousandths(double number) {
  return jsonNumber(std::round(number * 1000) / 1000 + 0.0);
}

void write(Json& json, const ImageItem& image) {
  json["type"] = "image";
  json["name"] = image.name;
}

void write(Json& json, const TextItem& item) {
  const Font& font = item.text.font;
  json["type"] = "text";
  json["text"] = item.text.text;
  json["lines"] = item.lines;
  json["font"] = {{"family", font.family.empty() ? "system" : font.family},
                  {"size", jsonNumber(font.size)},
                  {"weight", static_cast<int>(font.weight)}};
  json["tracking"] = jsonNumber(item.text.tracking);
  json["alignment"] = kAlignmentNames.at(static_cast<std::size_t>(item.text.alignment));
  json["color"] = hex(item.text.color);
}

void write(Json& json, const FillItem& fill) {
  json["type"] = "fill";
  json["color"] = hex(fill.color);
}

bool contains(double start, double length, double value) {
  return value >= start && value < start + length;
}

bool contains(const Rect& frame, Point point) {
  return contains(frame.x, frame.width, point.x) && contains(frame.y, frame.height, point.y);
}

}  // namespace

std::string displayListJSON(const DisplayList& list) {
  Json items = Json::array();
  for (const DisplayItem& item : list.items) {
    const Rect& frame = item.frame;
    Json json = {{"type", nullptr},
                 {"frame",
                  {thousandths(frame.x),
                   thousandths(frame.y),
                   thousandths(frame.width),
                   thousandths(frame.height)}}};
    std::visit([&](const auto& content) { write(json, content); }, item.content);
    if (item.link) {
      json["link"] = *item.link;
    }
    items.push_back(std::move(json));
  }
  const Json json = {
      {"size", {{"width", jsonNumber(list.size.width)}, {"height", jsonNumber(list.size.height)}}},
      {"widgetURL", list.widgetURL ? Json(*list.widgetURL) : Json()},
      {"items", std::move(items)}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

void reflect(DisplayList& list) {
  using enum TextAlignment;
  for (DisplayItem& item : list.items) {
    item.frame.x = list.size.width - item.frame.x - item.frame.width;
    if (auto* shown = std::get_if<TextItem>(&item.content)) {
      TextAlignment& alignment = shown->text.alignment;
      alignment = alignment == leading ? trailing : alignment == trailing ? leading : alignment;
    }
  }
}

std::optional<std::string> linkAt(const DisplayList& list, Point point) {
  if (!contains({0, 0, list.size.width, list.size.height}, point)) {
    return std::nullopt;
  }
  for (auto item = list.items.rbegin(); item != list.items.rend(); ++item) {
    if (item->link && contains(item->frame, point)) {
      return item->link;
    }
  }
  return list.widgetURL;
}

}  // namespace platform
