#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <vector>

#include "platform/render/layout/layout_rules.h"

namespace platform {
namespace {

using Length = std::optional<double>;

// A stack's rules are the same along either axis: lengths lie along it, breadths across.

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

/// The stack's own proposal with another length: children keep what is proposed across.
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

/// The children's indices, least flexible first; equals keep their order.
std::vector<std::size_t> byFlexibility(Axis axis, const Subviews& subviews, ProposedSize proposal) {
  std::vector<std::size_t> order(subviews.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  // An only child needs no asking.
  if (order.size() < 2) {
    return order;
  }
  std::vector<double> flexibility;
  for (const std::size_t i : order) {
    const double most =
        length(axis, subviews[i].sizeThatFits(withLength(axis, proposal, infinity)));
    const double least = length(axis, subviews[i].sizeThatFits(withLength(axis, proposal, 0)));
    // A child that is infinite either way bends no more than a rigid one.
    const double bend = most - least;
    flexibility.push_back(std::isnan(bend) ? 0 : bend);
  }
  std::ranges::stable_sort(order, {}, [&](std::size_t i) { return flexibility[i]; });
  return order;
}

/// What each child is proposed along the axis, in the children's own order.
std::vector<Length> shares(const StackLayout& stack,
                           const Subviews& subviews,
                           ProposedSize proposal) {
  const Length whole = length(stack.axis, proposal);
  if (!whole || std::isinf(*whole)) {
    return std::vector<Length>(subviews.size(), whole);
  }
  double left = *whole - allGaps(stack, subviews);
  std::vector<Length> shares(subviews.size(), 0.0);
  // Nothing to share stays nothing, whoever comes first.
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

// A stack shares its length among the children, the least flexible first, so that those that can
// bend take what the others leave. It is as long as they turn out and as broad as the broadest.

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

void placeSubviews(const StackLayout& stack,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize proposal) {
  const std::vector<Length> lengths = shares(stack, subviews, proposal);
  double offset = 0;
  for (std::size_t i = 0; i < subviews.size(); ++i) {
    const ProposedSize offer = withLength(stack.axis, proposal, lengths[i]);
    const double taken = length(stack.axis, subviews[i].sizeThatFits(offer));
    const Size start = sized(stack.axis, offset, 0);
    const Size slot = sized(stack.axis, taken, breadth(stack.axis, bounds.size()));
    subviews[i].place({bounds.x + start.width, bounds.y + start.height, slot.width, slot.height},
                      stack.alignment,
                      offer);
    offset += taken + gap(stack);
  }
}

// An overlay stack is as large as the largest child in each direction. When it places them it
// proposes that size to all, so a child that overflowed the proposal makes room for its siblings.

Size sizeThatFits(const OverlayStackLayout&, const Subviews& subviews, ProposedSize proposal) {
  Size largest;
  for (std::size_t i = 0; i < subviews.size(); ++i) {
    const Size child = subviews[i].sizeThatFits(proposal);
    largest = {std::max(largest.width, child.width), std::max(largest.height, child.height)};
  }
  return largest;
}

void placeSubviews(const OverlayStackLayout& stack,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize) {
  for (std::size_t i = 0; i < subviews.size(); ++i) {
    subviews[i].place(bounds, stack.alignment, {bounds.width, bounds.height});
  }
}

}  // namespace platform
