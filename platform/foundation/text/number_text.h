#pragma once

#include <string>

namespace platform {

/// The shortest decimal text that reads back as the same double, as the platform writes numbers: a
/// whole number has no fraction ("5", "1700000000"), only very large and very small ones have an
/// exponent ("1e+20", "1e-07"). Not finite: "inf", "-inf", "nan".
std::string shortestText(double value);

}  // namespace platform
