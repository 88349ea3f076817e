#include "host/home/tap_areas.h"

#include <absl/strings/str_join.h>

#include <algorithm>

namespace host {

using namespace platform;

namespace {

/// Nothing for what has no words.
std::string wordsOf(const DisplayItem& item, const NSBundle& bundle) {
  if (const auto* text = std::get_if<TextItem>(&item.content)) {
    return absl::StrJoin(text->lines, " ");
  }
  if (const auto* image = std::get_if<ImageItem>(&item.content)) {
    const std::string words = bundle.localizedString(image->name);
    return words == image->name ? "" : words;
  }
  return "";
}

}  // namespace

std::vector<TapArea> tapAreas(const DisplayList& list, const NSBundle& bundle) {
  std::vector<TapArea> areas;
  for (const DisplayItem& item : list.items) {
    if (!item.link) {
      continue;
    }
    const std::string words = wordsOf(item, bundle);
    const auto known = std::ranges::find(areas, *item.link, &TapArea::link);
    if (known == areas.end()) {
      areas.push_back({item.frame, *item.link, words});
    } else {
      known->frame = unite(known->frame, item.frame);
      known->label += (known->label.empty() || words.empty() ? "" : " ") + words;
    }
  }
  for (TapArea& area : areas) {
    area.frame = intersect(area.frame, {0, 0, list.size.width, list.size.height});
  }
  return areas;
}

std::string spokenText(const DisplayList& list, const NSBundle& bundle) {
  std::vector<std::string> parts;
  for (const DisplayItem& item : list.items) {
    if (std::string words = wordsOf(item, bundle); !words.empty()) {
      parts.push_back(std::move(words));
    }
  }
  return absl::StrJoin(parts, ", ");
}

}  // namespace host
