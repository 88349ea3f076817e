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

/// The members of a nested record, by name, in the record's order.
using MirroredRecord = std::vector<std::pair<std::string, Value>>;

/// A field of a record: a value or a list of nested records.
using MirroredField = std::variant<Value, std::vector<MirroredRecord>>;

/// The fields of a record, by name, in the record's order; for people and tests.
using Mirror = std::vector<std::pair<std::string, MirroredField>>;

/// A record with the instant at which a widget begins to show it, and a function
/// `Mirror mirror(const Entry&)`.
template <class Entry>
concept TimelineEntry = std::copyable<Entry> && requires(const Entry& entry) {
  { entry.date } -> std::convertible_to<Date>;
  { mirror(entry) } -> std::same_as<Mirror>;
};

/// The earliest instant at which a host requests the next timeline; without one, it only does so
/// for a reload request.
struct TimelineReloadPolicy {
  std::optional<Date> date = {};

  static TimelineReloadPolicy after(Date date) { return {date}; }
  static const TimelineReloadPolicy never;
  friend bool operator==(const TimelineReloadPolicy&, const TimelineReloadPolicy&) = default;
};

inline constexpr TimelineReloadPolicy TimelineReloadPolicy::never{};

/// The entries of a widget, ordered by date, and when to request the next ones.
template <TimelineEntry Entry>
struct Timeline {
  std::vector<Entry> entries;
  TimelineReloadPolicy policy;
};

/// What a host requests entries for.
struct TimelineProviderContext {
  WidgetFamily family = WidgetFamily::systemSmall;
  /// The widget's size less its content margins, in points.
  Size displaySize = {};
  /// Whether the entries are for the gallery.
  bool isPreview = false;
  friend bool operator==(const TimelineProviderContext&, const TimelineProviderContext&) = default;
};

template <class T>
using Completion = std::function<void(T)>;

/// Supplies the entries of a static configuration. Runs on the main thread; each completion is
/// called exactly once, before the function returns or later.
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

/// The same for an intent configuration, with the configuration that the user chose.
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
