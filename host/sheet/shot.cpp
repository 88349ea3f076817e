#include "host/sheet/shot.h"

#include <array>
#include <set>

#include "host/sheet/phones.h"
#include "host/sheet/states/states.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;

std::string Shot::name() const {
  std::string text(widget->kind);
  text += "/" + state->name;
  for (const std::string_view part : {locale, screen->name, schemeName(), system}) {
    text += ".";
    text += part;
  }
  return text;
}

std::string_view Shot::schemeName() const {
  return scheme == ColorScheme::dark ? "dark" : "light";
}

bool Shot::isOfTheUsualPhone() const {
  return locale == kUsual.locales.front() && screen->name == kUsual.screens.front() &&
         scheme == kUsual.schemes.front() && system == kUsual.systems.front();
}

std::span<const SheetWidget> sheetWidgets() {
  static const std::array kWidgets = {
      SheetWidget{glancery::kCheckinKind, checkinStates()},
      SheetWidget{glancery::kStreakKind, streakStates()},
      SheetWidget{glancery::kAffirmationKind, affirmationStates()},
      SheetWidget{glancery::kBinnacleKind, moodLogStates()},
  };
  return kWidgets;
}

namespace {

void addShots(const SheetWidget& widget,
              const SheetState& state,
              const Phones& phones,
              std::set<std::string>& names,
              std::vector<Shot>& shots) {
  for (const std::string_view locale : phones.locales) {
    for (const std::string_view system : phones.systems) {
      for (const std::string_view screen : phones.screens) {
        for (const ColorScheme scheme : phones.schemes) {
          const Shot shot = {&widget, &state, locale, screenClassNamed(screen), scheme, system};
          if (names.insert(shot.name()).second) {
            shots.push_back(shot);
          }
        }
      }
    }
  }
}

}  // namespace

std::vector<Shot> everyShot() {
  std::vector<Shot> shots;
  std::set<std::string> names;
  for (const SheetWidget& widget : sheetWidgets()) {
    for (const SheetState& state : widget.states) {
      for (const Phones& phones : state.phones) {
        addShots(widget, state, phones, names, shots);
      }
    }
  }
  return shots;
}

}  // namespace host
