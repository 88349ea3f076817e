#include <benchmark/benchmark.h>

#include <cstdio>

#include "bench/demo_phone.h"
#include "extension/glancery_bundle.h"
#include "host/phone/extension_process.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/locale/date_formatter.h"
#include "platform/foundation/time/calendar.h"
#include "platform/support/require.h"
#include "platform/widgetkit/extension_service.h"
#include "platform/widgetkit/widget_bundle.h"
#include "store/shared_store.h"

// The mood log reads its whole record for every timeline, and the host app never shortens it: ten
// years of moods must not cost more than three times as much as a week.

namespace bench {
namespace {

using namespace platform;

constexpr int kWeek = 7;
constexpr int kTenYears = 3650;
constexpr Size kMediumContent = {338 - 32, 158 - 32};

const ProvideRequest kTimeline = {ProvideRequest::What::timeline,
                                  glancery::kBinnacleKind,
                                  {WidgetFamily::systemMedium, kMediumContent, false}};

/// A phone whose user has recorded a mood on each of the last `days` days.
class MoodPhone : public DemoPhone {
 public:
  explicit MoodPhone(int days) {
    setCurrentDevice(configure().device);
    NSDateFormatter keys;
    keys.setDateFormat("yyyy-MM-dd");
    const Calendar calendar = Calendar::current();
    Dictionary moods;
    for (int day = 0; day < days; ++day) {
      moods.set(keys.stringFromDate(*calendar.dateByAddingDays(-day, Date::now())),
                glancery::kMoodNames[day % 5]);
    }
    auto suite = require(NSUserDefaults::initWithSuiteName(glancery::kAppGroupIdentifier));
    suite.setObject(*NSJSONSerialization::dataWithJSONObject(moods), glancery::kMoodsDataKey);
  }
};

/// Makes sure that the fallback week is not measured.
void requireMoods(const ExtensionMessage::Content& answer) {
  const auto* timeline = std::get_if<ArchivedTimeline>(&answer);
  const std::string today = "\"mood\":\"" + std::string(glancery::kMoodNames.front()) + "\"}]";
  if (!timeline || !timeline->entries.at(0).fields.contains(today)) {
    giveUp("the mood log does not show today's mood");
  }
}

void timelineInProcess(benchmark::State& state) {
  const MoodPhone phone(static_cast<int>(state.range()));
  NSBundle::setMainBundle(NSBundle(kExtension));
  ExtensionMessage answer;
  ExtensionService service(widgetBundleConformance<glancery::GlanceryBundle>().body(),
                           [&](ExtensionMessage message) { answer = std::move(message); });
  service.handle({1, phone.configure()});
  for (auto _ : state) {
    service.handle({2, kTimeline});
  }
  requireMoods(answer.content);
}
BENCHMARK(timelineInProcess)->Name("mood log timeline, a week: in process")->Arg(kWeek);
BENCHMARK(timelineInProcess)->Name("mood log timeline, ten years: in process")->Arg(kTenYears);

void timelineOverSocket(benchmark::State& state) {
  const MoodPhone phone(static_cast<int>(state.range()));
  const auto extension = valueOf(host::ExtensionProcess::start(kExtension));
  valueOf(extension->ask(phone.configure()));
  for (auto _ : state) {
    requireMoods(valueOf(extension->ask(kTimeline)));
  }
}
BENCHMARK(timelineOverSocket)->Name("mood log timeline, a week: warm, over the socket")->Arg(kWeek);
BENCHMARK(timelineOverSocket)
    ->Name("mood log timeline, ten years: warm, over the socket")
    ->Arg(kTenYears);

}  // namespace
}  // namespace bench
