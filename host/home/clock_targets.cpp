#include "host/home/clock_targets.h"

#include <algorithm>
#include <vector>

#include "platform/foundation/time/calendar.h"

namespace host {

using platform::Date;

namespace {

/// The start of the next day by the device's clock and zone.
Date nextMidnight(Date now) {
  const platform::Calendar calendar = platform::Calendar::current();
  const auto tomorrow = calendar.dateByAddingDays(1, calendar.startOfDay(now));
  return calendar.startOfDay(tomorrow.value_or(Date::distantFuture()));
}

std::optional<Date> earliest(const std::vector<Date>& dates) {
  const auto first = std::ranges::min_element(dates);
  return first == dates.end() ? std::nullopt : std::optional(*first);
}

}  // namespace

std::map<std::string, std::optional<Date>> clockTargets(const HomePhone& phone) {
  const Date now = Date::now();
  const RefreshBudget& budget = phone.scheduler().budget();
  std::vector<Date> entries;
  std::vector<Date> reloads;
  for (TimelineScheduler::Id id = 0; id < phone.widgets().size(); ++id) {
    const WidgetSchedule& schedule = phone.scheduler().at(id);
    if (const auto entry = schedule.nextEntry(now, budget)) {
      entries.push_back(*entry);
    }
    if (const auto reload = schedule.nextReload(now, budget)) {
      reloads.push_back(std::max(reload->at, now));
    }
  }
  return {{"next-entry", earliest(entries)},
          {"next-reload", earliest(reloads)},
          {"next-midnight", nextMidnight(now)}};
}

}  // namespace host
