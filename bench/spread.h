#pragma once

#include <vector>

namespace bench {

/// The middle of a sample and the middles of its halves: what a neighbour on the same machine does
/// to single runs moves them little.
struct Spread {
  double lower = 0;
  double median = 0;
  double upper = 0;
};

/// Of at least one figure, interpolated between neighbours.
Spread spreadOf(std::vector<double> sample);

inline const char* verdict(bool reached) {
  return reached ? "ok" : "MISSED";
}

}  // namespace bench
