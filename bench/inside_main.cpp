#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/demo_phone.h"
#include "bench/spread.h"

// Runs every benchmark often, in short turns, mixed with the others, and prints the medians beside
// the goals: most runs then fit between two moments at which a neighbour takes the core. Google
// Benchmark's own options work as well.

namespace bench {
namespace {

struct Goal {
  std::string_view name;
  double microseconds;
};

constexpr Goal kGoals[] = {
    {"suite: open, read a key", 10},
    {"suite: open, set a key", 60},
    {"streak timeline: warm, over the socket", 250},
    {"streak picture: layout, drawing at 3x", 400},
    {"streak picture: layout, drawing at 3x, PNG", 1500},
    {"affirmation: request built and handed over", 300},
    {"affirmation: answer to stored record", 200},
};

/// Collects the repetitions of every benchmark in the order in which they first report.
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
                 "%-44s %9s %9s %9s %9s\n",
                 "Inside a process, microseconds",
                 "lower",
                 "median",
                 "upper",
                 "goal");
    for (const auto& [name, sample] : samples_) {
      const Spread spread = spreadOf(sample);
      std::fprintf(
          out, "%-44s %9.2f %9.2f %9.2f", name.c_str(), spread.lower, spread.median, spread.upper);
      const auto* goal = std::ranges::find(kGoals, name, &Goal::name);
      if (goal != std::end(kGoals)) {
        std::fprintf(
            out, " %9.0f  %s", goal->microseconds, verdict(spread.median <= goal->microseconds));
      }
      std::fputc('\n', out);
    }
  }

 private:
  std::map<std::string, std::vector<double>> samples_;
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
  // Standard output is the widgets' log while they run in this process, and nobody reads it.
  std::FILE* const report = ::fdopen(::dup(STDOUT_FILENO), "w");
  ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
  bench::Collector collector;
  if (benchmark::RunSpecifiedBenchmarks(&collector) == 0) {
    bench::giveUp("no benchmark ran");
  }
  collector.print(report);
  return std::fclose(report) == 0 ? 0 : 1;
}
