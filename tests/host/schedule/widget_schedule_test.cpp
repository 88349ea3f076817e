#include "host/schedule/widget_schedule.h"

#include <gmock/gmock.h>

#include <functional>

#include "tests/instant.h"

namespace host {
namespace {

using platform::Date;
using testing::ElementsAreArray;

Date at(double seconds) {
  return Date::since1970(1e9 + seconds);
}

TimelinePlan planOf(const std::vector<double>& entries, std::optional<double> reload = {}) {
  TimelinePlan plan = {.entries = {}, .reloadAfter = reload.transform(at)};
  for (const double entry : entries) {
    plan.entries.push_back(at(entry));
  }
  return plan;
}

/// From when on which entry is shown.
using Shown = std::vector<std::pair<double, std::size_t>>;

Shown shownOf(const TimelinePlan& plan, const RefreshBudget& budget) {
  const WidgetSchedule schedule({.fetched = at(0)}, plan);
  Date now = at(0);
  Shown shown = {{0, schedule.entryAt(now, budget).value()}};
  while (const auto next = schedule.nextEntry(now, budget)) {
    EXPECT_GT(*next, now);
    now = *next;
    shown.emplace_back(now.timeIntervalSince1970() - 1e9, schedule.entryAt(now, budget).value());
  }
  return shown;
}

TEST(WidgetSchedule, ShowsEachEntryWhenItsDateComes) {
  constexpr RefreshBudget kBudget = {.spacing = 300};
  constexpr RefreshBudget kNone = {.enforced = false};
  struct Row {
    const char* what;
    std::vector<double> entries;
    RefreshBudget budget;
    Shown shown;
  };
  const Row rows[] = {
      {"one entry", {0}, kBudget, {{0, 0}}},
      {"an hour apart", {0, 3600, 7200}, kBudget, {{0, 0}, {3600, 1}, {7200, 2}}},
      {"midnight soon after the request", {0, 60, 86460}, kBudget, {{0, 0}, {60, 1}, {86460, 2}}},
      {"none has come yet", {500, 900}, kBudget, {{0, 0}, {900, 1}}},
      {"some have passed", {-7200, -3600, 3600}, kBudget, {{0, 1}, {3600, 2}}},
      {"a minute apart: the latest wins",
       {0, 60, 120, 180, 240, 300, 360, 420},
       kBudget,
       {{0, 0}, {60, 1}, {360, 6}, {660, 7}}},
      {"without a budget each counts", {0, 60, 120}, kNone, {{0, 0}, {60, 1}, {120, 2}}},
      {"of two at once the later place", {0, 600, 600}, kBudget, {{0, 0}, {600, 2}}},
      {"out of order", {0, 7200, 3600}, kBudget, {{0, 0}, {3600, 2}, {7200, 1}}},
  };
  for (const Row& row : rows) {
    EXPECT_THAT(shownOf(planOf(row.entries), row.budget), ElementsAreArray(row.shown)) << row.what;
  }
  EXPECT_EQ(WidgetSchedule().entryAt(at(0), kBudget), std::nullopt);
  EXPECT_EQ(WidgetSchedule().nextEntry(at(0), kBudget), std::nullopt);
}

TEST(WidgetSchedule, ChecksTheBudgetOfCountedReloadsOnly) {
  constexpr double kDay = 24 * 60 * 60;
  constexpr RefreshBudget kTwo = {.perDay = 2, .spacing = 300};
  const ReloadRequest byExtension = {ReloadCause::extension, "extension"};
  const ReloadRequest byApp = {ReloadCause::hostApp, "app"};
  struct Row {
    const char* what;
    ScheduleRecord record;
    std::optional<double> policy;
    RefreshBudget budget;
    std::optional<std::pair<double, ReloadCause>> next;
  };
  constexpr double kAtOnce = -1;
  const std::vector<Date> spent = {at(-7000), at(-600)};
  const Row rows[] = {
      {"never asked", {}, {}, kTwo, {{kAtOnce, ReloadCause::first}}},
      {"never again", {.fetched = at(0)}, {}, kTwo, {}},
      {"by its policy", {.fetched = at(0)}, 900, kTwo, {{900, ReloadCause::policy}}},
      {"a policy in the past", {.fetched = at(0)}, -900, kTwo, {{-900, ReloadCause::policy}}},
      {"a policy too soon after the last",
       {.fetched = at(0), .lastByPolicy = at(-10)},
       20,
       kTwo,
       {{290, ReloadCause::policy}}},
      {"without a budget a second is enough",
       {.fetched = at(0), .lastByPolicy = at(0)},
       0,
       {.enforced = false},
       {{1, ReloadCause::policy}}},
      {"the budget is used up",
       {.fetched = at(0), .counted = spent},
       900,
       kTwo,
       {{-7000 + kDay, ReloadCause::policy}}},
      {"used up, and off",
       {.fetched = at(0), .counted = spent},
       900,
       {.enforced = false, .perDay = 2},
       {{900, ReloadCause::policy}}},
      {"the extension with budget left",
       {.fetched = at(0), .wanted = byExtension, .counted = {at(-5)}},
       900,
       kTwo,
       {{kAtOnce, ReloadCause::extension}}},
      {"the extension again and again, without a budget",
       {.fetched = at(0), .wanted = byExtension, .counted = {at(-5), at(0)}},
       {},
       {.enforced = false},
       {{1, ReloadCause::extension}}},
      {"the extension without",
       {.fetched = at(0), .wanted = byExtension, .counted = spent},
       {},
       kTwo,
       {{-7000 + kDay, ReloadCause::extension}}},
      {"the app without any",
       {.fetched = at(0), .wanted = byApp, .counted = spent},
       900,
       kTwo,
       {{kAtOnce, ReloadCause::hostApp}}},
  };
  for (const Row& row : rows) {
    TimelinePlan plan = planOf({0}, row.policy);
    const auto next = WidgetSchedule(row.record, plan).nextReload(at(0), row.budget);
    ASSERT_EQ(next.has_value(), row.next.has_value()) << row.what;
    if (next) {
      EXPECT_EQ(next->at, row.next->first == kAtOnce ? Date::distantPast() : at(row.next->first))
          << row.what;
      EXPECT_EQ(next->request.cause, row.next->second) << row.what;
    }
  }
}

TEST(WidgetSchedule, CountsTheLast24HoursOnly) {
  constexpr RefreshBudget kBudget = {.perDay = 3};
  WidgetSchedule schedule;
  const ReloadRequest counted = {ReloadCause::policy, ""};
  schedule.fetched(planOf({0}), {ReloadCause::first, ""}, at(0));
  EXPECT_EQ(schedule.budgetLeft(at(0), kBudget), 3);
  for (const double moment : {0.0, 40'000.0, 80'000.0}) {
    schedule.fetched(planOf({moment}), counted, at(moment));
  }
  EXPECT_EQ(schedule.budgetLeft(at(80'000), kBudget), 0);
  EXPECT_EQ(schedule.budgetLeft(at(86'400), kBudget), 1);
  schedule.fetched(planOf({0}), counted, at(90'000));
  EXPECT_EQ(schedule.record().counted.size(), 3u);
  // The budget is now smaller than what was spent.
  EXPECT_EQ(schedule.budgetLeft(at(90'000), {.perDay = 1}), 0);
}

TEST(WidgetSchedule, ForgetsReloadsLaterThanAClockThatWasSetBack) {
  const ScheduleRecord record = {
      .fetched = at(0), .lastByPolicy = at(0), .counted = {at(-90), at(0)}};
  WidgetSchedule corrected(record, planOf({0}, 900));
  corrected.clockSetBack(at(-1));
  EXPECT_EQ(corrected.record(), record) << "a change by a second has no effect";
  WidgetSchedule schedule(record, planOf({0}, 900));
  schedule.clockSetBack(at(-60));
  EXPECT_EQ(schedule.record().counted, std::vector{at(-90)});
  EXPECT_EQ(schedule.record().lastByPolicy, std::nullopt);
  EXPECT_EQ(schedule.nextReload(at(-60), {})->request.cause, ReloadCause::clock);
}

}  // namespace
}  // namespace host
