#include "platform/support/require.h"

#include <cstdio>
#include <cstdlib>

namespace platform {

void fatalError(std::string_view what, std::source_location where) {
  std::fprintf(stderr,
               "Fatal error: %.*s (%s:%u)\n",
               static_cast<int>(what.size()),
               what.data(),
               where.file_name(),
               where.line());
  std::abort();
}

std::int64_t addTrapping(std::int64_t a, std::int64_t b) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) {
    fatalError("arithmetic overflow");
  }
  return sum;
}

}  // namespace platform
