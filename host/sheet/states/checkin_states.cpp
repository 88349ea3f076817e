#include "host/sheet/phones.h"
#include "host/sheet/states/states.h"
#include "store/shared_store.h"

namespace host {

using namespace glancery;
using namespace platform;
using enum ProvideRequest::What;

namespace {

Dictionary signedIn() {
  return {{kSharedUidKey, "u-1"}};
}

}  // namespace

std::vector<SheetState> checkinStates() {
  const Date noon = at("12:00");
  const std::vector<Phones> samples = {{kTranslations, kUsual.screens, kEveryScheme, kEverySystem}};
  return {
      {.name = "signed-in",
       .now = noon,
       .suite = signedIn,
       .phones = {{kEveryLocale, kEveryScreen, kEveryScheme, kEverySystem}}},
      // Differs in its links alone, so one language tells all.
      {.name = "signed-out",
       .now = noon,
       .phones = {{kUsual.locales, kEveryScreen, kEveryScheme, kEverySystem}}},
      // No month has a longer name in the four languages.
      {.name = "signed-in.long-date",
       .now = at("2026-09-30", "12:00"),
       .suite = signedIn,
       .phones = {{kEveryLocale, kEveryScreen, kUsual.schemes, kEverySystem}}},
      {.name = "placeholder", .now = noon, .phones = samples, .what = placeholder},
      {.name = "snapshot", .now = noon, .suite = signedIn, .phones = samples, .what = snapshot},
  };
}

}  // namespace host
