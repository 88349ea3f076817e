#pragma once

#include <vector>

namespace bench {

/// The median and the quartiles of a sample, which single disturbed runs hardly change.
struct Spread {
  double lower = 0;
  double median = 0;
  double upper = 0;
};

/// Needs at least one figure; interpolates linearly.
Spread spreadOf(std::vector<double> sample);

inline const char* verdict(bool reached) {
  return reached ? "ok" : "MISSED";
}

}  // namespace bench
