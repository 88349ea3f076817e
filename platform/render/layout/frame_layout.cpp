#include <algorithm>
#include <optional>

#include "platform/render/layout/layout_rules.h"

namespace platform {
namespace {

using Length = std::optional<double>;

Length shrunk(Length length, double by) {
  return length ? Length(std::max(0.0, *length - by)) : std::nullopt;
}

}  // namespace

// Padding takes the insets off the proposal and puts them back onto the size. Negative ones enlarge
// the child and leave the size reported as it was, so that the child sticks out.

static ProposedSize inset(ProposedSize proposal, const EdgeInsets& insets) {
  return {shrunk(proposal.width, insets.leading + insets.trailing),
          shrunk(proposal.height, insets.top + insets.bottom)};
}

Size sizeThatFits(const PaddingModifier& padding, const Subviews& subviews, ProposedSize proposal) {
  const EdgeInsets& insets = padding.insets;
  const Size child = subviews.content().sizeThatFits(inset(proposal, insets));
  return {std::max(0.0, child.width + insets.leading + insets.trailing),
          std::max(0.0, child.height + insets.top + insets.bottom)};
}

void placeSubviews(const PaddingModifier& padding,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize proposal) {
  subviews.content().place({bounds.x + padding.insets.leading, bounds.y + padding.insets.top},
                           inset(proposal, padding.insets));
}

// A fixed frame replaces proposal and size on the axes that it fixes; on the other one it is not
// there. The child is aligned in it and may be larger.

static ProposedSize fixed(const FixedFrame& frame, ProposedSize proposal) {
  return {frame.width ? shrunk(frame.width, 0) : proposal.width,
          frame.height ? shrunk(frame.height, 0) : proposal.height};
}

Size sizeThatFits(const FixedFrame& frame, const Subviews& subviews, ProposedSize proposal) {
  const ProposedSize offer = fixed(frame, proposal);
  const Size child = subviews.content().sizeThatFits(offer);
  return {frame.width ? *offer.width : child.width, frame.height ? *offer.height : child.height};
}

void placeSubviews(const FixedFrame& frame,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize proposal) {
  subviews.content().place(bounds, frame.alignment, fixed(frame, proposal));
}

// A flexible frame bounds an axis. With both bounds, or with the one that the proposal runs into,
// it goes by the proposal; without any it is its child's size. The child, proposed the bounded
// length first, is proposed the frame's own size when it is placed.

namespace {

struct Bounds {
  Length min;
  Length ideal;
  Length max;

  double clamp(double length) const {
    return std::max({0.0, min.value_or(0), std::min(length, max.value_or(infinity))});
  }

  Length offer(Length proposal) const {
    const Length wanted = proposal ? proposal : ideal;
    return wanted ? Length(clamp(*wanted)) : std::nullopt;
  }

  double size(Length proposal, double child) const {
    if (!proposal) {
      return clamp(ideal.value_or(child));
    }
    if (min && max) {
      return clamp(*proposal);
    }
    if (max) {
      return clamp(std::max(*proposal, child));
    }
    if (min) {
      return clamp(std::min(*proposal, child));
    }
    return child;
  }
};

Bounds horizontal(const FlexibleFrame& frame) {
  return {frame.minWidth, frame.idealWidth, frame.maxWidth};
}

Bounds vertical(const FlexibleFrame& frame) {
  return {frame.minHeight, frame.idealHeight, frame.maxHeight};
}

}  // namespace

Size sizeThatFits(const FlexibleFrame& frame, const Subviews& subviews, ProposedSize proposal) {
  const Bounds width = horizontal(frame);
  const Bounds height = vertical(frame);
  const Size child =
      subviews.content().sizeThatFits({width.offer(proposal.width), height.offer(proposal.height)});
  return {width.size(proposal.width, child.width), height.size(proposal.height, child.height)};
}

void placeSubviews(const FlexibleFrame& frame,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize) {
  subviews.content().place(bounds, frame.alignment, {bounds.width, bounds.height});
}

// An aspect ratio scales its shape into the proposal, or over it, and proposes that. It reports
// what the child makes of it: one that fills is larger than what was proposed.

static ProposedSize scaled(const AspectRatioModifier& aspect,
                           const Subviews& subviews,
                           ProposedSize proposal) {
  if (!proposal.width && !proposal.height) {
    return proposal;
  }
  const Size shape = aspect.ratio ? Size{*aspect.ratio, 1} : subviews.content().sizeThatFits({});
  // A missing picture has no shape to keep.
  if (!(shape.width > 0 && shape.height > 0)) {
    return proposal;
  }
  // An absent axis sets no limit: the other one decides.
  const Length byWidth = proposal.width.transform([&](double w) { return w / shape.width; });
  const Length byHeight = proposal.height.transform([&](double h) { return h / shape.height; });
  const double x = byWidth.value_or(byHeight.value_or(1));
  const double y = byHeight.value_or(x);
  const double factor = aspect.contentMode == ContentMode::fit ? std::min(x, y) : std::max(x, y);
  return {shape.width * factor, shape.height * factor};
}

Size sizeThatFits(const AspectRatioModifier& aspect,
                  const Subviews& subviews,
                  ProposedSize proposal) {
  return subviews.content().sizeThatFits(scaled(aspect, subviews, proposal));
}

void placeSubviews(const AspectRatioModifier& aspect,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize proposal) {
  subviews.content().place({bounds.x, bounds.y}, scaled(aspect, subviews, proposal));
}

}  // namespace platform
