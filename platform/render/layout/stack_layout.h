#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "platform/swiftui/geometry.h"

namespace platform {

// The rules of stacks are the same for both axes: a length is measured along the axis, a breadth
// across it.

inline double length(Axis axis, Size size) {
  return axis == Axis::horizontal ? size.width : size.height;
}

inline double breadth(Axis axis, Size size) {
  return axis == Axis::horizontal ? size.height : size.width;
}

inline Size sized(Axis axis, double length, double breadth) {
  return axis == Axis::horizontal ? Size{length, breadth} : Size{breadth, length};
}

/// The stack's proposal with another length: the proposed breadth is passed on to the children.
inline ProposedSize withLength(Axis axis, ProposedSize proposal, std::optional<double> length) {
  (axis == Axis::horizontal ? proposal.width : proposal.height) = length;
  return proposal;
}

/// The length of a child for the length that the stack proposes to it; absent is its ideal length,
/// infinity the largest.
using ChildLength = std::function<double(std::size_t child, std::optional<double> proposal)>;

/// What a stack proposes to each of its `count` children when `proposal` is proposed to the stack,
/// along its axis and in points. `gaps` is the length of all gaps between the children.
///
/// A finite length is divided among the children, the least flexible first, so that flexible ones
/// get what the others leave. Otherwise each child gets the proposal.
std::vector<std::optional<double>> divideLength(std::optional<double> proposal,
                                                double gaps,
                                                std::size_t count,
                                                const ChildLength& lengthOf);

}  // namespace platform
