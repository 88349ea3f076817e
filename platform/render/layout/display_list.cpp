#include "platform/render/layout/display_list.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <utility>

#include <nlohmann/json.hpp>

namespace platform {
namespace {

using Json = nlohmann::ordered_json;

/// Rounded to that many steps in one; never minus zero.
double rounded(double number, double steps) {
  return std::round(number * steps) / steps + 0.0;
}

/// In the fewest digits that read back the same, never in powers of ten.
std::string decimal(double number) {
  char digits[400];
  const auto end = std::to_chars(digits, std::end(digits), number, std::chars_format::fixed).ptr;
  return std::string(digits, end);
}

std::string hundredths(double number) {
  return decimal(rounded(number, 100));
}

std::string hex(const Color& color) {
  std::string text = "#";
  for (const double component : {color.red, color.green, color.blue, color.opacity}) {
    const auto byte = static_cast<unsigned>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
    constexpr char digits[] = "0123456789ABCDEF";
    text += digits[byte / 16];
    text += digits[byte % 16];
  }
  return text;
}

std::string_view name(TextAlignment alignment) {
  switch (alignment) {
    case TextAlignment::leading:
      return "leading";
    case TextAlignment::center:
      return "center";
    case TextAlignment::trailing:
      return "trailing";
  }
  return {};
}

/// A whole number without a decimal point.
Json jsonNumber(double number) {
  constexpr double exact = 1e15;
  if (std::trunc(number) == number && std::abs(number) < exact) {
    return static_cast<std::int64_t>(number);
  }
  return number;
}

Json thousandths(double number) {
  return jsonNumber(rounded(number, 1000));
}

Json jsonOf(const std::optional<std::string>& text) {
  return text ? Json(*text) : Json(nullptr);
}

// clang-format off
std::string_view type(const ImageItem&) { return "image"; }
std::string_view type(const TextItem&)  { return "text"; }
std::string_view type(const FillItem&)  { return "fill"; }
// clang-format on

void write(Json& json, const ImageItem& image) {
  json["name"] = image.name;
}

void write(Json& json, const TextItem& item) {
  const Font& font = item.text.font;
  json["text"] = item.text.text;
  json["lines"] = item.lines;
  json["font"] = {{"family", font.family.empty() ? "system" : font.family},
                  {"size", jsonNumber(font.size)},
                  {"weight", static_cast<int>(font.weight)}};
  json["tracking"] = jsonNumber(item.text.tracking);
  json["alignment"] = name(item.text.alignment);
  json["color"] = hex(item.text.color);
}

void write(Json& json, const FillItem& fill) {
  json["color"] = hex(fill.color);
}

/// In quotes, on one line.
std::string inQuotes(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    if (character == '\n') {
      result += "\\n";
      continue;
    }
    if (character == '"' || character == '\\') {
      result += '\\';
    }
    result += character;
  }
  return result + '"';
}

void describe(std::ostream& out, const ImageItem& image) {
  out << "Image " << inQuotes(image.name);
}

void describe(std::ostream& out, const TextItem& item) {
  out << "Text";
  for (const std::string& line : item.lines) {
    out << " " << inQuotes(line);
  }
}

void describe(std::ostream& out, const FillItem& fill) {
  out << "Fill " << hex(fill.color);
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
    Json json = {
        {"type", std::visit([](const auto& content) { return type(content); }, item.content)},
        {"frame",
         {thousandths(item.frame.x),
          thousandths(item.frame.y),
          thousandths(item.frame.width),
          thousandths(item.frame.height)}}};
    std::visit([&](const auto& content) { write(json, content); }, item.content);
    if (item.link) {
      json["link"] = *item.link;
    }
    items.push_back(std::move(json));
  }
  const Json json = {
      {"size", {{"width", jsonNumber(list.size.width)}, {"height", jsonNumber(list.size.height)}}},
      {"widgetURL", jsonOf(list.widgetURL)},
      {"items", std::move(items)}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

std::string displayListText(const DisplayList& list) {
  std::ostringstream out;
  for (const auto& [content, frame, link] : list.items) {
    std::visit([&](const auto& shown) { describe(out, shown); }, content);
    out << " " << hundredths(frame.x) << "," << hundredths(frame.y);
    out << " " << hundredths(frame.width) << "x" << hundredths(frame.height);
    if (link) {
      out << " -> " << *link;
    }
    out << "\n";
  }
  return std::move(out).str();
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
