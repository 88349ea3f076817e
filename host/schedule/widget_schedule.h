#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/schedule/reload_request.h"
#include "platform/foundation/time/date.h"

namespace host {

/// How often a phone lets a placed widget have its way. Phones allow 40 to 70 counted reloads in 24
/// hours and keep what a provider plans about five minutes apart.
struct RefreshBudget {
  bool enforced = true;
  int perDay = 50;
  /// Seconds between two entries of a timeline, and between two reloads by its policy.
  double spacing = 300;
  friend bool operator==(const RefreshBudget&, const RefreshBudget&) = default;
};

/// The moments of a timeline, without what is shown at them.
struct TimelinePlan {
  std::vector<platform::Date> entries;
  /// The earliest moment of the next request; none: only when somebody wants it.
  std::optional<platform::Date> reloadAfter;
};

/// What of a schedule outlives the process.
struct ScheduleRecord {
  std::optional<platform::Date> fetched = {};
  ReloadRequest fetchedFor = {};
  std::optional<ReloadRequest> wanted = {};
  std::optional<platform::Date> lastByPolicy = {};
  /// The counted reloads of the last 24 hours, oldest first.
  std::vector<platform::Date> counted = {};
  friend bool operator==(const ScheduleRecord&, const ScheduleRecord&) = default;
};

/// One placed widget in time: which entry it shows when, and when its timeline is due again.
///
/// Entries closer together than the budget's spacing are merged: a moment shows the latest entry
/// whose date has come. The first entry does not count here, as it stands for the moment of the
/// request; so what changes at midnight changes at midnight.
class WidgetSchedule {
 public:
  struct Reload {
    /// Not before this; the distant past for at once.
    platform::Date at;
    ReloadRequest request;
  };

  explicit WidgetSchedule(ScheduleRecord record = {}, const TimelinePlan& plan = {});

  const ScheduleRecord& record() const { return record_; }

  /// Wants the timeline to be asked for. Several wishes are one; a free one covers a counted one.
  void want(ReloadRequest request);
  /// The reload that is due at `now`, if one is. It is no longer wanted then: what is wanted while
  /// it is under way is wanted anew.
  std::optional<ReloadRequest> takeReload(platform::Date now, const RefreshBudget& budget);
  /// The timeline is here, asked for at `now` because of `request`.
  void fetched(const TimelinePlan& plan, const ReloadRequest& request, platform::Date now);

  /// The place of the entry that is shown at `now`; nothing without entries.
  std::optional<std::size_t> entryAt(platform::Date now, const RefreshBudget& budget) const;
  /// When the next entry takes its place.
  std::optional<platform::Date> nextEntry(platform::Date now, const RefreshBudget& budget) const;
  std::optional<Reload> nextReload(platform::Date now, const RefreshBudget& budget) const;
  int budgetLeft(platform::Date now, const RefreshBudget& budget) const;

  /// The clock was set back to `now`: what has not happened yet by it is forgotten, and a timeline
  /// that was made later is wanted anew.
  void clockSetBack(platform::Date now);

 private:
  struct Showing {
    platform::Date from;
    std::size_t entry;
  };
  void follow(const TimelinePlan& plan);
  using Showings = std::vector<Showing>;
  /// By date, merged as the budget says; `merged` is filled only where that makes a difference.
  const Showings& showings(const RefreshBudget& budget, Showings& merged) const;
  platform::Date allowed(platform::Date now, const RefreshBudget& budget) const;

  ScheduleRecord record_;
  std::optional<platform::Date> reloadAfter_;
  /// The entries' places by date.
  Showings byDate_;
};

}  // namespace host
