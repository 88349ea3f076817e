#pragma once

#include <string_view>

#include "platform/foundation/error.h"

namespace host {

struct CurlFailure {
  platform::NSError error;
  /// Another attempt would fail as well.
  bool final = false;
};

/// What a CURLcode other than CURLE_OK means, with the system's error behind it and the address
/// that was asked last.
CurlFailure failureOf(int result, int systemError, std::string_view url);

}  // namespace host
