#pragma once

#include <tuple>

#include "widgets/affirmation/affirmation_widget.h"
#include "widgets/checkin/checkin_widget.h"
#include "widgets/moodlog/binnacle_widget.h"
#include "widgets/streak/streak_widget.h"

namespace glancery {

/// The extension's widgets in the order of the gallery.
struct GlanceryBundle {
  std::tuple<Checkin, Streak, Affirmation, Binnacle> body() const { return {}; }
};

}  // namespace glancery
