#include "host/sheet/states/states.h"

#include <set>

#include "platform/foundation/data/json_serialization.h"
#include "platform/support/require.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;

namespace {

void addJobs(const SheetWidget& widget,
             const SheetState& state,
             std::set<std::string>& names,
             std::vector<RenderJob>& jobs) {
  for (const auto& [locales, screens, schemes, systems] : state.devices) {
    for (const std::string_view locale : locales) {
      for (const std::string_view system : systems) {
        for (const std::string_view screen : screens) {
          for (const ColorScheme scheme : schemes) {
            const RenderJob job = {
                &widget, &state, locale, screenClassNamed(screen), scheme, system};
            if (names.insert(job.name()).second) {
              jobs.push_back(job);
            }
          }
        }
      }
    }
  }
}

}  // namespace

std::span<const SheetWidget> sheetWidgets() {
  static const std::array kWidgets = {
      SheetWidget{glancery::kCheckinKind, checkinStates()},
      SheetWidget{glancery::kStreakKind, streakStates()},
      SheetWidget{glancery::kAffirmationKind, affirmationStates()},
      SheetWidget{glancery::kBinnacleKind, moodLogStates()},
  };
  return kWidgets;
}

std::string RenderJob::name() const {
  std::string text(widget->kind);
  text += "/" + state->name;
  for (const std::string_view part : {locale, screen->name, schemeName(), system}) {
    text.append(".").append(part);
  }
  return text;
}

std::string_view RenderJob::schemeName() const {
  return scheme == ColorScheme::dark ? "dark" : "light";
}

bool RenderJob::hasDefaultDevice() const {
  return locale == kLocales.front() && screen->name == kScreens.front() &&
         scheme == kSchemes.front() && system == kSystems.front();
}

std::vector<RenderJob> allRenderJobs() {
  std::vector<RenderJob> jobs;
  std::set<std::string> names;
  for (const SheetWidget& widget : sheetWidgets()) {
    for (const SheetState& state : widget.states) {
      addJobs(widget, state, names, jobs);
    }
  }
  return jobs;
}

Date at(std::string_view time, std::string_view day) {
  return require(Date::fromISO8601(std::string(day) + "T" + std::string(time) + "Z"));
}

Data record(const Dictionary& members) {
  const auto data = NSJSONSerialization::dataWithJSONObject(members);
  return require(data ? std::optional(*data) : std::nullopt);
}

Suite signedIn(Dictionary more) {
  more.set(glancery::kSharedUidKey, "u-1");
  return [suite = std::move(more)] { return suite; };
}

}  // namespace host
