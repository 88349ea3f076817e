#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/time/date.h"

namespace host {

/// Why a widget's timeline is requested: it has none yet; its policy; the extension, through the
/// widget centre; the host app, from the foreground; a changed setting of the device; a clock that
/// shows an earlier time than that of the last timeline.
enum class ReloadCause { first, policy, extension, hostApp, device, clock };

/// "policy", "host app".
constexpr const char* nameOf(ReloadCause cause) {
  constexpr const char* kNames[] = {"first", "policy", "extension", "host app", "device", "clock"};
  return kNames[static_cast<std::size_t>(cause)];
}

/// Whether the reload counts against the widget's budget. Reloads after an action of the user
/// don't.
constexpr bool isCounted(ReloadCause cause) {
  return cause == ReloadCause::policy || cause == ReloadCause::extension;
}

struct ReloadRequest {
  ReloadCause cause = ReloadCause::first;
  /// For people: "the host app changed streakData".
  std::string why;
  friend bool operator==(const ReloadRequest&, const ReloadRequest&) = default;
};

/// How often a phone reloads a widget. Phones allow 40 to 70 counted reloads in 24 hours, and keep
/// the entries of a timeline about five minutes apart.
struct RefreshBudget {
  bool enforced = true;
  int perDay = 50;
  /// The least seconds between two entries of a timeline, and between two reloads by its policy.
  double spacing = 300;
  friend bool operator==(const RefreshBudget&, const RefreshBudget&) = default;
};

/// The dates of a timeline.
struct TimelinePlan {
  std::vector<platform::Date> entries;
  /// The earliest time of the next request by policy, if there is one.
  std::optional<platform::Date> reloadAfter;
};

/// The part of a schedule that is stored on the disk.
struct ScheduleRecord {
  std::optional<platform::Date> fetched = {};
  ReloadRequest fetchedFor = {};
  std::optional<ReloadRequest> wanted = {};
  std::optional<platform::Date> lastByPolicy = {};
  /// The counted reloads of the last 24 hours, oldest first.
  std::vector<platform::Date> counted = {};
  friend bool operator==(const ScheduleRecord&, const ScheduleRecord&) = default;
};

/// The schedule of one placed widget: when it shows which entry, and when its timeline is requested
/// again.
///
/// Entries closer together than the budget's spacing are merged into the last of them. The spacing
/// does not apply after the first entry, whose date is that of the request: otherwise an entry for
/// midnight could be late.
class WidgetSchedule {
 public:
  struct Reload {
    /// The earliest time; the distant past for now.
    platform::Date at;
    ReloadRequest request;
  };

  explicit WidgetSchedule(ScheduleRecord record = {}, const TimelinePlan& plan = {});

  const ScheduleRecord& record() const { return record_; }

  /// Requests a reload. Pending requests are merged; one that is exempt from the budget replaces
  /// one that is not.
  void request(ReloadRequest request);
  /// The reload that is due at `now`, if any. It is not pending any more; a request that follows
  /// leads to another reload.
  std::optional<ReloadRequest> takeReload(platform::Date now, const RefreshBudget& budget);
  /// The timeline has arrived, which was requested at `now` for `request`.
  void fetched(const TimelinePlan& plan, const ReloadRequest& request, platform::Date now);

  /// The index of the entry that is shown at `now`; nothing without entries.
  std::optional<std::size_t> entryAt(platform::Date now, const RefreshBudget& budget) const;
  /// When the next entry is shown.
  std::optional<platform::Date> nextEntry(platform::Date now, const RefreshBudget& budget) const;
  std::optional<Reload> nextReload(platform::Date now, const RefreshBudget& budget) const;
  int budgetLeft(platform::Date now, const RefreshBudget& budget) const;

  /// The clock was set back to `now`: forgets reloads that are later than that, and requests a
  /// timeline that is newer than that again.
  void clockSetBack(platform::Date now);

 private:
  struct Showing {
    platform::Date from;
    std::size_t entry;
  };
  void follow(const TimelinePlan& plan);
  using Showings = std::vector<Showing>;
  /// By date, merged by the budget's spacing; `merged` is filled only if that changes something.
  const Showings& showings(const RefreshBudget& budget, Showings& merged) const;
  platform::Date allowed(platform::Date now, const RefreshBudget& budget) const;

  ScheduleRecord record_;
  std::optional<platform::Date> reloadAfter_;
  /// The entries' indices by date.
  Showings byDate_;
};

}  // namespace host
