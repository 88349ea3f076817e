#include "platform/foundation/text/scanner.h"

#include <cctype>
#include <cstdlib>

namespace platform {

bool NSScanner::scanHexLongLong(std::uint64_t& value) const {
  const std::size_t start = text_.find_first_not_of(" \t\n\v\f\r");
  // The C library would also accept a sign.
  if (start == std::string::npos || std::isxdigit(static_cast<unsigned char>(text_[start])) == 0) {
    return false;
  }
  value = std::strtoull(text_.c_str() + start, nullptr, 16);
  return true;
}

}  // namespace platform
