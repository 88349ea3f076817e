#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace platform {

/// Sends the extension's own requests to its host.
class WidgetCenter {
 public:
  static WidgetCenter& shared();

  /// Requests a reload of the timelines of exactly that kind. Safe from any thread.
  void reloadTimelines(std::string_view kind) const;

  /// Sets the function that sends a request. Not safe while another thread makes requests.
  void setHost(std::function<void(const std::string& kind)> host) { host_ = std::move(host); }

 private:
  std::function<void(const std::string& kind)> host_ = {};
};

}  // namespace platform
