#include <benchmark/benchmark.h>

#include <map>
#include <random>

#include "host/schedule/timeline_scheduler.h"

namespace bench {
namespace {

using namespace host;
using platform::Date;

/// Many placed widgets, each of which plans one to three hours ahead.
class World {
 public:
  explicit World(std::size_t widgets) {
    for (std::size_t widget = 0; widget < widgets; ++widget) {
      scheduler_.place(WidgetSchedule({.fetched = kStart}, planFrom(kStart)));
    }
    scheduler_.advance(kStart);
    // Only timelines after the first ones are measured.
    for (std::size_t warm = 0; warm < 3 * widgets; ++warm) {
      event();
    }
  }

  /// Advances the clock to the next due widget, which gets its timeline.
  void event() {
    const Date now = *scheduler_.next();
    for (const auto& due : scheduler_.advance(now)) {
      scheduler_.fetched(due.widget, planFrom(now), *due.reload, now);
    }
  }

 private:
  static constexpr Date kStart = Date::since1970(1.77e9);

  TimelinePlan planFrom(Date now) { return {{now}, now.addingTimeInterval(ahead_(random_))}; }

  std::mt19937 random_{1};
  /// In fractions of a second, so that no two widgets are due at the same time.
  std::uniform_real_distribution<> ahead_{3600, 10'800};
  TimelineScheduler scheduler_{{.enforced = false}};
};

/// The goal: at most twice the time for the square of the number.
void scheduledEvent(benchmark::State& state) {
  static std::map<std::int64_t, World> worlds;
  World& world =
      worlds.try_emplace(state.range(0), static_cast<std::size_t>(state.range(0))).first->second;
  for (auto _ : state) {
    world.event();
  }
}
BENCHMARK(scheduledEvent)->Name("schedule: an event among 100 widgets")->Arg(100);
BENCHMARK(scheduledEvent)->Name("schedule: an event among 10,000 widgets")->Arg(10'000);
BENCHMARK(scheduledEvent)->Name("schedule: an event among 100,000 widgets")->Arg(100'000);

}  // namespace
}  // namespace bench
