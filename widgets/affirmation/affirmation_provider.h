#pragma once

#include <optional>
#include <string>

#include "platform/foundation/time/date.h"
#include "platform/widgetkit/timeline.h"
#include "widgets/affirmation/affirmation_entry.h"

namespace glancery {

/// The stored affirmation; each part absent where the record does not have it.
struct StoredAffirmation {
  std::optional<std::string> text = {};
  std::optional<std::string> color = {};
  friend bool operator==(const StoredAffirmation&, const StoredAffirmation&) = default;
};

/// Supplies the affirmation widget's entries, and has a new affirmation fetched at most once a
/// calendar day.
///
/// A timeline always shows what is stored now: what a fetch brings is shown by the timeline that is
/// asked for when it is there. The fetch counts from its start, so one that failed is not repeated
/// before the next day. Without a signed-in user nothing is fetched.
struct AffirmationProvider {
  using Entry = AffirmationEntry;

  std::string placeholderAffirmation;
  std::string defaultColorName;
  std::string userDefaultsSuiteName;
  std::string affirmationDataKey;
  std::string affirmationLastFetchKey;
  std::string userDefaultsUidKey;

  AffirmationEntry placeholder(const platform::TimelineProviderContext& context) const;
  /// The placeholder, whatever is stored.
  void getSnapshot(const platform::TimelineProviderContext& context,
                   const platform::Completion<AffirmationEntry>& completion) const;
  void getTimeline(
      const platform::TimelineProviderContext& context,
      const platform::Completion<platform::Timeline<AffirmationEntry>>& completion) const;

  StoredAffirmation readStoredAffirmation() const;

 private:
  AffirmationEntry placeholderEntry() const;
  std::optional<platform::Date> readLastFetchTime() const;
  bool shouldFetch(platform::Date now) const;
  void fetch(platform::Date now) const;
  AffirmationEntry entryForUser() const;
  AffirmationEntry entryWithoutUser() const;
};

}  // namespace glancery
