#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/swiftui/localized_string_key.h"
#include "platform/swiftui/view.h"
#include "platform/widgetkit/timeline.h"
#include "platform/widgetkit/widget_family.h"

namespace platform {

/// An entry of any type, with the view that its widget makes of it.
struct WidgetEntry {
  Date date;
  Mirror fields;
  View view;
};

struct WidgetTimeline {
  std::vector<WidgetEntry> entries;
  TimelineReloadPolicy policy;
};

/// A provider of any type together with its widget's content.
class AnyTimelineProvider {
 public:
  virtual ~AnyTimelineProvider() = default;
  virtual WidgetEntry placeholder(const TimelineProviderContext& context) const = 0;
  virtual void getSnapshot(const TimelineProviderContext& context,
                           Completion<WidgetEntry> completion) const = 0;
  virtual void getTimeline(const TimelineProviderContext& context,
                           Completion<WidgetTimeline> completion) const = 0;
};

/// Takes a background session's identifier, and what to call once its events are dealt with.
using BackgroundEventsHandler =
    std::function<void(const std::string& identifier, std::function<void()> completion)>;

/// What a widget declares to its host. A cheap value; the modifiers return a changed copy.
struct WidgetConfiguration {
  /// The widget's identity towards hosts and reload requests.
  std::string kind;
  /// Absent while a widget is declared but answers no requests.
  std::shared_ptr<const AnyTimelineProvider> provider = {};
  /// Keys that the host looks up in the extension's string catalogue.
  std::string displayNameKey = {};
  std::string descriptionKey = {};
  std::vector<WidgetFamily> families = {WidgetFamily::systemSmall, WidgetFamily::systemMedium};
  /// The background session whose events the widget takes; empty for none.
  std::string backgroundSessionIdentifier = {};
  BackgroundEventsHandler backgroundEventsHandler = {};

  WidgetConfiguration configurationDisplayName(const LocalizedStringKey& key) const {
    return with([&](WidgetConfiguration& changed) { changed.displayNameKey = key.key; });
  }
  WidgetConfiguration description(const LocalizedStringKey& key) const {
    return with([&](WidgetConfiguration& changed) { changed.descriptionKey = key.key; });
  }
  WidgetConfiguration supportedFamilies(std::vector<WidgetFamily> supported) const {
    return with([&](WidgetConfiguration& changed) { changed.families = std::move(supported); });
  }
  /// `handler` runs on the main thread when the extension was started for the results of exactly
  /// that session. It must see to it that its completion is called once they have been dealt with.
  WidgetConfiguration onBackgroundURLSessionEvents(std::string matching,
                                                   BackgroundEventsHandler handler) const {
    return with([&](WidgetConfiguration& changed) {
      changed.backgroundSessionIdentifier = std::move(matching);
      changed.backgroundEventsHandler = std::move(handler);
    });
  }

 private:
  WidgetConfiguration with(auto change) const {
    WidgetConfiguration changed = *this;
    change(changed);
    return changed;
  }
};

namespace detail {

template <TimelineProvider Provider, class Content>
class StaticProvider final : public AnyTimelineProvider {
 public:
  StaticProvider(Provider provider, Content content)
      : provider_(std::move(provider)), content_(std::move(content)) {}

  WidgetEntry placeholder(const TimelineProviderContext& context) const override {
    return shown(provider_.placeholder(context));
  }
  void getSnapshot(const TimelineProviderContext& context,
                   Completion<WidgetEntry> completion) const override {
    provider_.getSnapshot(context, [this, completion](Entry entry) { completion(shown(entry)); });
  }
  void getTimeline(const TimelineProviderContext& context,
                   Completion<WidgetTimeline> completion) const override {
    provider_.getTimeline(context, [this, completion](Timeline<Entry> timeline) {
      WidgetTimeline erased{{}, timeline.policy};
      for (const Entry& entry : timeline.entries) {
        erased.entries.push_back(shown(entry));
      }
      completion(std::move(erased));
    });
  }

 private:
  using Entry = typename Provider::Entry;

  WidgetEntry shown(const Entry& entry) const {
    return {entry.date, mirror(entry), content_(entry)};
  }

  Provider provider_;
  Content content_;
};

/// Asks an intent provider for what a static one is asked for. Nobody configures a widget of this
/// host: every request comes with a new intent, which holds the defaults.
template <IntentTimelineProvider Provider>
struct Unconfigured {
  using Entry = typename Provider::Entry;
  using Intent = typename Provider::Intent;

  Provider provider;

  Entry placeholder(const TimelineProviderContext& context) const {
    return provider.placeholder(context);
  }
  void getSnapshot(const TimelineProviderContext& context,
                   const Completion<Entry>& completion) const {
    provider.getSnapshot(std::make_shared<Intent>(), context, completion);
  }
  void getTimeline(const TimelineProviderContext& context,
                   const Completion<Timeline<Entry>>& completion) const {
    provider.getTimeline(std::make_shared<Intent>(), context, completion);
  }
};

}  // namespace detail

/// A widget whose user has nothing to configure. `content` turns an entry into a view.
template <TimelineProvider Provider, class Content>
WidgetConfiguration StaticConfiguration(std::string kind, Provider provider, Content content) {
  return {.kind = std::move(kind),
          .provider = std::make_shared<detail::StaticProvider<Provider, Content>>(
              std::move(provider), std::move(content))};
}

/// A widget that its user configures through an intent.
template <class Intent, IntentTimelineProvider Provider, class Content>
WidgetConfiguration IntentConfiguration(std::string kind, Provider provider, Content content) {
  static_assert(std::same_as<Intent, typename Provider::Intent>);
  return StaticConfiguration(
      std::move(kind), detail::Unconfigured<Provider>{std::move(provider)}, std::move(content));
}

}  // namespace platform
