#include "platform/render/layout/layout.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/render/layout/layout_pass.h"
#include "platform/render/layout/layout_rules.h"
#include "platform/support/require.h"

namespace platform {
namespace {

bool isFinite(const Rect& frame) {
  return std::isfinite(frame.x) && std::isfinite(frame.y) && std::isfinite(frame.width) &&
         std::isfinite(frame.height);
}

/// Reflects the item from leading-edge coordinates to those of a widget that runs right to left.
void reflect(DisplayItem& item, double widgetWidth) {
  item.frame.x = widgetWidth - item.frame.x - item.frame.width;
  if (auto* shown = std::get_if<TextItem>(&item.content)) {
    TextAlignment& alignment = shown->text.alignment;
    if (alignment == TextAlignment::leading) {
      alignment = TextAlignment::trailing;
    } else if (alignment == TextAlignment::trailing) {
      alignment = TextAlignment::leading;
    }
  }
}

}  // namespace

Subview Subviews::operator[](std::size_t index) const {
  if (index >= views_->size()) {
    fatalError("an archived view lacks a child");
  }
  return Subview(*pass_, (*views_)[index]);
}

std::size_t LayoutPass::QuestionHash::operator()(const Question& question) const {
  const auto mix = [](std::size_t seed, std::size_t hash) {
    return (seed ^ hash) * 0x9E3779B97F4A7C15u;
  };
  const std::hash<std::optional<double>> length;
  const std::size_t view = std::hash<const ArchivedView*>()(question.view);
  return mix(mix(mix(0, view), length(question.proposal.width)), length(question.proposal.height));
}

Size LayoutPass::sizeThatFits(const ArchivedView& view, ProposedSize proposal) {
  const Question question{&view, proposal};
  if (const auto known = answers_.find(question); known != answers_.end()) {
    return known->second;
  }
  const Size size = std::visit(
      [&](const auto& element) {
        return platform::sizeThatFits(element, Subviews(*this, view.children), proposal);
      },
      view.element);
  answers_.emplace(question, size);
  return size;
}

void LayoutPass::place(const ArchivedView& view, Point origin, ProposedSize proposal) {
  const Size size = sizeThatFits(view, proposal);
  const Rect bounds{origin.x, origin.y, size.width, size.height};
  std::visit(
      [&](const auto& element) {
        placeSubviews(element, Subviews(*this, view.children), {bounds, proposal});
      },
      view.element);
}

void LayoutPass::placeCentred(const ArchivedView& view, const Rect& bounds, ProposedSize proposal) {
  const Size size = sizeThatFits(view, proposal);
  place(view,
        {bounds.x + (bounds.width - size.width) / 2, bounds.y + (bounds.height - size.height) / 2},
        proposal);
}

void LayoutPass::placeContainerBackground(const ArchivedView& view) {
  if (containerBackground_) {
    return;
  }
  containerBackground_.emplace();
  std::vector<DisplayItem> content = std::exchange(items_, {});
  std::optional<std::string> link = exchangeLink(std::nullopt);
  placeCentred(view,
               {0, 0, widget_.width, widget_.height},
               {.width = widget_.width, .height = widget_.height});
  containerBackground_ = std::exchange(items_, std::move(content));
  exchangeLink(std::move(link));
}

void LayoutPass::show(std::variant<ImageItem, TextItem, FillItem> content, const Rect& frame) {
  // The sums of extreme lengths may overflow; nothing at such a place is visible.
  if (isFinite(frame)) {
    items_.push_back({.content = std::move(content), .frame = frame, .link = link_});
  }
}

std::optional<std::string> LayoutPass::exchangeLink(std::optional<std::string> url) {
  return std::exchange(link_, std::move(url));
}

void LayoutPass::setWidgetURL(const std::string& url) {
  if (!widgetURL_) {
    widgetURL_ = url;
  }
}

DisplayList LayoutPass::finish() && {
  DisplayList list{.size = widget_, .widgetURL = std::move(widgetURL_)};
  if (containerBackground_) {
    list.items = *std::move(containerBackground_);
  }
  std::ranges::move(items_, std::back_inserter(list.items));
  if (environment_.direction == LayoutDirection::rightToLeft) {
    for (DisplayItem& item : list.items) {
      reflect(item, widget_.width);
    }
  }
  return list;
}

DisplayList layOut(const ArchivedView& view,
                   Size widget,
                   EdgeInsets contentMargins,
                   const LayoutEnvironment& environment) {
  const Rect content{contentMargins.leading,
                     contentMargins.top,
                     std::max(0.0, widget.width - contentMargins.leading - contentMargins.trailing),
                     std::max(0.0, widget.height - contentMargins.top - contentMargins.bottom)};
  LayoutPass pass(widget, environment);
  pass.placeCentred(view, content, {.width = content.width, .height = content.height});
  return std::move(pass).finish();
}

}  // namespace platform
