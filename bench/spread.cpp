#include "bench/spread.h"

#include <algorithm>
#include <cstddef>

namespace bench {

Spread spreadOf(std::vector<double> sample) {
  std::ranges::sort(sample);
  const auto at = [&](double share) {
    const double place = share * static_cast<double>(sample.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, sample.size() - 1);
    return sample[below] + (place - static_cast<double>(below)) * (sample[above] - sample[below]);
  };
  return {at(0.25), at(0.5), at(0.75)};
}

}  // namespace bench
