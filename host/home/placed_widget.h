#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "host/phone/widget_host.h"
#include "host/schedule/timeline_file.h"
#include "host/schedule/timeline_scheduler.h"
#include "platform/render/layout/display_list.h"

namespace host {

/// A widget on the home screen: what is kept of it, and what of that is shown.
struct PlacedWidget {
  GalleryItem item;
  platform::WidgetFamily family = platform::WidgetFamily::systemSmall;
  StoredWidget stored = {};

  /// The place of the shown entry.
  std::optional<std::size_t> entry = {};
  platform::DisplayList list = {};
  /// The picture as a PNG file, and a text that is another for every other picture; empty until
  /// there is one. The last good one stays whatever happens.
  std::string png = {};
  std::string version = {};

  /// Why the picture may be out of date.
  std::optional<std::string> problem = {};
  int failures = 0;
  /// When a request that failed is made again, by the clock that nobody sets.
  std::optional<std::chrono::steady_clock::time_point> retryAt = {};
};

}  // namespace host
