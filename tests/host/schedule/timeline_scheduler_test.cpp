#include "host/schedule/timeline_scheduler.h"

#include <gmock/gmock.h>

#include <functional>
#include <random>

#include "platform/foundation/time/calendar.h"
#include "platform/foundation/time/time_zone.h"
#include "tests/instant.h"

namespace host {
namespace {

using platform::Calendar;
using platform::Date;
using platform::TimeZone;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Provider = std::function<TimelinePlan(Date now)>;

constexpr double kHour = 3600;
constexpr double kDay = 24 * kHour;

/// A phone without a screen: asks `provider` whenever the scheduler says so, and notes it.
class Simulation {
 public:
  Simulation(Provider provider, RefreshBudget budget, Date start)
      : provider_(std::move(provider)), scheduler_(budget), now_(start) {
    scheduler_.place();
  }

  /// Runs the clock until `end`, and wakes the phone only when something is due.
  void runUntil(Date end) {
    step();
    while (scheduler_.next() && *scheduler_.next() <= end) {
      now_ = std::max(now_, *scheduler_.next());
      ++wakes;
      step();
    }
    now_ = end;
  }
  /// Sets the clock, as after a suspension or by the user.
  void jumpTo(Date instant) {
    now_ = instant;
    step();
  }
  void request(ReloadCause cause) {
    scheduler_.request(0, {cause, ""});
    step();
  }
  /// Ends the process and starts another one from the stored schedule.
  void restart() {
    const WidgetSchedule kept(scheduler_.at(0).record(), plan_);
    scheduler_ = TimelineScheduler(scheduler_.budget());
    scheduler_.place(kept);
  }
  TimelineScheduler& scheduler() { return scheduler_; }

  std::vector<std::pair<Date, ReloadCause>> reloads;
  std::vector<Date> shown;
  int wakes = 0;

 private:
  void step() {
    for (int round = 0; round < 5; ++round) {
      for (const auto& due : scheduler_.advance(now_)) {
        if (due.show) {
          shown.push_back(now_);
        }
        if (due.reload) {
          reloads.emplace_back(now_, due.reload->cause);
          plan_ = provider_(now_);
          scheduler_.fetched(due.widget, plan_, *due.reload, now_);
        }
      }
    }
    EXPECT_TRUE(!scheduler_.next() || *scheduler_.next() > now_) << "it would never sleep";
  }

  Provider provider_;
  TimelineScheduler scheduler_;
  TimelinePlan plan_;
  Date now_;
};

std::vector<Date> moments(const std::vector<std::pair<Date, ReloadCause>>& reloads) {
  std::vector<Date> dates;
  for (const auto& [date, cause] : reloads) {
    dates.push_back(date);
  }
  return dates;
}

/// Two entries, now and at midnight, and the next request then: what a daily widget plans.
Provider daily(const Calendar& calendar) {
  return [calendar](Date now) {
    const Date midnight =
        calendar.startOfDay(*calendar.dateByAddingDays(1, calendar.startOfDay(now)));
    return TimelinePlan{{now, midnight}, midnight};
  };
}

Provider every(double seconds) {
  return [seconds](Date now) { return TimelinePlan{{now}, now.addingTimeInterval(seconds)}; };
}

TEST(Scheduler, WakesAtEveryMidnightOfEachZone) {
  struct Row {
    const char* zone;
    const char* start;
    std::vector<const char*> reloads;
  };
  const Row rows[] = {
      {"America/New_York",  // 23 hours, then 25 in autumn.
       "2026-03-07T12:00:00-05:00",
       {"2026-03-07T17:00:00Z",
        "2026-03-08T05:00:00Z",
        "2026-03-09T04:00:00Z",
        "2026-03-10T04:00:00Z"}},
      {"America/New_York",
       "2026-10-31T12:00:00-04:00",
       {"2026-10-31T16:00:00Z",
        "2026-11-01T04:00:00Z",
        "2026-11-02T05:00:00Z",
        "2026-11-03T05:00:00Z"}},
      {"Africa/Cairo",  // Midnight itself is skipped.
       "2026-04-23T12:00:00Z",
       {"2026-04-23T12:00:00Z",
        "2026-04-23T22:00:00Z",
        "2026-04-24T21:00:00Z",
        "2026-04-25T21:00:00Z"}},
      {"Pacific/Apia",  // The 30th of December 2011 never was.
       "2011-12-28T20:00:00Z",
       {"2011-12-28T20:00:00Z",
        "2011-12-29T10:00:00Z",
        "2011-12-30T10:00:00Z",
        "2011-12-31T10:00:00Z"}},
  };
  for (const Row& row : rows) {
    const Calendar calendar(*TimeZone::withIdentifier(row.zone));
    Simulation phone(daily(calendar), {}, instant(row.start));
    phone.runUntil(instant(row.reloads.back()));
    std::vector<Date> expected;
    for (const char* moment : row.reloads) {
      expected.push_back(instant(moment));
    }
    EXPECT_THAT(moments(phone.reloads), ElementsAreArray(expected)) << row.zone;
  }
}

TEST(Scheduler, KeepsAGreedyProviderWithinItsBudget) {
  const Date start = instant("2026-03-05T00:00:00Z");
  constexpr RefreshBudget kBudget = {.perDay = 50, .spacing = 300};
  Simulation phone(every(60), kBudget, start);
  phone.runUntil(start.addingTimeInterval(kDay - 1));
  ASSERT_EQ(phone.reloads.size(), 51u) << "the first request is free";
  EXPECT_EQ(phone.wakes, 50);
  for (std::size_t index = 2; index < phone.reloads.size(); ++index) {
    EXPECT_EQ(phone.reloads[index].first,
              phone.reloads[index - 1].first.addingTimeInterval(kBudget.spacing));
  }
  phone.request(ReloadCause::hostApp);
  EXPECT_EQ(phone.reloads.back().second, ReloadCause::hostApp) << "the host app is free";
  phone.request(ReloadCause::extension);
  EXPECT_EQ(phone.reloads.size(), 52u) << "the extension waits";
  phone.runUntil(start.addingTimeInterval(2 * kDay - 1));
  EXPECT_EQ(phone.reloads.size(), 102u) << "another 50 in the next 24 hours";
  phone.scheduler().setBudget({.enforced = false});
  phone.runUntil(start.addingTimeInterval(2 * kDay + 600));
  EXPECT_GE(phone.reloads.size(), 111u) << "every minute";
}

TEST(Scheduler, HandlesAClockChangeInOneStep) {
  const Date start = instant("2026-03-05T12:00:00Z");
  const Calendar calendar(*TimeZone::withIdentifier("UTC"));
  Simulation phone(daily(calendar), {}, start);
  phone.runUntil(start);
  phone.jumpTo(start.addingTimeInterval(100 * kDay));
  EXPECT_THAT(phone.reloads,
              ElementsAre(std::pair(start, ReloadCause::first),
                          std::pair(start.addingTimeInterval(100 * kDay), ReloadCause::policy)));
  phone.jumpTo(start.addingTimeInterval(99 * kDay));
  ASSERT_EQ(phone.reloads.size(), 3u);
  EXPECT_EQ(phone.reloads.back().second, ReloadCause::clock) << "made later than now";
  EXPECT_EQ(phone.scheduler().at(0).budgetLeft(start, {}), 50) << "nothing is spent yet";
  phone.jumpTo(start.addingTimeInterval(99 * kDay - 1));
  EXPECT_EQ(phone.reloads.size(), 3u) << "a change by a second has no effect";
  phone.runUntil(start.addingTimeInterval(100 * kDay));
  EXPECT_EQ(phone.reloads.back().first, instant("2026-06-13T00:00:00Z")) << "the next midnight";
}

TEST(Scheduler, ContinuesAfterARestart) {
  std::mt19937 random(7);
  const Date start = instant("2026-10-24T09:00:00Z");
  const auto life = [&](bool restarts) {
    std::mt19937 events(3);
    Simulation phone(
        daily(Calendar(*TimeZone::withIdentifier("Europe/Madrid"))), {.perDay = 3}, start);
    Date now = start;
    for (int event = 0; event < 60; ++event) {
      now = now.addingTimeInterval(static_cast<double>(events() % 20'000));
      phone.runUntil(now);
      if (restarts && random() % 2 == 0) {
        phone.restart();
      }
      phone.request(events() % 3 == 0 ? ReloadCause::hostApp : ReloadCause::extension);
    }
    return phone.reloads;
  };
  const auto reloads = life(false);
  EXPECT_GT(reloads.size(), 30u);
  EXPECT_THAT(life(true), ElementsAreArray(reloads));
}

TEST(Scheduler, MergesReloadsWithoutLosingOne) {
  const Date now = instant("2026-03-05T12:00:00Z");
  TimelineScheduler scheduler;
  const auto first = scheduler.place();
  const auto second = scheduler.place();
  const auto other = scheduler.place();
  const auto reloadsOf = [&] {
    std::vector<std::pair<TimelineScheduler::Id, ReloadCause>> asked;
    for (const auto& due : scheduler.advance(now)) {
      asked.emplace_back(due.widget, due.reload->cause);
    }
    return asked;
  };
  const TimelinePlan plan = {{now}, std::nullopt};
  const ReloadRequest byApp = {ReloadCause::hostApp, "app"};
  EXPECT_EQ(reloadsOf().size(), 3u);
  EXPECT_THAT(reloadsOf(), IsEmpty()) << "requested already";
  scheduler.request(first, byApp);
  scheduler.request(second, byApp);
  EXPECT_THAT(reloadsOf(), IsEmpty()) << "a request during a fetch waits for its end";
  for (const auto widget : {first, second, other}) {
    scheduler.fetched(widget, plan, {ReloadCause::first, ""}, now);
  }
  scheduler.request(first, {ReloadCause::extension, ""});
  scheduler.request(first, byApp);
  EXPECT_THAT(
      reloadsOf(),
      ElementsAre(std::pair(first, ReloadCause::hostApp), std::pair(second, ReloadCause::hostApp)));
  scheduler.failed(first, byApp);
  scheduler.fetched(second, plan, byApp, now);
  EXPECT_THAT(reloadsOf(), IsEmpty()) << "a failed one waits for its retry";
  scheduler.retry(first);
  EXPECT_THAT(reloadsOf(), ElementsAre(std::pair(first, ReloadCause::hostApp)));
}

TEST(Scheduler, ARemovedWidgetIsNeverDueUntilItIsPlacedAgain) {
  const Date now = Date::since1970(1'772'730'000);
  TimelineScheduler scheduler;
  const auto widget = scheduler.place();
  scheduler.reset(widget, false);
  scheduler.request(widget, {ReloadCause::hostApp, ""});
  EXPECT_THAT(scheduler.advance(now), IsEmpty());
  EXPECT_EQ(scheduler.next(), std::nullopt);
  scheduler.reset(widget, true);
  const auto due = scheduler.advance(now);
  ASSERT_EQ(due.size(), 1U);
  EXPECT_EQ(due[0].reload->cause, ReloadCause::first);
}

TEST(Scheduler, FindsTheDueWidgetAmongMany) {
  std::mt19937 random(11);
  const Date start = instant("2026-03-05T00:00:00Z");
  TimelineScheduler scheduler({.enforced = false});
  std::vector<Date> wanted;
  for (std::size_t widget = 0; widget < 2000; ++widget) {
    wanted.push_back(start.addingTimeInterval(static_cast<double>(random() % 86'400)));
    scheduler.place(WidgetSchedule({.fetched = start}, {{start}, wanted.back()}));
  }
  scheduler.advance(start);  // Shows the first entries.
  // Plans are replaced by earlier and later ones.
  for (std::size_t change = 0; change < 3 * wanted.size(); ++change) {
    const std::size_t widget = change % wanted.size();
    wanted[widget] = start.addingTimeInterval(1 + static_cast<double>(random() % 86'400));
    scheduler.fetched(widget, {{start}, wanted[widget]}, {}, start);
  }
  std::vector<bool> seen(wanted.size());
  for (Date last = start; scheduler.next();) {
    const Date now = *scheduler.next();
    EXPECT_GE(now, last);
    last = now;
    for (const auto& due : scheduler.advance(now)) {
      EXPECT_EQ(wanted[due.widget], now);
      EXPECT_FALSE(seen[due.widget]);
      seen[due.widget] = true;
    }
  }
  EXPECT_EQ(std::ranges::count(seen, true), 2000);
}

}  // namespace
}  // namespace host
