#include "widgets/affirmation/affirmation_provider.h"

#include "network/network_manager.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/process/log.h"
#include "platform/foundation/time/calendar.h"
#include "platform/support/require.h"
#include "store/shared_user.h"

namespace glancery {

using namespace platform;

namespace {

Date startOfTomorrow(Date now) {
  const Calendar calendar = Calendar::current();
  return require(calendar.dateByAddingDays(1, calendar.startOfDay(now)));
}

}  // namespace

AffirmationEntry AffirmationProvider::placeholder(const TimelineProviderContext&) const {
  return placeholderEntry();
}

void AffirmationProvider::getSnapshot(const TimelineProviderContext&,
                                      const Completion<AffirmationEntry>& completion) const {
  const AffirmationEntry entry = placeholderEntry();
  log("[AffirmationProvider] Providing snapshot with forced placeholder data.");
  completion(entry);
}

void AffirmationProvider::getTimeline(
    const TimelineProviderContext&,
    const Completion<Timeline<AffirmationEntry>>& completion) const {
  const Date now = Date::now();
  const Date nextUpdate = startOfTomorrow(now);

  AffirmationEntry entry;
  if (const auto uid = signedInUid(userDefaultsSuiteName, userDefaultsUidKey)) {
    log("[AffirmationProvider] Found UID: ", *uid, ". Checking fetch condition.");
    if (shouldFetch(now)) {
      fetch(now);
    }
    entry = entryForUser();
  } else {
    log("[AffirmationProvider] UID missing or empty. Displaying placeholder affirmation.");
    entry = entryWithoutUser();
  }

  Timeline<AffirmationEntry> timeline{{entry, entry}, TimelineReloadPolicy::after(nextUpdate)};
  timeline.entries[0].date = now;
  timeline.entries[1].date = nextUpdate;
  log("[AffirmationProvider] Provided timeline with ",
      timeline.entries.size(),
      " entries. Next update at ",
      nextUpdate,
      ".");
  completion(std::move(timeline));
}

bool AffirmationProvider::shouldFetch(Date now) const {
  const auto last = readLastFetchTime();
  if (!last) {
    log("[AffirmationProvider] No last fetch time found in UserDefaults.");
    log("[AffirmationProvider] DECISION: Fetching new affirmation (first time).");
    return true;
  }
  const bool same = Calendar::current().isDateInSameDayAs(*last, now);
  log("[AffirmationProvider] Found last fetch time: ", *last, ". Is same day as now? ", same);
  if (!same) {
    log("[AffirmationProvider] DECISION: Fetching new affirmation (last fetch was different day).");
    return true;
  }
  log("[AffirmationProvider] DECISION: Skipping fetch (last fetch was today).");
  return false;
}

// The time is stored before the answer comes, so an answer of no use leaves the last affirmation
// until the next day.
void AffirmationProvider::fetch(Date now) const {
  log("[AffirmationProvider] ---> Initiating NetworkManager.shared.fetchAffirmation()");
  NetworkManager::shared().fetchAffirmation();
  if (auto suite = NSUserDefaults::initWithSuiteName(userDefaultsSuiteName)) {
    suite->setObject(now, affirmationLastFetchKey);
  }
  log("[AffirmationProvider] Saved current time ", now, " as last fetch time.");
}

// An empty text is replaced by the placeholder; an empty colour is kept.
AffirmationEntry AffirmationProvider::entryForUser() const {
  const StoredAffirmation stored = readStoredAffirmation();
  const bool hasText = stored.text && !stored.text->empty();
  return {.affirmation = hasText ? *stored.text : placeholderAffirmation,
          .colorName = stored.color.value_or(defaultColorName),
          .hasUid = true};
}

AffirmationEntry AffirmationProvider::entryWithoutUser() const {
  return {.affirmation = NSBundle::mainBundle().localizedString("AFFIRMATION_PLACEHOLDER_NO_UID"),
          .colorName = defaultColorName,
          .hasUid = false};
}

AffirmationEntry AffirmationProvider::placeholderEntry() const {
  return {.date = Date::now(),
          .affirmation = placeholderAffirmation,
          .colorName = defaultColorName,
          .hasUid = false};
}

std::optional<Date> AffirmationProvider::readLastFetchTime() const {
  const auto suite = NSUserDefaults::initWithSuiteName(userDefaultsSuiteName);
  const auto object = suite ? suite->objectForKey(affirmationLastFetchKey) : std::nullopt;
  const Date* date = object ? object->as<Date>() : nullptr;
  return date ? std::optional(*date) : std::nullopt;
}

StoredAffirmation AffirmationProvider::readStoredAffirmation() const {
  const auto suite = NSUserDefaults::initWithSuiteName(userDefaultsSuiteName);
  const auto data = suite ? suite->dataForKey(affirmationDataKey) : std::nullopt;
  if (!data) {
    log("[AffirmationProvider] No serialized affirmation data found for key ", affirmationDataKey);
    return {};
  }
  const auto object = NSJSONSerialization::JSONObjectWithData(*data);
  if (!object) {
    log("[AffirmationProvider] Error deserializing affirmation data: ", object.error());
    return {};
  }
  const Dictionary* fields = object->dictionaryOfStrings();
  if (!fields) {
    log("[AffirmationProvider] Failed to cast deserialized affirmation object to [String: "
        "String]");
    return {};
  }
  StoredAffirmation stored = {.text = fields->string("text"), .color = fields->string("color")};
  log("[AffirmationProvider] Deserialized affirmation: Text='",
      stored.text,
      "', Color='",
      stored.color,
      "'");
  return stored;
}

}  // namespace glancery
