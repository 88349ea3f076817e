#include "widgets/checkin/checkin_provider.h"

#include "store/shared_user.h"

namespace glancery {

using namespace platform;

namespace {

CheckinSimpleEntry entryFor(const std::shared_ptr<ConfigurationIntent>& configuration) {
  return {.date = Date::now(), .configuration = configuration, .hasUid = hasSharedUid()};
}

}  // namespace

CheckinSimpleEntry CheckinProvider::placeholder(const TimelineProviderContext&) const {
  return {.date = Date::now(),
          .configuration = std::make_shared<ConfigurationIntent>(),
          .hasUid = false};
}

void CheckinProvider::getSnapshot(const std::shared_ptr<ConfigurationIntent>& configuration,
                                  const TimelineProviderContext&,
                                  const Completion<CheckinSimpleEntry>& completion) const {
  completion(entryFor(configuration));
}

void CheckinProvider::getTimeline(
    const std::shared_ptr<ConfigurationIntent>& configuration,
    const TimelineProviderContext&,
    const Completion<Timeline<CheckinSimpleEntry>>& completion) const {
  completion({{entryFor(configuration)}, TimelineReloadPolicy::never});
}

}  // namespace glancery
