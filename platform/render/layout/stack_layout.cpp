#include "platform/render/layout/stack_layout.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace platform {
namespace {

/// Equally flexible children keep their order.
std::vector<std::size_t> leastFlexibleFirst(std::size_t count, const ChildLength& lengthOf) {
  std::vector<std::size_t> order(count);
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (count > 1) {
    std::vector<double> flexibility;
    for (const std::size_t child : order) {
      const double range =
          lengthOf(child, std::numeric_limits<double>::infinity()) - lengthOf(child, 0);
      // A child that is infinite in both cases counts as rigid.
      flexibility.push_back(std::isnan(range) ? 0 : range);
    }
    std::ranges::stable_sort(order, {}, [&](std::size_t child) { return flexibility[child]; });
  }
  return order;
}

}  // namespace

std::vector<std::optional<double>> divideLength(std::optional<double> proposal,
                                                double gaps,
                                                std::size_t count,
                                                const ChildLength& lengthOf) {
  if (!proposal || std::isinf(*proposal)) {
    return std::vector(count, proposal);
  }
  std::vector<std::optional<double>> lengths(count, 0.0);
  double left = *proposal - gaps;
  if (left <= 0) {
    return lengths;
  }
  std::size_t waiting = count;
  for (const std::size_t child : leastFlexibleFirst(count, lengthOf)) {
    lengths[child] = std::max(0.0, left / static_cast<double>(waiting--));
    left -= lengthOf(child, lengths[child]);
  }
  return lengths;
}

}  // namespace platform
