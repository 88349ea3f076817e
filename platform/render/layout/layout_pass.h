#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "platform/render/layout/layout.h"

namespace platform {

/// One run of the layout over a view: what has been measured and what has been placed so far.
///
/// It works from the leading edge: x grows toward the trailing one whichever way the language runs,
/// and right to left is a reflection of the finished list. So no rule below it asks for a
/// direction.
class LayoutPass {
 public:
  LayoutPass(Size widget, const LayoutEnvironment& environment)
      : widget_(widget), environment_(environment) {}

  const LayoutEnvironment& environment() const { return environment_; }

  /// The view's answer to a proposal. It is worked out once: a stack asks each child several times,
  /// which would multiply from level to level.
  Size sizeThatFits(const ArchivedView& view, ProposedSize proposal);

  /// Puts the view, at the size it answers to the proposal, with its top leading corner at
  /// `origin`.
  void place(const ArchivedView& view, Point origin, ProposedSize proposal);
  /// Puts it into `bounds` by the alignment; it may reach beyond them.
  void place(const ArchivedView& view,
             const Rect& bounds,
             Alignment alignment,
             ProposedSize proposal);
  /// Puts it behind everything else, over the whole widget. The outermost such background is shown.
  void placeContainerBackground(const ArchivedView& view, Alignment alignment);

  /// Draws something in front of what is there.
  void show(std::variant<ImageItem, TextItem, FillItem> content, const Rect& frame);

  /// Makes what is shown from now on open this address, or nothing; answers what it opened before.
  std::optional<std::string> exchangeLink(std::optional<std::string> url);
  /// The outermost address stays.
  void openWherever(const std::string& url);

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

/// A child as its parent's rules see it.
class Subview {
 public:
  Subview(LayoutPass& pass, const ArchivedView& view) : pass_(&pass), view_(&view) {}

  Size sizeThatFits(ProposedSize proposal) const { return pass_->sizeThatFits(*view_, proposal); }
  void place(Point origin, ProposedSize proposal) const { pass_->place(*view_, origin, proposal); }
  void place(const Rect& bounds, Alignment alignment, ProposedSize proposal) const {
    pass_->place(*view_, bounds, alignment, proposal);
  }
  void placeContainerBackground(Alignment alignment) const {
    pass_->placeContainerBackground(*view_, alignment);
  }

 private:
  LayoutPass* pass_;
  const ArchivedView* view_;
};

/// The children of the view that a rule is about.
class Subviews {
 public:
  Subviews(LayoutPass& pass, const std::vector<ArchivedView>& views)
      : pass_(&pass), views_(&views) {}

  std::size_t size() const { return views_->size(); }
  /// Stops the process where there is no such child: `decodeView` lets no such view in.
  Subview operator[](std::size_t index) const;
  Subview content() const { return (*this)[0]; }
  Subview background() const { return (*this)[1]; }
  LayoutPass& pass() const { return *pass_; }

 private:
  LayoutPass* pass_;
  const std::vector<ArchivedView>* views_;
};

}  // namespace platform
