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

// Padding subtracts its insets from the proposal and adds them to the size. Negative insets enlarge
// the child but not the reported size, so the child extends beyond it.

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

void placeSubviews(const PaddingModifier& padding, const Subviews& subviews, const Placement& in) {
  subviews.content().place({in.bounds.x + padding.insets.leading, in.bounds.y + padding.insets.top},
                           inset(in.proposal, padding.insets));
}

// A fixed frame replaces proposal and size on the axes that it sets and does not affect the other.
// The child is centred and may be larger than the frame.

static ProposedSize fixed(const FixedFrame& frame, ProposedSize proposal) {
  return {frame.width ? shrunk(frame.width, 0) : proposal.width,
          frame.height ? shrunk(frame.height, 0) : proposal.height};
}

Size sizeThatFits(const FixedFrame& frame, const Subviews& subviews, ProposedSize proposal) {
  const ProposedSize offer = fixed(frame, proposal);
  const Size child = subviews.content().sizeThatFits(offer);
  return {frame.width ? *offer.width : child.width, frame.height ? *offer.height : child.height};
}

void placeSubviews(const FixedFrame& frame, const Subviews& subviews, const Placement& in) {
  subviews.content().placeCentred(in.bounds, fixed(frame, in.proposal));
}

// A flexible frame takes the proposal up to its maximum on the axes that have one, or the child's
// length if nothing is proposed; other axes follow the child. It grows to the maximum with a child
// that is longer than the proposal. The child is proposed the bounded length when it is measured
// and the frame's own size when it is placed.

static Length offered(Length proposal, Length maximum) {
  return proposal.transform([&](double length) {
    return std::clamp(length, 0.0, std::max(0.0, maximum.value_or(infinity)));
  });
}

static double taken(Length proposal, Length maximum, double child) {
  return maximum ? *offered(std::max(proposal.value_or(0), child), maximum) : child;
}

Size sizeThatFits(const FlexibleFrame& frame, const Subviews& subviews, ProposedSize proposal) {
  const Size child = subviews.content().sizeThatFits(
      {offered(proposal.width, frame.maxWidth), offered(proposal.height, frame.maxHeight)});
  return {taken(proposal.width, frame.maxWidth, child.width),
          taken(proposal.height, frame.maxHeight, child.height)};
}

void placeSubviews(const FlexibleFrame&, const Subviews& subviews, const Placement& in) {
  subviews.content().placeCentred(in.bounds, in.proposedBounds());
}

// An aspect ratio scales its shape to fit into the proposal, or to fill it, and proposes the result
// to the child. It reports the child's size, which may be larger than the proposal.

static ProposedSize scaled(const AspectRatioModifier& aspect,
                           const Subviews& subviews,
                           ProposedSize proposal) {
  if (!proposal.width && !proposal.height) {
    return proposal;
  }
  const Size shape = aspect.ratio ? Size{*aspect.ratio, 1} : subviews.content().sizeThatFits({});
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

Size sizeThatFits(const AspectRatioModifier& aspect,
                  const Subviews& subviews,
                  ProposedSize proposal) {
  return subviews.content().sizeThatFits(scaled(aspect, subviews, proposal));
}

void placeSubviews(const AspectRatioModifier& aspect,
                   const Subviews& subviews,
                   const Placement& in) {
  subviews.content().place(in.origin(), scaled(aspect, subviews, in.proposal));
}

}  // namespace platform
