#include "host/schedule/widget_schedule.h"

#include <algorithm>
#include <utility>

namespace host {

using platform::Date;

namespace {

constexpr double kBudgetWindow = 24 * 60 * 60;
/// Without a budget, a policy in the past or an extension that requests a reload with every
/// timeline must not keep the host busy.
constexpr double kLeastSpacing = 1;
/// Seconds by which a clock may be set back without effect, as time synchronization does.
constexpr double kCorrection = 2;

double spacingOf(const RefreshBudget& budget) {
  return budget.enforced ? budget.spacing : kLeastSpacing;
}

}  // namespace

WidgetSchedule::WidgetSchedule(ScheduleRecord record, const TimelinePlan& plan)
    : record_(std::move(record)) {
  follow(plan);
}

void WidgetSchedule::follow(const TimelinePlan& plan) {
  reloadAfter_ = plan.reloadAfter;
  byDate_.clear();
  byDate_.reserve(plan.entries.size());
  for (std::size_t entry = 0; entry < plan.entries.size(); ++entry) {
    byDate_.push_back({plan.entries[entry], entry});
  }
  std::ranges::stable_sort(byDate_, {}, &Showing::from);
}

void WidgetSchedule::request(ReloadRequest request) {
  if (!record_.wanted || (isCounted(record_.wanted->cause) && !isCounted(request.cause))) {
    record_.wanted = std::move(request);
  }
}

std::optional<ReloadRequest> WidgetSchedule::takeReload(Date now, const RefreshBudget& budget) {
  auto reload = nextReload(now, budget);
  if (!reload || reload->at > now) {
    return std::nullopt;
  }
  record_.wanted.reset();
  return std::move(reload->request);
}

void WidgetSchedule::fetched(const TimelinePlan& plan, const ReloadRequest& request, Date now) {
  record_.fetched = now;
  record_.fetchedFor = request;
  if (request.cause == ReloadCause::policy) {
    record_.lastByPolicy = now;
  }
  if (isCounted(request.cause)) {
    record_.counted.push_back(now);
  }
  std::erase_if(record_.counted,
                [&](Date at) { return at <= now.addingTimeInterval(-kBudgetWindow); });
  follow(plan);
}

const WidgetSchedule::Showings& WidgetSchedule::showings(const RefreshBudget& budget,
                                                         Showings& merged) const {
  if (byDate_.size() < 3 || !budget.enforced) {
    return byDate_;
  }
  merged = {byDate_[0]};
  for (std::size_t next = 1; next < byDate_.size();) {
    Showing showing = byDate_[next];
    if (next > 1) {
      showing.from = std::max(showing.from, merged.back().from.addingTimeInterval(budget.spacing));
    }
    for (; next < byDate_.size() && byDate_[next].from <= showing.from; ++next) {
      showing.entry = byDate_[next].entry;
    }
    merged.push_back(showing);
  }
  return merged;
}

std::optional<std::size_t> WidgetSchedule::entryAt(Date now, const RefreshBudget& budget) const {
  if (byDate_.empty()) {
    return std::nullopt;
  }
  Showings merged;
  const Showings& all = showings(budget, merged);
  const auto next = std::ranges::upper_bound(all, now, {}, &Showing::from);
  return next == all.begin() ? next->entry : std::prev(next)->entry;
}

std::optional<Date> WidgetSchedule::nextEntry(Date now, const RefreshBudget& budget) const {
  Showings merged;
  const Showings& all = showings(budget, merged);
  auto next = std::ranges::upper_bound(all, now, {}, &Showing::from);
  // The first entry is shown even before its date.
  if (next == all.begin() && next != all.end()) {
    ++next;
  }
  return next == all.end() ? std::nullopt : std::optional(next->from);
}

std::optional<WidgetSchedule::Reload> WidgetSchedule::nextReload(
    Date now, const RefreshBudget& budget) const {
  if (!record_.fetched) {
    return Reload{Date::distantPast(),
                  record_.wanted.value_or(ReloadRequest{ReloadCause::first, "first request"})};
  }
  std::optional<Reload> due;
  if (reloadAfter_) {
    Date at = std::max(*reloadAfter_, allowed(now, budget));
    if (record_.lastByPolicy) {
      at = std::max(at, record_.lastByPolicy->addingTimeInterval(spacingOf(budget)));
    }
    due = Reload{at, {ReloadCause::policy, "the timeline's policy"}};
  }
  if (record_.wanted) {
    const Date at = isCounted(record_.wanted->cause) ? allowed(now, budget) : Date::distantPast();
    if (!due || at <= due->at) {
      due = Reload{at, *record_.wanted};
    }
  }
  return due;
}

int WidgetSchedule::budgetLeft(Date now, const RefreshBudget& budget) const {
  const Date start = now.addingTimeInterval(-kBudgetWindow);
  const auto spent = std::ranges::count_if(record_.counted, [&](Date at) { return at > start; });
  return std::max(0, budget.perDay - static_cast<int>(spent));
}

void WidgetSchedule::clockSetBack(Date now) {
  const Date latest = now.addingTimeInterval(kCorrection);
  std::erase_if(record_.counted, [&](Date at) { return at > latest; });
  if (record_.lastByPolicy && *record_.lastByPolicy > latest) {
    record_.lastByPolicy.reset();
  }
  if (record_.fetched && *record_.fetched > latest) {
    request({ReloadCause::clock, "the clock was set back"});
  }
}

/// When the budget allows a counted reload: now, or when the oldest reload of a spent budget is a
/// day old. Without a budget, shortly after the last reload.
Date WidgetSchedule::allowed(Date now, const RefreshBudget& budget) const {
  if (!budget.enforced) {
    return record_.counted.empty() ? Date::distantPast()
                                   : record_.counted.back().addingTimeInterval(kLeastSpacing);
  }
  if (budgetLeft(now, budget) > 0) {
    return Date::distantPast();
  }
  const std::size_t blocking =
      record_.counted.size() - static_cast<std::size_t>(std::max(budget.perDay, 1));
  return record_.counted[blocking].addingTimeInterval(kBudgetWindow);
}

}  // namespace host
