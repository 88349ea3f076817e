#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

class DrillPhone;

/// A fault that is played against the real programs, on a separate phone, and what the user is
/// promised.
struct Drill {
  std::string_view name;
  /// What goes wrong, and what is promised, a sentence each.
  std::string_view fault;
  std::string_view promise;
  /// Returns what the user would have seen, as one line. Throws a `BrokenPromise`.
  std::string (*play)(DrillPhone& phone);
};

struct DrillResult {
  bool held = false;
  /// What the user would have seen, or what broke the promise.
  std::string seen;
};

/// All drills, by subject. This program must be `glancery`, with its extension beside it.
const std::vector<Drill>& drills();

/// Plays a drill in a scratch container. Safe from any thread.
DrillResult play(const Drill& drill);

/// Plays drills, several at once, and calls `ended` for each in the given order, on this thread.
void playAll(const std::vector<Drill>& drills,
             const std::function<void(const Drill&, DrillResult)>& ended);

}  // namespace host
