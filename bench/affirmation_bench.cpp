#include <benchmark/benchmark.h>

#include <filesystem>

#include "bench/demo_phone.h"
#include "host/phone/extension_process.h"
#include "network/network_manager.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/support/require.h"
#include "store/shared_store.h"

// The extension's cost of an affirmation: a request until the host has accepted it, and a server's
// answer until it is stored.

namespace bench {
namespace {

using namespace platform;

constexpr const char* kSuite = glancery::kAppGroupIdentifier;

/// A request without the host's disk: the extension receives a locale change, and the host accepts
/// the download at once.
void handOver(benchmark::State& state) {
  const DemoPhone phone;
  require(NSUserDefaults::initWithSuiteName(kSuite)).setObject("u-1", glancery::kSharedUidKey);
  int taken = 0;
  const auto extension = valueOf(host::ExtensionProcess::start(
      kExtension, {}, {.download = [&](const StartDownload&) -> std::expected<void, NSError> {
        ++taken;
        return {};
      }}));
  valueOf(extension->ask(phone.configure()));
  valueOf(extension->ask(LocaleChanged()));
  for (auto _ : state) {
    valueOf(extension->ask(LocaleChanged()));
  }
  if (taken != state.iterations() + 1) {
    giveUp("the extension did not ask for a download at every change of the locale");
  }
}
BENCHMARK(handOver)->Name("affirmation: request built and handed over");

/// The suite is in memory, so that the disk's sync is not measured.
void storeAnswer(benchmark::State& state) {
  const DemoPhone phone;
  const std::filesystem::path memory = "/dev/shm/glancery-bench";
  std::filesystem::create_directories(memory);
  setSharedContainer(memory);
  const Data body{R"({"text":")" + std::string(160, 'a') + R"(","color":"gold","more":"x"})"};
  const auto& client = glancery::NetworkManager::shared();
  for (auto _ : state) {
    const auto answer = client.parseAffirmationResponse(body);
    client.saveAffirmation(*answer.text, *answer.color);
  }
  if (!require(NSUserDefaults::initWithSuiteName(kSuite))
           .dataForKey(glancery::kAffirmationDataKey)) {
    giveUp("no affirmation was stored");
  }
  setSharedContainer(phone.container());
  std::filesystem::remove_all(memory);
}
BENCHMARK(storeAnswer)->Name("affirmation: answer to stored record");

}  // namespace
}  // namespace bench
