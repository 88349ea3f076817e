#include <benchmark/benchmark.h>

#include "bench/demo_phone.h"
#include "extension/glancery_bundle.h"
#include "host/phone/extension_process.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/widgetkit/extension_service.h"
#include "platform/widgetkit/widget_bundle.h"

namespace bench {
namespace {

using namespace platform;

/// The extension's service inside this process.
class InProcess {
 public:
  InProcess() {
    NSBundle::setMainBundle(NSBundle(kExtension));
    service_.handle({1, phone_.configure()});
  }
  ArchivedTimeline streakTimeline() {
    service_.handle({2, DemoPhone::streakTimeline()});
    const auto* timeline = std::get_if<ArchivedTimeline>(&answer_.content);
    return timeline ? *timeline : (giveUp("the service gave no timeline"), ArchivedTimeline());
  }

 private:
  DemoPhone phone_;
  ExtensionMessage answer_;
  ExtensionService service_{widgetBundleConformance<glancery::GlanceryBundle>().body(),
                            [this](ExtensionMessage message) { answer_ = std::move(message); }};
};

void timelineInProcess(benchmark::State& state) {
  InProcess extension;
  extension.streakTimeline();
  for (auto _ : state) {
    benchmark::DoNotOptimize(extension.streakTimeline());
  }
}
BENCHMARK(timelineInProcess)->Name("streak timeline: in process");

void timelineOverSocket(benchmark::State& state) {
  const DemoPhone phone;
  const auto extension = valueOf(host::ExtensionProcess::start(kExtension));
  valueOf(extension->ask(phone.configure()));
  valueOf(extension->ask(DemoPhone::streakTimeline()));
  for (auto _ : state) {
    const auto answer = valueOf(extension->ask(DemoPhone::streakTimeline()));
    if (!std::holds_alternative<ArchivedTimeline>(answer)) {
      giveUp("the extension gave no timeline");
    }
  }
}
BENCHMARK(timelineOverSocket)->Name("streak timeline: warm, over the socket");

void encodeTimeline(benchmark::State& state) {
  const ExtensionMessage message = {1, InProcess().streakTimeline()};
  for (auto _ : state) {
    benchmark::DoNotOptimize(encode(message));
  }
}
BENCHMARK(encodeTimeline)->Name("streak timeline: encode");

void decodeTimeline(benchmark::State& state) {
  const std::string bytes = valueOf(encode(ExtensionMessage{1, InProcess().streakTimeline()}));
  for (auto _ : state) {
    benchmark::DoNotOptimize(decodeExtensionMessage(bytes));
  }
}
BENCHMARK(decodeTimeline)->Name("streak timeline: decode");

}  // namespace
}  // namespace bench
