#pragma once

#include <charconv>
#include <cmath>
#include <iterator>
#include <string>

#include <nlohmann/json.hpp>

#include "platform/render/layout/display_list.h"

namespace platform {

/// One line for each item: `Image "flame" 12,52 18x30`, `Text "7" ...`, `Fill #RRGGBBAA ...`, with
/// numbers to a hundredth without trailing zeros, then ` -> URL` if it is inside a link. Each line
/// of a text is in quotes: `Text "Keep" "going" ...`.
inline std::string displayListText(const DisplayList& list) {
  const auto number = [](double value) {
    char digits[400];
    const double rounded = std::round(value * 100) / 100 + 0.0;
    return std::string(
        digits, std::to_chars(digits, std::end(digits), rounded, std::chars_format::fixed).ptr);
  };
  std::string out;
  auto item = list.items.begin();
  const auto parsed = nlohmann::json::parse(displayListJSON(list));
  for (const auto& json : parsed.at("items")) {
    if (json.at("type") == "image") {
      out += "Image " + json.at("name").dump();
    } else if (json.at("type") == "fill") {
      out += "Fill " + json.at("color").get<std::string>();
    } else {
      out += "Text";
      for (const auto& line : json.at("lines")) {
        out += " " + line.dump();
      }
    }
    const Rect& frame = item->frame;
    out += " " + number(frame.x) + "," + number(frame.y) + " " + number(frame.width) + "x" +
           number(frame.height) + (item->link ? " -> " + *item->link : "") + "\n";
    ++item;
  }
  return out;
}

}  // namespace platform
