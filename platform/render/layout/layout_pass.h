#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "platform/render/layout/layout.h"

namespace platform {

/// The state of one layout: sizes measured and items placed so far.
///
/// x grows from the leading to the trailing edge in every language; `finish` reflects the list for
/// a right-to-left language. So the layout rules do not depend on the direction.
class LayoutPass {
 public:
  LayoutPass(Size widget, const LayoutEnvironment& environment)
      : widget_(widget), environment_(environment) {}

  const LayoutEnvironment& environment() const { return environment_; }

  /// The view's size for a proposal. Cached: stacks ask each child several times, which would
  /// multiply with each level of nesting.
  Size sizeThatFits(const ArchivedView& view, ProposedSize proposal);

  /// Places the view, in its size for the proposal, with its top leading corner at `origin`.
  void place(const ArchivedView& view, Point origin, ProposedSize proposal);
  /// Places the view in the middle of `bounds`; it may extend beyond them.
  void placeCentred(const ArchivedView& view, const Rect& bounds, ProposedSize proposal);
  /// Places the view behind everything else, in the middle of the widget. Only the outermost
  /// container background is shown.
  void placeContainerBackground(const ArchivedView& view);

  /// Adds an item in front of the others.
  void show(std::variant<ImageItem, TextItem, FillItem> content, const Rect& frame);

  /// Sets the link of items that are shown from now on; returns the previous one.
  std::optional<std::string> exchangeLink(std::optional<std::string> url);
  /// Sets the widget's URL unless an outer view has set it.
  void setWidgetURL(const std::string& url);

  DisplayList finish() &&;

 private:
  struct Question {
    const ArchivedView* view;
    ProposedSize proposal;
    friend bool operator==(const Question&, const Question&) = default;
  };
  struct QuestionHash {
    std::size_t operator()(const Question& question) const;
  };

  Size widget_;
  const LayoutEnvironment& environment_;
  std::unordered_map<Question, Size, QuestionHash> answers_;
  std::vector<DisplayItem> items_;
  std::optional<std::vector<DisplayItem>> containerBackground_;
  std::optional<std::string> link_;
  std::optional<std::string> widgetURL_;
};

/// A child, for the layout rule of its parent.
class Subview {
 public:
  Subview(LayoutPass& pass, const ArchivedView& view) : pass_(&pass), view_(&view) {}

  Size sizeThatFits(ProposedSize proposal) const { return pass_->sizeThatFits(*view_, proposal); }
  void place(Point origin, ProposedSize proposal) const { pass_->place(*view_, origin, proposal); }
  void placeCentred(const Rect& bounds, ProposedSize proposal) const {
    pass_->placeCentred(*view_, bounds, proposal);
  }
  void placeContainerBackground() const { pass_->placeContainerBackground(*view_); }

 private:
  LayoutPass* pass_;
  const ArchivedView* view_;
};

/// The children of the view that a layout rule is applied to.
class Subviews {
 public:
  Subviews(LayoutPass& pass, const std::vector<ArchivedView>& views)
      : pass_(&pass), views_(&views) {}

  std::size_t size() const { return views_->size(); }
  /// Stops the process if there is no such child; decoded messages have no such views.
  Subview operator[](std::size_t index) const;
  Subview content() const { return (*this)[0]; }
  Subview background() const { return (*this)[1]; }
  LayoutPass& pass() const { return *pass_; }

 private:
  LayoutPass* pass_;
  const std::vector<ArchivedView>* views_;
};

}  // namespace platform
