#include "bench/demo_phone.h"

#include <cstdio>
#include <cstdlib>

#include "platform/foundation/defaults/user_defaults.h"
#include "platform/support/require.h"
#include "store/shared_store.h"

namespace bench {

using namespace platform;

DemoPhone::DemoPhone() {
  setSharedContainer(container());
  auto suite = require(NSUserDefaults::initWithSuiteName(glancery::kAppGroupIdentifier));
  suite.setObject(Data{R"({"count":5,"timestamp":1772730000.25})"}, glancery::kStreakDataKey);
  suite.setObject("demo", glancery::kSharedUidKey);
}

ConfigureRequest DemoPhone::configure() const {
  return {.device = {.clock = Clock::frozenAt(require(Date::fromISO8601(kNow))),
                     .timeZone = kTimeZone,
                     .locale = "es_MX",
                     .languages = {"es_MX"}},
          .container = container().string(),
          .infoOverrides = {}};
}

ProvideRequest DemoPhone::streakTimeline() {
  const Size content = {kSmallWidget.width - kContentMargins.leading - kContentMargins.trailing,
                        kSmallWidget.height - kContentMargins.top - kContentMargins.bottom};
  return {ProvideRequest::What::timeline,
          glancery::kStreakKind,
          {WidgetFamily::systemSmall, content, false}};
}

void giveUp(const std::string& reason) {
  std::fprintf(stderr, "bench: %s\n", reason.c_str());
  std::exit(1);
}

}  // namespace bench
