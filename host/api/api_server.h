#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>

namespace host {

/// How the development server answers; by default as the real one would.
struct ApiSettings {
  std::uint16_t port = 8788;
  /// The only key that is let in; any without.
  std::optional<std::string> key = {};

  // Faults, to see what a client makes of them.
  /// Instead of 200.
  std::optional<int> status = {};
  /// Seconds before an answer.
  double delay = 0;
  /// Half of the body, then the end of the connection.
  bool cut = false;
  bool badJSON = false;
  /// A text that makes the body that long.
  std::optional<std::uint64_t> huge = {};
};

/// Serves the affirmation API on 127.0.0.1 until a signal asks to end (interrupt or terminate).
/// `ready` is told the port, `log` a line for every request. The error says why it can't be served.
std::expected<void, std::string> serveApi(const ApiSettings& settings,
                                          const std::function<void(int port)>& ready,
                                          const std::function<void(const std::string&)>& log);

}  // namespace host
