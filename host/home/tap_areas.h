#pragma once

#include <string>
#include <vector>

#include "platform/foundation/bundle/bundle.h"
#include "platform/render/layout/display_list.h"

namespace host {

/// What a part of a widget opens, and what it says.
struct TapArea {
  platform::Rect frame;
  std::string link;
  std::string label;
};

/// The links inside a widget, each once with the area that all its items take up within the widget,
/// in the order in which they are drawn.
std::vector<TapArea> tapAreas(const platform::DisplayList& list, const platform::NSBundle& bundle);

/// What a widget says to someone who can't see it: its texts, and those pictures whose names the
/// bundle has a text for, in the order in which they are drawn. Backgrounds have none.
std::string spokenText(const platform::DisplayList& list, const platform::NSBundle& bundle);

}  // namespace host
