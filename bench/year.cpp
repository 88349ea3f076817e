#include <chrono>
#include <cstdio>
#include <memory>

#include "bench/demo_phone.h"
#include "bench/program_run.h"
#include "bench/spread.h"
#include "host/home/clock_targets.h"
#include "host/home/home_phone.h"
#include "host/phone/host_app.h"
#include "platform/support/require.h"

// A year of a phone: the clock jumps from one due time to the next, the extension answers every
// request, and every image is drawn. Every evening the user records a mood and a day of the streak.
// No user is signed in, so that no server is measured.

namespace bench {
namespace {

using namespace host;
using namespace platform;

struct Year {
  double seconds = 0;
  /// Milliseconds of `node -e 0`, run twice a month and not part of `seconds`.
  std::vector<double> node = {};
  int moments = 0;
  std::size_t reloads = 0;
  std::size_t pictures = 0;
};

class Counter {
 public:
  explicit Counter(HomePhone& phone) : phone_(phone), versions_(phone.widgets().size()) {}

  void look() {
    for (TimelineScheduler::Id id = 0; id < versions_.size(); ++id) {
      const PlacedWidget& widget = phone_.widgets()[id];
      if (widget.problem) {
        giveUp(widget.item.kind + ": " + *widget.problem);
      }
      pictures += widget.picture.path != versions_[id];
      versions_[id] = widget.picture.path;
    }
    for (const LogLine& line : phone_.takeLog()) {
      reloads += !line.fromExtension && line.text.find(": new timeline") != std::string::npos;
    }
  }

  std::size_t reloads = 0;
  std::size_t pictures = 0;

 private:
  HomePhone& phone_;
  std::vector<std::string> versions_;
};

Year live(const DemoPhone& demo) {
  const auto start = std::chrono::steady_clock::now();
  const Date begin = require(Date::fromISO8601("2026-01-01T12:00:00Z"));
  const HostSettings settings = {
      .extension = kExtension,
      .container = demo.container(),
      .device = {.clock = Clock::frozenAt(begin), .timeZone = DemoPhone::kTimeZone}};
  makeCurrent(settings);
  HomePhone phone(settings, RefreshBudget());
  phone.start();
  signOut();
  Counter counter(phone);
  Year year;
  double nodeSeconds = 0;
  for (int day = 0; day < 365; ++day) {
    if (day % 15 == 0) {
      year.node.push_back(runProgram({"node", "-e", "0"}).milliseconds);
      nodeSeconds += year.node.back() / 1000;
    }
    const Date midnight = clockTargets(phone).at("next-midnight").value();
    const Date evening = midnight.addingTimeInterval(-4 * 3600);
    bool recorded = false;
    while (Date::now() < midnight) {
      Date next = midnight;
      for (const auto& [name, instant] : clockTargets(phone)) {
        next = std::min(next, instant.value_or(midnight));
      }
      if (!recorded && next >= evening) {
        next = evening;
      }
      phone.setClock(next, false);
      phone.advance();
      if (next == evening) {
        recorded = true;
        recordStreak(day + 1, next);
        recordNamedMood(std::string(glancery::kMoodNames[static_cast<std::size_t>(day) % 5]), {});
        phone.suiteChanged();
        phone.advance();
      }
      counter.look();
      ++year.moments;
    }
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  year.seconds = took.count() - nodeSeconds;
  year.reloads = counter.reloads;
  year.pictures = counter.pictures;
  return year;
}

}  // namespace
}  // namespace bench

int main() {
  using namespace bench;
  constexpr double kGoal = 330;
  const Year year = live(DemoPhone());
  const double multiple = year.seconds * 1000 / spreadOf(year.node).median;
  std::printf(
      "A year of four widgets: %d moments, %zu timelines, %zu new pictures in %.1f s, %.0f times "
      "node -e 0, goal %.0f times  %s\n",
      year.moments,
      year.reloads,
      year.pictures,
      year.seconds,
      multiple,
      kGoal,
      verdict(multiple <= kGoal));
  return 0;
}
