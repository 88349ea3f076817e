#pragma once

#include <cstdint>

#include "widgets/streak/streak_entry.h"

namespace glancery {

/// The state of the user's streak today.
enum class StreakState : std::uint8_t { maintainedToday, activeYesterday, initial, broken };

enum class Counter : std::uint8_t { streak, zero };
enum class Backdrop : std::uint8_t { numberedSuccess, numberedFail, sky };
enum class Message : std::uint8_t { none, timeOfDay, fail };
enum class Flame : std::uint8_t { steady, endsAtNight };

/// The widget's contents in a state.
struct StateRow {
  StreakState state;
  Counter counter;
  Backdrop backdrop;
  StreakDisplayType displayType;
  Message message;
  Flame flame;
};

const StateRow& rowFor(StreakState state);

}  // namespace glancery
