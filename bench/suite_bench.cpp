#include <benchmark/benchmark.h>

#include "bench/demo_phone.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "store/shared_store.h"

namespace bench {
namespace {

using namespace platform;

constexpr const char* kSuite = glancery::kAppGroupIdentifier;

void openAndRead(benchmark::State& state) {
  const DemoPhone phone;
  for (auto _ : state) {
    const auto suite = NSUserDefaults::initWithSuiteName(kSuite);
    benchmark::DoNotOptimize(suite->dataForKey(glancery::kStreakDataKey));
  }
}
BENCHMARK(openAndRead)->Name("suite: open, read a key");

void openAndSet(benchmark::State& state) {
  const DemoPhone phone;
  std::int64_t value = 0;
  for (auto _ : state) {
    auto suite = NSUserDefaults::initWithSuiteName(kSuite);
    suite->setInteger(++value, glancery::kSuccessImageIndexKey);
  }
  if (NSUserDefaults::initWithSuiteName(kSuite)->integerForKey(glancery::kSuccessImageIndexKey) !=
      value) {
    giveUp("the suite does not hold what was set");
  }
}
BENCHMARK(openAndSet)->Name("suite: open, set a key");

void parseRecord(benchmark::State& state) {
  const Data record{R"({"count":1234,"timestamp":1772730000.25})"};
  for (auto _ : state) {
    benchmark::DoNotOptimize(NSJSONSerialization::JSONObjectWithData(record));
  }
}
BENCHMARK(parseRecord)->Name("streak record: parse JSON");

}  // namespace
}  // namespace bench
