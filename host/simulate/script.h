#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// Something that the user or the world does, on one day or on several.
struct ScriptEvent {
  enum class Kind { signIn, signOut, streak, mood, travel, offline, server };
  Kind kind = Kind::streak;
  /// The user, the mood, the time zone, or the server's fault, by its name; empty for others.
  std::string value = {};
  /// The first and the last day, counted from 0, and how many days lie between two occurrences.
  int day = 0;
  int until = 0;
  int every = 1;
  /// Minutes since the start of the day.
  int minute = 0;
  /// How long the phone is offline or the server is faulty.
  double hours = 0;

  bool happensOn(int which) const {
    return which >= day && which <= until && (which - day) % every == 0;
  }
};

using Script = std::vector<ScriptEvent>;

/// Reads a script, a JSON object `{"events": [...]}`; `docs/USAGE.md` describes an event. The error
/// names the line, the column and what is wrong there.
std::expected<Script, std::string> readScript(std::string_view json);

/// A year of a user who is active most evenings, travels twice, is offline for a day and away for a
/// week, while the server fails now and then.
std::string_view defaultScript();

}  // namespace host
