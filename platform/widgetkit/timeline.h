#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/foundation/data/value.h"
#include "platform/foundation/time/date.h"
#include "platform/intents/intent.h"
#include "platform/swiftui/geometry.h"
#include "platform/widgetkit/widget_family.h"

namespace platform {

/// A nested record's members under their own names and in their own order.
using MirroredRecord = std::vector<std::pair<std::string, Value>>;

/// What one field of a record holds: a value, or a list of nested records.
using MirroredField = std::variant<Value, std::vector<MirroredRecord>>;

/// A record's fields under their own names and in their own order, for people and tests.
using Mirror = std::vector<std::pair<std::string, MirroredField>>;

/// A record with the moment from which a widget shows it, and `Mirror mirror(const Entry&)` beside
/// it.
template <class Entry>
concept TimelineEntry = std::copyable<Entry> && requires(const Entry& entry) {
  { entry.date } -> std::convertible_to<Date>;
  { mirror(entry) } -> std::same_as<Mirror>;
};

/// The earliest moment at which a host asks for the next timeline; none: only when it is told to.
struct TimelineReloadPolicy {
  std::optional<Date> date = {};

  static TimelineReloadPolicy after(Date date) { return {date}; }
  static const TimelineReloadPolicy never;
  friend bool operator==(const TimelineReloadPolicy&, const TimelineReloadPolicy&) = default;
};

inline constexpr TimelineReloadPolicy TimelineReloadPolicy::never{};

/// What a widget shows from when on, in order of dates, and when to ask again.
template <TimelineEntry Entry>
struct Timeline {
  std::vector<Entry> entries;
  TimelineReloadPolicy policy;
};

/// Where and for what a host asks.
struct TimelineProviderContext {
  WidgetFamily family = WidgetFamily::systemSmall;
  /// The widget's size less its content margins, in points.
  Size displaySize = {};
  /// Whether the answer is for the gallery.
  bool isPreview = false;
  friend bool operator==(const TimelineProviderContext&, const TimelineProviderContext&) = default;
};

template <class T>
using Completion = std::function<void(T)>;

/// Supplies a static configuration's entries, on the thread that the host's request runs on. Each
/// completion is called exactly once, at once or later.
template <class Provider>
concept TimelineProvider = TimelineEntry<typename Provider::Entry> &&
    requires(const Provider& provider,
             const TimelineProviderContext& context,
             Completion<typename Provider::Entry> shown,
             Completion<Timeline<typename Provider::Entry>> planned) {
  { provider.placeholder(context) } -> std::same_as<typename Provider::Entry>;
  provider.getSnapshot(context, shown);
  provider.getTimeline(context, planned);
};

/// Supplies an intent configuration's entries likewise, for the configuration that the user chose.
template <class Provider>
concept IntentTimelineProvider = TimelineEntry<typename Provider::Entry> &&
    std::derived_from<typename Provider::Intent, INIntent> &&
    requires(const Provider& provider,
             const std::shared_ptr<typename Provider::Intent>& configuration,
             const TimelineProviderContext& context,
             Completion<typename Provider::Entry> shown,
             Completion<Timeline<typename Provider::Entry>> planned) {
  { provider.placeholder(context) } -> std::same_as<typename Provider::Entry>;
  provider.getSnapshot(configuration, context, shown);
  provider.getTimeline(configuration, context, planned);
};

}  // namespace platform
