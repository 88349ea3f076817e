#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <vector>

#include "platform/render/layout/layout_rules.h"

namespace platform {
namespace {

using Length = std::optional<double>;

// The rules are the same for both axes: a length is measured along the axis, a breadth across it.

double length(Axis axis, Size size) {
  return axis == Axis::horizontal ? size.width : size.height;
}

double breadth(Axis axis, Size size) {
  return axis == Axis::horizontal ? size.height : size.width;
}

Size sized(Axis axis, double length, double breadth) {
  return axis == Axis::horizontal ? Size{length, breadth} : Size{breadth, length};
}

Length length(Axis axis, ProposedSize proposal) {
  return axis == Axis::horizontal ? proposal.width : proposal.height;
}

/// The stack's proposal with another length: the proposed breadth is passed on to the children.
ProposedSize withLength(Axis axis, ProposedSize proposal, Length length) {
  (axis == Axis::horizontal ? proposal.width : proposal.height) = length;
  return proposal;
}

double gap(const StackLayout& stack) {
  return stack.spacing.value_or(kDefaultGap);
}

double allGaps(const StackLayout& stack, const Subviews& subviews) {
  return subviews.size() < 2 ? 0 : gap(stack) * static_cast<double>(subviews.size() - 1);
}

/// The indices of the children, the least flexible first; equally flexible ones keep their order.
std::vector<std::size_t> byFlexibility(Axis axis, const Subviews& subviews, ProposedSize proposal) {
  std::vector<std::size_t> order(subviews.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (order.size() < 2) {
    return order;
  }
  std::vector<double> flexibility;
  for (const std::size_t i : order) {
    const double most =
        length(axis, subviews[i].sizeThatFits(withLength(axis, proposal, infinity)));
    const double least = length(axis, subviews[i].sizeThatFits(withLength(axis, proposal, 0)));
    // A child that is infinite in both cases counts as rigid.
    flexibility.push_back(std::isnan(most - least) ? 0 : most - least);
  }
  std::ranges::stable_sort(order, {}, [&](std::size_t i) { return flexibility[i]; });
  return order;
}

/// The length that is proposed to each child.
std::vector<Length> shares(const StackLayout& stack,
                           const Subviews& subviews,
                           ProposedSize proposal) {
  const Length whole = length(stack.axis, proposal);
  if (!whole || std::isinf(*whole)) {
    return std::vector<Length>(subviews.size(), whole);
  }
  double left = *whole - allGaps(stack, subviews);
  std::vector<Length> shares(subviews.size(), 0.0);
  if (left <= 0) {
    return shares;
  }
  std::size_t waiting = subviews.size();
  for (const std::size_t i : byFlexibility(stack.axis, subviews, proposal)) {
    shares[i] = std::max(0.0, left / static_cast<double>(waiting));
    left -=
        length(stack.axis, subviews[i].sizeThatFits(withLength(stack.axis, proposal, shares[i])));
    --waiting;
  }
  return shares;
}

}  // namespace

// A stack divides its length among the children, the least flexible first, so that flexible ones
// get what the others leave. Its size is the sum of the lengths and gaps by the largest breadth.

Size sizeThatFits(const StackLayout& stack, const Subviews& subviews, ProposedSize proposal) {
  const std::vector<Length> lengths = shares(stack, subviews, proposal);
  double total = allGaps(stack, subviews);
  double broadest = 0;
  for (std::size_t i = 0; i < subviews.size(); ++i) {
    const Size child = subviews[i].sizeThatFits(withLength(stack.axis, proposal, lengths[i]));
    total += length(stack.axis, child);
    broadest = std::max(broadest, breadth(stack.axis, child));
  }
  return sized(stack.axis, std::max(0.0, total), broadest);
}

void placeSubviews(const StackLayout& stack, const Subviews& subviews, const Placement& in) {
  const std::vector<Length> lengths = shares(stack, subviews, in.proposal);
  double offset = 0;
  for (std::size_t i = 0; i < subviews.size(); ++i) {
    const ProposedSize offer = withLength(stack.axis, in.proposal, lengths[i]);
    const double taken = length(stack.axis, subviews[i].sizeThatFits(offer));
    const Size start = sized(stack.axis, offset, 0);
    const Size slot = sized(stack.axis, taken, breadth(stack.axis, in.bounds.size()));
    subviews[i].placeCentred(
        {in.bounds.x + start.width, in.bounds.y + start.height, slot.width, slot.height}, offer);
    offset += taken + gap(stack);
  }
}

// An overlay stack takes the largest width and the largest height of its children, and proposes
// this size to all of them when it places them: one child larger than the proposal enlarges the
// others.

Size sizeThatFits(const OverlayStackLayout&, const Subviews& subviews, ProposedSize proposal) {
  Size largest;
  for (std::size_t i = 0; i < subviews.size(); ++i) {
    const Size child = subviews[i].sizeThatFits(proposal);
    largest = {std::max(largest.width, child.width), std::max(largest.height, child.height)};
  }
  return largest;
}

void placeSubviews(const OverlayStackLayout&, const Subviews& subviews, const Placement& in) {
  for (std::size_t i = 0; i < subviews.size(); ++i) {
    subviews[i].placeCentred(in.bounds, in.proposedBounds());
  }
}

}  // namespace platform
