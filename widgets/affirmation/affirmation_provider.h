#pragma once

#include <optional>
#include <string>

#include "platform/foundation/time/date.h"
#include "platform/widgetkit/timeline.h"
#include "widgets/affirmation/affirmation_entry.h"

namespace glancery {

/// The stored affirmation; parts that the record lacks are absent.
struct StoredAffirmation {
  std::optional<std::string> text = {};
  std::optional<std::string> color = {};
  friend bool operator==(const StoredAffirmation&, const StoredAffirmation&) = default;
};

/// Supplies the affirmation widget's entries, and fetches a new affirmation at most once a calendar
/// day.
///
/// A timeline shows the affirmation that is stored when it is requested; the result of a fetch is
/// shown by the reload that follows it. A fetch counts from its start, so a failed one is not
/// repeated before the next day. Nothing is fetched without a signed-in user.
struct AffirmationProvider {
  using Entry = AffirmationEntry;

  std::string placeholderAffirmation;
  std::string defaultColorName;
  std::string userDefaultsSuiteName;
  std::string affirmationDataKey;
  std::string affirmationLastFetchKey;
  std::string userDefaultsUidKey;

  AffirmationEntry placeholder(const platform::TimelineProviderContext& context) const;
  /// The placeholder, even if an affirmation is stored.
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
