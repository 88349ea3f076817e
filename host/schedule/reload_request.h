#pragma once

#include <string>

namespace host {

/// Who wants a widget's timeline to be asked for.
enum class ReloadCause {
  /// Nobody has asked for one yet.
  first,
  /// The timeline's own policy.
  policy,
  /// The extension, through the widget centre.
  extension,
  /// The host app, from the foreground.
  hostApp,
  /// The device: another language, zone, size or version of the system.
  device,
  /// The clock stands before the moment at which the timeline was made.
  clock,
};

/// Whether the reload counts against the widget's budget. The phone asks what the user's own doing
/// calls for without counting it.
constexpr bool isCounted(ReloadCause cause) {
  return cause == ReloadCause::policy || cause == ReloadCause::extension;
}

struct ReloadRequest {
  ReloadCause cause = ReloadCause::first;
  /// In words for people: "the host app changed streakData".
  std::string why;
  friend bool operator==(const ReloadRequest&, const ReloadRequest&) = default;
};

}  // namespace host
