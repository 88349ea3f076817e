#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace platform {

/// The extension's line to its host for what nobody asked it for.
class WidgetCenter {
 public:
  static WidgetCenter& shared();

  /// Asks the host to ask again for the timelines of exactly that kind. From any thread.
  void reloadTimelines(std::string_view kind) const;

  /// Takes the requests from now on: the extension's main hands them to the host, a test counts
  /// them. Set before the first request.
  void setHost(std::function<void(const std::string& kind)> host) { host_ = std::move(host); }

 private:
  std::function<void(const std::string& kind)> host_ = {};
};

}  // namespace platform
