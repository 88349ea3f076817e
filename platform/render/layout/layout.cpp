#include "platform/render/layout/layout.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <tuple>
#include <utility>
#include <variant>

#include "platform/render/layout/stack_layout.h"
#include "platform/support/require.h"

namespace platform {
namespace {

using Length = std::optional<double>;
using Children = std::vector<ArchivedView>;

/// The length of a colour on an axis without a proposal, as on the platform.
constexpr double kUnspecifiedLength = 10;
/// The same for a geometry reader. Descriptions of the platform say 0 or 10. No product view
/// depends on it: `archiveView` accepts geometry readers only where the proposal is known.
constexpr double kUnspecifiedReaderLength = 0;
/// The gap between the children of a stack without a spacing. On the platform it also depends on
/// the fonts of neighbouring texts, by rules that are not published.
constexpr double kDefaultGap = 8;

/// Where an element is placed.
struct Placement {
  /// Its size is the element's for `proposal`.
  Rect bounds;
  ProposedSize proposal;

  Point origin() const { return {bounds.x, bounds.y}; }
  ProposedSize proposedBounds() const { return {bounds.width, bounds.height}; }
};

/// The first child is the content, the second one what is behind it.
const ArchivedView& childAt(const Children& children, std::size_t index) {
  if (index >= children.size()) {
    fatalError("an archived view lacks a child");
  }
  return children[index];
}

Length shrunk(Length length, double by) {
  return length ? Length(std::max(0.0, *length - by)) : std::nullopt;
}

ProposedSize inset(ProposedSize proposal, const EdgeInsets& insets) {
  return {shrunk(proposal.width, insets.leading + insets.trailing),
          shrunk(proposal.height, insets.top + insets.bottom)};
}

ProposedSize fixed(const FixedFrame& frame, ProposedSize proposal) {
  return {frame.width ? shrunk(frame.width, 0) : proposal.width,
          frame.height ? shrunk(frame.height, 0) : proposal.height};
}

Length offered(Length proposal, Length maximum) {
  return proposal.transform([&](double length) {
    return std::clamp(length, 0.0, std::max(0.0, maximum.value_or(infinity)));
  });
}

double taken(Length proposal, Length maximum, double child) {
  return maximum ? *offered(std::max(proposal.value_or(0), child), maximum) : child;
}

double gap(const StackLayout& stack) {
  return stack.spacing.value_or(kDefaultGap);
}

double allGaps(const StackLayout& stack, const Children& children) {
  return children.size() < 2 ? 0 : gap(stack) * static_cast<double>(children.size() - 1);
}

bool isFinite(const Rect& frame) {
  return std::isfinite(frame.x) && std::isfinite(frame.y) && std::isfinite(frame.width) &&
         std::isfinite(frame.height);
}

/// One layout: the sizes measured and the items placed so far, and for each element two rules, as
/// in the platform's layout protocol. `sizeOf` returns the element's size for a proposal. `put`
/// places its children, or shows an element without children. Each axis of a proposal is a length,
/// infinite or absent.
///
/// x grows from the leading to the trailing edge in every language; `finish` reflects the list for
/// a right-to-left language. So the rules do not depend on the direction.
class LayoutPass {
 public:
  LayoutPass(Size widget, const LayoutEnvironment& environment)
      : widget_(widget), environment_(environment) {}

  /// Places the view in the middle of `bounds`; it may extend beyond them.
  void placeCentred(const ArchivedView& view, const Rect& bounds, ProposedSize proposal) {
    const Size size = sizeThatFits(view, proposal);
    place(
        view,
        {bounds.x + (bounds.width - size.width) / 2, bounds.y + (bounds.height - size.height) / 2},
        proposal);
  }

  DisplayList finish() && {
    DisplayList list{.size = widget_, .widgetURL = std::move(widgetURL_)};
    if (containerBackground_) {
      list.items = *std::move(containerBackground_);
    }
    std::ranges::move(items_, std::back_inserter(list.items));
    if (environment_.direction == LayoutDirection::rightToLeft) {
      reflect(list);
    }
    return list;
  }

 private:
  /// Cached: stacks ask each child several times, which would multiply with each level of nesting.
  Size sizeThatFits(const ArchivedView& view, ProposedSize proposal) {
    const auto question = std::tuple(&view, proposal.width, proposal.height);
    if (const auto known = sizes_.find(question); known != sizes_.end()) {
      return known->second;
    }
    const Size size =
        std::visit([&](const auto& element) { return sizeOf(element, view.children, proposal); },
                   view.element);
    sizes_.emplace(question, size);
    return size;
  }

  Size contentSize(const Children& children, ProposedSize proposal) {
    return sizeThatFits(childAt(children, 0), proposal);
  }

  /// Places the view, in its size for the proposal, with its top leading corner at `origin`.
  void place(const ArchivedView& view, Point origin, ProposedSize proposal) {
    const Size size = sizeThatFits(view, proposal);
    const Rect bounds{origin.x, origin.y, size.width, size.height};
    std::visit(
        [&](const auto& element) {
          put(element, view.children, {bounds, proposal});
        },
        view.element);
  }

  /// Adds an item in front of the others.
  void show(std::variant<ImageItem, TextItem, FillItem> content, const Rect& frame) {
    // The sums of extreme lengths may overflow; nothing at such a place is visible.
    if (isFinite(frame)) {
      items_.push_back({.content = std::move(content), .frame = frame, .link = link_});
    }
  }

  // A text has the size of its lines, which are broken for the proposal.

  Size sizeOf(const ArchivedText& text, const Children&, ProposedSize proposal) {
    return environment_.text.breakLines(text, proposal).size;
  }
  void put(const ArchivedText& text, const Children&, const Placement& in) {
    show(TextItem{text, environment_.text.breakLines(text, in.proposal).lines}, in.bounds);
  }

  // An image has its natural size; a resizable one takes the proposal. An image that the bundle
  // lacks has no natural size. It is listed anyway, so that its name can be reported.

  Size sizeOf(const ArchivedImage& image, const Children&, ProposedSize proposal) {
    const Size natural = environment_.imageSize(image.name).value_or(Size{});
    return image.resizable ? Size{proposal.width.value_or(natural.width),
                                  proposal.height.value_or(natural.height)}
                           : natural;
  }
  void put(const ArchivedImage& image, const Children&, const Placement& in) {
    show(ImageItem{image.name}, in.bounds);
  }

  // A colour takes the whole proposal.

  Size sizeOf(const ArchivedFill&, const Children&, ProposedSize proposal) {
    return {proposal.width.value_or(kUnspecifiedLength),
            proposal.height.value_or(kUnspecifiedLength)};
  }
  void put(const ArchivedFill& fill, const Children&, const Placement& in) {
    if (fill.color.opacity > 0 && in.bounds.width > 0 && in.bounds.height > 0) {
      show(FillItem{fill.color}, in.bounds);
    }
  }

  // A stack has the sum of its children's lengths and gaps by their largest breadth.

  Size sizeOf(const StackLayout& stack, const Children& children, ProposedSize proposal) {
    const std::vector<Length> lengths = lengthsOf(stack, children, proposal);
    double total = allGaps(stack, children);
    double broadest = 0;
    for (std::size_t i = 0; i < children.size(); ++i) {
      const Size child = sizeThatFits(children[i], withLength(stack.axis, proposal, lengths[i]));
      total += length(stack.axis, child);
      broadest = std::max(broadest, breadth(stack.axis, child));
    }
    return sized(stack.axis, std::max(0.0, total), broadest);
  }
  void put(const StackLayout& stack, const Children& children, const Placement& in) {
    const std::vector<Length> lengths = lengthsOf(stack, children, in.proposal);
    double offset = 0;
    for (std::size_t i = 0; i < children.size(); ++i) {
      const ProposedSize offer = withLength(stack.axis, in.proposal, lengths[i]);
      const double along = length(stack.axis, sizeThatFits(children[i], offer));
      const Size start = sized(stack.axis, offset, 0);
      const Size slot = sized(stack.axis, along, breadth(stack.axis, in.bounds.size()));
      placeCentred(children[i],
                   {in.bounds.x + start.width, in.bounds.y + start.height, slot.width, slot.height},
                   offer);
      offset += along + gap(stack);
    }
  }

  std::vector<Length> lengthsOf(const StackLayout& stack,
                                const Children& children,
                                ProposedSize proposal) {
    return divideLength(
        stack.axis == Axis::horizontal ? proposal.width : proposal.height,
        allGaps(stack, children),
        children.size(),
        [&](std::size_t child, Length offer) {
          return length(stack.axis,
                        sizeThatFits(children[child], withLength(stack.axis, proposal, offer)));
        });
  }

  // An overlay stack takes the largest width and the largest height of its children, and proposes
  // this size to all of them when it places them: one child larger than the proposal enlarges the
  // others.

  Size sizeOf(const OverlayStackLayout&, const Children& children, ProposedSize proposal) {
    Size largest;
    for (const ArchivedView& view : children) {
      const Size child = sizeThatFits(view, proposal);
      largest = {std::max(largest.width, child.width), std::max(largest.height, child.height)};
    }
    return largest;
  }
  void put(const OverlayStackLayout&, const Children& children, const Placement& in) {
    for (const ArchivedView& child : children) {
      placeCentred(child, in.bounds, in.proposedBounds());
    }
  }

  // Padding subtracts its insets from the proposal and adds them to the size. Negative insets
  // enlarge the child but not the reported size, so the child extends beyond it.

  Size sizeOf(const PaddingModifier& padding, const Children& children, ProposedSize proposal) {
    const EdgeInsets& insets = padding.insets;
    const Size child = contentSize(children, inset(proposal, insets));
    return {std::max(0.0, child.width + insets.leading + insets.trailing),
            std::max(0.0, child.height + insets.top + insets.bottom)};
  }
  void put(const PaddingModifier& padding, const Children& children, const Placement& in) {
    place(childAt(children, 0),
          {in.bounds.x + padding.insets.leading, in.bounds.y + padding.insets.top},
          inset(in.proposal, padding.insets));
  }

  // A fixed frame replaces proposal and size on the axes that it sets and does not affect the
  // other. The child is centred and may be larger than the frame.

  Size sizeOf(const FixedFrame& frame, const Children& children, ProposedSize proposal) {
    const ProposedSize offer = fixed(frame, proposal);
    const Size child = contentSize(children, offer);
    return {frame.width ? *offer.width : child.width, frame.height ? *offer.height : child.height};
  }
  void put(const FixedFrame& frame, const Children& children, const Placement& in) {
    placeCentred(childAt(children, 0), in.bounds, fixed(frame, in.proposal));
  }

  // A flexible frame takes the proposal up to its maximum on the axes that have one, or the child's
  // length if nothing is proposed; other axes follow the child. It grows to the maximum with a
  // child that is longer than the proposal. The child is proposed the bounded length when it is
  // measured and the frame's own size when it is placed.

  Size sizeOf(const FlexibleFrame& frame, const Children& children, ProposedSize proposal) {
    const Size child = contentSize(
        children,
        {offered(proposal.width, frame.maxWidth), offered(proposal.height, frame.maxHeight)});
    return {taken(proposal.width, frame.maxWidth, child.width),
            taken(proposal.height, frame.maxHeight, child.height)};
  }
  void put(const FlexibleFrame&, const Children& children, const Placement& in) {
    placeCentred(childAt(children, 0), in.bounds, in.proposedBounds());
  }

  // An aspect ratio scales its shape to fit into the proposal, or to fill it, and proposes the
  // result to the child. It reports the child's size, which may be larger than the proposal.

  Size sizeOf(const AspectRatioModifier& aspect, const Children& children, ProposedSize proposal) {
    return contentSize(children, scaled(aspect, children, proposal));
  }
  void put(const AspectRatioModifier& aspect, const Children& children, const Placement& in) {
    place(childAt(children, 0), in.origin(), scaled(aspect, children, in.proposal));
  }
  ProposedSize scaled(const AspectRatioModifier& aspect,
                      const Children& children,
                      ProposedSize proposal) {
    if (!proposal.width && !proposal.height) {
      return proposal;
    }
    const Size shape = aspect.ratio ? Size{*aspect.ratio, 1} : contentSize(children, {});
    // A missing image has no shape.
    if (!(shape.width > 0 && shape.height > 0)) {
      return proposal;
    }
    // An axis without a proposal sets no limit.
    const Length byWidth = proposal.width.transform([&](double w) { return w / shape.width; });
    const Length byHeight = proposal.height.transform([&](double h) { return h / shape.height; });
    const double x = byWidth.value_or(byHeight.value_or(1));
    const double y = byHeight.value_or(x);
    const double factor = aspect.contentMode == ContentMode::fit ? std::min(x, y) : std::max(x, y);
    return {shape.width * factor, shape.height * factor};
  }

  // A geometry reader takes the whole proposal, proposes it to the content and places that at its
  // top leading corner.

  Size sizeOf(const ArchivedGeometryReader&, const Children&, ProposedSize proposal) {
    return {proposal.width.value_or(kUnspecifiedReaderLength),
            proposal.height.value_or(kUnspecifiedReaderLength)};
  }
  void put(const ArchivedGeometryReader&, const Children& children, const Placement& in) {
    place(childAt(children, 0), in.origin(), in.proposedBounds());
  }

  // The other modifiers have the size and place of their content. Home-screen widgets have no
  // safe-area insets (their margins are padding), so there is nothing to extend into.

  Size sizeOf(const auto&, const Children& children, ProposedSize proposal) {
    return contentSize(children, proposal);
  }
  void put(const IgnoresSafeAreaModifier&, const Children& children, const Placement& in) {
    place(childAt(children, 0), in.origin(), in.proposal);
  }

  // A background gets the content's size as its proposal and is drawn behind it.
  void put(const BackgroundModifier&, const Children& children, const Placement& in) {
    placeCentred(childAt(children, 1), in.bounds, in.proposedBounds());
    place(childAt(children, 0), in.origin(), in.proposal);
  }

  // A container background covers the widget, behind everything else, at whatever depth of the view
  // it is set. Only the outermost one is shown.
  void put(const ContainerBackgroundModifier&, const Children& children, const Placement& in) {
    if (!containerBackground_) {
      containerBackground_.emplace();
      std::vector<DisplayItem> content = std::exchange(items_, {});
      std::optional<std::string> link = std::exchange(link_, std::nullopt);
      placeCentred(childAt(children, 1),
                   {0, 0, widget_.width, widget_.height},
                   {.width = widget_.width, .height = widget_.height});
      containerBackground_ = std::exchange(items_, std::move(content));
      link_ = std::move(link);
    }
    place(childAt(children, 0), in.origin(), in.proposal);
  }

  // The inner one of two nested links is used, and the outer one of two nested widget URLs.
  void put(const ArchivedLink& link, const Children& children, const Placement& in) {
    auto outer = std::exchange(link_, link.url);
    place(childAt(children, 0), in.origin(), in.proposal);
    link_ = std::move(outer);
  }
  void put(const ArchivedWidgetURL& widget, const Children& children, const Placement& in) {
    widgetURL_ = widgetURL_ ? widgetURL_ : widget.url;
    place(childAt(children, 0), in.origin(), in.proposal);
  }

  Size widget_;
  const LayoutEnvironment& environment_;
  std::map<std::tuple<const ArchivedView*, Length, Length>, Size> sizes_;
  std::vector<DisplayItem> items_;
  std::optional<std::vector<DisplayItem>> containerBackground_;
  /// Of the items that are shown from now on.
  std::optional<std::string> link_;
  std::optional<std::string> widgetURL_;
};

}  // namespace

DisplayList layOut(const ArchivedView& view,
                   Size widget,
                   EdgeInsets contentMargins,
                   const LayoutEnvironment& environment) {
  const ProposedSize content = inset({widget.width, widget.height}, contentMargins);
  LayoutPass pass(widget, environment);
  pass.placeCentred(
      view, {contentMargins.leading, contentMargins.top, *content.width, *content.height}, content);
  return std::move(pass).finish();
}

}  // namespace platform
