#include <benchmark/benchmark.h>

#include <random>

#include "host/schedule/timeline_scheduler.h"

namespace bench {
namespace {

using namespace host;
using platform::Date;

/// One event: the clock comes to the next moment, the widget that is due gets a timeline of the
/// next hours. Goals are for the growth: no more than twice as much for the square of the number.
void scheduledEvent(benchmark::State& state) {
  std::mt19937 random(1);
  const Date start = Date::since1970(1.77e9);
  TimelineScheduler scheduler({.enforced = false});
  const auto widgets = static_cast<std::size_t>(state.range(0));
  const auto planFrom = [&](Date now) {
    return TimelinePlan{{now}, now.addingTimeInterval(3600 + static_cast<double>(random() % 7200))};
  };
  for (std::size_t widget = 0; widget < widgets; ++widget) {
    scheduler.place("W" + std::to_string(widget),
                    WidgetSchedule({.fetched = start}, planFrom(start)));
  }
  scheduler.advance(start);
  std::int64_t events = 0;
  for (auto _ : state) {
    const Date now = *scheduler.next();
    for (const auto& due : scheduler.advance(now)) {
      scheduler.fetched(due.widget, planFrom(now), *due.reload, now);
      ++events;
    }
  }
  state.SetItemsProcessed(events);
}
BENCHMARK(scheduledEvent)->Name("schedule: an event among 100 widgets")->Arg(100);
BENCHMARK(scheduledEvent)->Name("schedule: an event among 10,000 widgets")->Arg(10'000);
BENCHMARK(scheduledEvent)->Name("schedule: an event among 100,000 widgets")->Arg(100'000);

}  // namespace
}  // namespace bench
