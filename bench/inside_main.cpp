#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/demo_phone.h"
#include "bench/spread.h"

// Runs every benchmark many times, briefly and interleaved with the others, and prints the medians
// and the goals. Short runs are rarely interrupted by other processes. A goal is a multiple of a
// yardstick's median in the same run. The options of Google Benchmark work as well.

namespace bench {
namespace {

struct Goal {
  std::string_view name;
  double multiple;
  std::string_view yardstick;
};

constexpr std::string_view kRead = "yardstick: read a small file";
constexpr std::string_view kCreate = "yardstick: create and remove a small file";
constexpr std::string_view kRoundTrip = "yardstick: message to a process and back";
constexpr std::string_view kDeflate = "yardstick: deflate the streak picture's pixels";

constexpr Goal kGoals[] = {
    {"suite: open, read a key", 4, kRead},
    {"suite: open, set a key", 2.5, kCreate},
    {"streak timeline: warm, over the socket", 20, kRoundTrip},
    {"streak picture: layout, drawing at 3x", 0.1, kDeflate},
    {"streak picture: layout, drawing at 3x, PNG", 0.35, kDeflate},
    {"affirmation: request built and handed over", 20, kRoundTrip},
    {"affirmation: answer to stored record", 5, kCreate},
};

/// Collects the repetitions of each benchmark, in the order of their first report.
class Collector final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration) {
        constexpr double kMicroseconds = 1e6;
        samples_[run.run_name.function_name].push_back(
            run.real_accumulated_time / static_cast<double>(run.iterations) * kMicroseconds);
      }
    }
  }

  void print(std::FILE* out) const {
    std::fprintf(out,
                 "%-46s %9s %9s %9s  %s\n",
                 "Inside a process, microseconds",
                 "lower",
                 "median",
                 "upper",
                 "goal");
    for (const auto& [name, sample] : samples_) {
      const Spread spread = spreadOf(sample);
      std::fprintf(
          out, "%-46s %9.2f %9.2f %9.2f", name.c_str(), spread.lower, spread.median, spread.upper);
      const auto* goal = std::ranges::find(kGoals, name, &Goal::name);
      if (goal != std::end(kGoals)) {
        printGoal(out, *goal, spread.median);
      }
      std::fputc('\n', out);
    }
  }

 private:
  /// Nothing if a filter left the yardstick out.
  void printGoal(std::FILE* out, const Goal& goal, double median) const {
    const auto yardstick = samples_.find(goal.yardstick);
    if (yardstick != samples_.end()) {
      const double multiple = median / spreadOf(yardstick->second).median;
      std::fprintf(out,
                   "  %.2fx, goal %gx %s  %s",
                   multiple,
                   goal.multiple,
                   std::string(goal.yardstick).c_str(),
                   verdict(multiple <= goal.multiple));
    }
  }

  std::map<std::string, std::vector<double>, std::less<>> samples_;
};

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  std::vector<std::string> words = {argv[0],
                                    "--benchmark_repetitions=41",
                                    "--benchmark_min_time=0.005",
                                    "--benchmark_enable_random_interleaving=true"};
  words.insert(words.end(), argv + 1, argv + argc);
  std::vector<char*> arguments;
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
    return 2;
  }
  // Discards the widgets' log, which goes to standard output in this process.
  std::FILE* const report = ::fdopen(::dup(STDOUT_FILENO), "w");
  ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
  bench::Collector collector;
  if (benchmark::RunSpecifiedBenchmarks(&collector) == 0) {
    bench::giveUp("no benchmark ran");
  }
  collector.print(report);
  return std::fclose(report) == 0 ? 0 : 1;
}
