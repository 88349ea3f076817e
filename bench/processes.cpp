#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "bench/demo_phone.h"
#include "bench/program_run.h"
#include "bench/spread.h"
#include "host/phone/extension_process.h"
#include "host/phone/memory_limit.h"
#include "store/shared_store.h"

// Whole processes, interleaved in rounds so that other load on the machine affects all of them
// alike. They are compared with `node -e 0` and a C++ program that does nothing.

namespace bench {
namespace {

using namespace platform;

constexpr double kNoGoal = 0;

struct Case {
  std::string name;
  std::function<Measured()> run;
  /// The largest share of `node -e 0`, as 1/n; the largest multiple of the empty program; MiB,
  /// about twice what was measured, as memory does not depend on the machine's speed.
  double nodeShare = kNoGoal;
  double emptyMultiple = kNoGoal;
  double mebibytes = kNoGoal;
  std::vector<double> milliseconds = {};
  std::vector<double> peaks = {};
};

/// From spawn until the streak timeline and its archived views are decoded. The time until the
/// process exits is not included.
Measured coldExtension(const DemoPhone& phone) {
  const auto start = std::chrono::steady_clock::now();
  const auto extension = valueOf(host::ExtensionProcess::start(kExtension));
  valueOf(extension->ask(phone.configure()));
  const auto answer = valueOf(extension->ask(DemoPhone::streakTimeline()));
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
  const auto* timeline = std::get_if<ArchivedTimeline>(&answer);
  if (!timeline || timeline->entries.empty()) {
    giveUp("the extension gave no timeline");
  }
  return {took.count(), static_cast<double>(host::dirtyMemoryOf(extension->pid())) / (1 << 20)};
}

std::vector<Case> cases(const DemoPhone& phone) {
  const auto program = [](std::vector<std::string> words) {
    return [words = std::move(words)] { return runProgram(words); };
  };
  const auto glancery = [&](std::vector<std::string> words) {
    words.insert(words.begin(), kBuild / "glancery");
    words.insert(words.end(), {"--container", phone.container(), "--now", DemoPhone::kNow});
    if (words[1] != "app") {
      words.insert(words.end(), {"--time-zone", DemoPhone::kTimeZone});
    }
    return program(std::move(words));
  };
  return {
      {"node -e 0", program({"node", "-e", "0"})},
      {"an empty C++ program", program({kBuild / "bench" / "bench_empty"})},
      {"extension: spawn to streak timeline", [&] { return coldExtension(phone); }, 15, 5, 1},
      {"glancery render StreakWidget, PNG at 3x",
       glancery({"render", glancery::kStreakKind, "-o", phone.container() / "streak.png"}),
       3},
      {"glancery timeline StreakWidget", glancery({"timeline", glancery::kStreakKind})},
      {"glancery gallery", glancery({"gallery"})},
      {"glancery app streak 5", glancery({"app", "streak", "5"})},
      {"glancery --help", program({kBuild / "glancery", "--help"})},
  };
}

/// The verdict on each goal of a row.
std::string goals(const Case& row, double time, double node, double empty, double peak) {
  std::string text;
  const auto add = [&](double goal, const char* form, bool reached) {
    if (goal != kNoGoal) {
      char line[64];
      std::snprintf(line, sizeof line, form, goal);
      text += std::string(text.empty() ? "" : ", ") + line + " " + verdict(reached);
    }
  };
  add(row.nodeShare, "1/%g of node", time * row.nodeShare <= node);
  add(row.emptyMultiple, "%gx empty", time <= row.emptyMultiple * empty);
  add(row.mebibytes, "%g MiB", peak <= row.mebibytes);
  return text;
}

void print(const std::vector<Case>& rows, int rounds, int core) {
  std::printf("Whole processes, milliseconds: medians of %d rounds, interleaved, %s\n",
              rounds,
              core < 0 ? "not pinned" : ("all on core " + std::to_string(core)).c_str());
  std::printf("%-41s %8s %8s %8s %8s %8s %8s  %s\n",
              "",
              "lower",
              "median",
              "upper",
              "of node",
              "x empty",
              "MiB",
              "goal");
  const double node = spreadOf(rows[0].milliseconds).median;
  const double empty = spreadOf(rows[1].milliseconds).median;
  for (const Case& row : rows) {
    const Spread spread = spreadOf(row.milliseconds);
    const double peak = spreadOf(row.peaks).median;
    std::printf("%-41s %8.2f %8.2f %8.2f   1/%-5.1f %7.1f %8.1f  %s\n",
                row.name.c_str(),
                spread.lower,
                spread.median,
                spread.upper,
                node / spread.median,
                spread.median / empty,
                peak,
                goals(row, spread.median, node, empty, peak).c_str());
  }
  rusage own = {};
  ::getrusage(RUSAGE_SELF, &own);
  std::printf(
      "MiB: the extension's dirty memory; of other programs the peak of the largest process. What\n"
      "a program takes before it starts is this program's own: peaks below %.1f are not visible.\n",
      static_cast<double>(own.ru_maxrss) / 1024);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  using namespace bench;
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 41;
  if (argc > 2 || rounds < 1) {
    std::fprintf(stderr, "usage: %s [ROUNDS]\n", argv[0]);
    return 2;
  }
  const int core = pinToOneCore();
  const DemoPhone phone;
  std::vector<Case> rows = cases(phone);
  for (int round = -1; round < rounds; ++round) {
    // Each round starts with another program, so that none always follows the same one.
    for (std::size_t step = 0; step < rows.size(); ++step) {
      Case& row = rows[(step + static_cast<std::size_t>(round + 1)) % rows.size()];
      const Measured measured = row.run();
      // The first round only loads the files into memory.
      if (round >= 0) {
        row.milliseconds.push_back(measured.milliseconds);
        row.peaks.push_back(measured.mebibytes);
      }
    }
  }
  print(rows, rounds, core);
  return 0;
}
