#include "host/sheet/states/states.h"

namespace host {

using enum platform::ProvideRequest::What;

std::vector<SheetState> checkinStates() {
  constexpr DeviceMatrix kAll = {kLocales, kScreens, kSchemes, kSystems};
  constexpr DeviceMatrix kTexts = {.locales = kLocales, .screens = kScreens, .systems = kSystems};
  // Only the links differ from the signed-in state, so one language is enough.
  constexpr DeviceMatrix kOneLanguage = {
      .screens = kScreens, .schemes = kSchemes, .systems = kSystems};
  constexpr DeviceMatrix kSample = {
      .locales = kTranslations, .schemes = kSchemes, .systems = kSystems};
  const auto noon = at("12:00");
  // No month has a longer name than September in the four languages.
  const auto longDate = at("12:00", "2026-09-30");
  return {
      {"signed-in", noon, signedIn(), {kAll}},
      {.name = "signed-out", .now = noon, .devices = {kOneLanguage}},
      {"signed-in.long-date", longDate, signedIn(), {kTexts}},
      {.name = "placeholder", .now = noon, .devices = {kSample}, .what = placeholder},
      {"snapshot", noon, signedIn(), {kSample}, snapshot},
  };
}

}  // namespace host
