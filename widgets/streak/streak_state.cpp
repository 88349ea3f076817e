#include "widgets/streak/streak_state.h"

#include <algorithm>
#include <array>
#include <utility>

namespace glancery {

using enum StreakState;
using enum StreakDisplayType;

namespace {

// The flame ends in the evening as long as there is a streak to keep, or to begin.
// clang-format off
constexpr std::array kStateRows = {
    //       state            counter          backdrop                   display type    message             flame
    StateRow{maintainedToday, Counter::streak, Backdrop::numberedSuccess, successCounter, Message::none,      Flame::steady},
    StateRow{activeYesterday, Counter::streak, Backdrop::sky,             successCounter, Message::timeOfDay, Flame::endsAtNight},
    StateRow{initial,         Counter::zero,   Backdrop::sky,             failMessage,    Message::timeOfDay, Flame::endsAtNight},
    StateRow{broken,          Counter::zero,   Backdrop::numberedFail,    failMessage,    Message::fail,      Flame::steady},
};
// clang-format on
static_assert(std::ranges::is_sorted(kStateRows,
                                     {},
                                     &StateRow::state));  // rowFor indexes by state.

}  // namespace

const StateRow& rowFor(StreakState state) {
  return kStateRows[std::to_underlying(state)];
}

}  // namespace glancery
