#include "widgets/affirmation/affirmation_widget.h"

#include <functional>

#include "network/network_manager.h"
#include "platform/foundation/network/url.h"
#include "platform/foundation/process/log.h"
#include "platform/foundation/process/notification_center.h"
#include "platform/support/require.h"
#include "platform/swiftui/view.h"
#include "store/shared_store.h"
#include "ui/widget_background.h"
#include "widgets/affirmation/affirmation_provider.h"
#include "widgets/affirmation/affirmation_widget_entry_view.h"

namespace glancery {

using namespace platform;

namespace {

// Shared by provider and view: the view replaces it by a localised text.
constexpr const char* kPlaceholder = "Yo sé que cualquiera sería afortunado de tener mi amistad.";

// The timeline is reloaded when the download has ended.
void handleLocaleChange(const std::string& kind) {
  log("[AffirmationWidget] NSLocale.currentLocaleDidChangeNotification received. Fetching new "
      "affirmation and reloading timeline for kind: ",
      kind,
      ".");
  NetworkManager::shared().fetchAffirmation();
}

void handleBackgroundEvents(const std::string& identifier, std::function<void()> completion) {
  log("[AffirmationWidget] Received background session event for identifier: ", identifier);
  NetworkManager::shared().backgroundCompletionHandler = std::move(completion);
}

View content(const AffirmationEntry& entry) {
  const auto link = require(URL::fromString("quiloapp://affirmation"));
  const View view = AffirmationWidgetEntryView{entry, kPlaceholder};
  return widgetBackground(view.widgetURL(entry.hasUid ? std::optional(link) : std::nullopt),
                          affirmationBackground(entry));
}

}  // namespace

Affirmation::Affirmation()
    : kind(kAffirmationKind), backgroundSessionIdentifier(kBackgroundSessionIdentifier) {
  NSNotificationCenter::defaultCenter().addObserverForName(
      NSCurrentLocaleDidChangeNotification,
      NSOperationQueue::mainQueue(),
      [kind = kind](const NSNotification&) { handleLocaleChange(kind); });
}

WidgetConfiguration Affirmation::body() const {
  const AffirmationProvider provider = {
      .placeholderAffirmation = kPlaceholder,
      .defaultColorName = "blush",
      .userDefaultsSuiteName = kAppGroupIdentifier,
      .affirmationDataKey = kAffirmationDataKey,
      .affirmationLastFetchKey = kAffirmationLastFetchKey,
      .userDefaultsUidKey = kSharedUidKey,
  };
  return StaticConfiguration(kind, provider, content)
      .configurationDisplayName("AFFIRMATION_WIDGET_TITLE")
      .description("AFFIRMATION_WIDGET_DESC")
      .supportedFamilies({WidgetFamily::systemMedium})
      .onBackgroundURLSessionEvents(backgroundSessionIdentifier, handleBackgroundEvents);
}

}  // namespace glancery
