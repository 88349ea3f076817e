#pragma once

#include <string>
#include <vector>

#include "platform/foundation/bundle/bundle.h"
#include "platform/render/layout/display_list.h"

namespace host {

/// An area of a widget that opens a link, and its spoken label.
struct TapArea {
  platform::Rect frame;
  std::string link;
  std::string label;
};

/// The links inside a widget in drawing order, each once with the union of its items' frames within
/// the widget.
std::vector<TapArea> tapAreas(const platform::DisplayList& list, const platform::NSBundle& bundle);

/// A description of the widget for those who can't see it, in drawing order: its texts, and the
/// pictures for whose names the bundle has a text, which backgrounds have not.
std::string spokenText(const platform::DisplayList& list, const platform::NSBundle& bundle);

}  // namespace host
