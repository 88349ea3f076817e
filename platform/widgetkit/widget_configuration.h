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

/// An entry of any type with its view.
struct WidgetEntry {
  Date date;
  Mirror fields;
  View view;
};

struct WidgetTimeline {
  std::vector<WidgetEntry> entries;
  TimelineReloadPolicy policy;
};

/// A provider of any type with its widget's content.
class AnyTimelineProvider {
 public:
  virtual ~AnyTimelineProvider() = default;
  virtual WidgetEntry placeholder(const TimelineProviderContext& context) const = 0;
  virtual void getSnapshot(const TimelineProviderContext& context,
                           Completion<WidgetEntry> completion) const = 0;
  virtual void getTimeline(const TimelineProviderContext& context,
                           Completion<WidgetTimeline> completion) const = 0;
};

/// Takes the identifier of a background session and a completion to call when its events are
/// handled.
using BackgroundEventsHandler =
    std::function<void(const std::string& identifier, std::function<void()> completion)>;

/// What a widget declares to its host. The modifiers return a changed copy.
struct WidgetConfiguration {
  /// The widget's identifier in requests.
  std::string kind;
  std::shared_ptr<const AnyTimelineProvider> provider = {};
  /// Keys that the host looks up in the extension's string catalogue.
  std::string displayNameKey = {};
  std::string descriptionKey = {};
  std::vector<WidgetFamily> families = {WidgetFamily::systemSmall, WidgetFamily::systemMedium};
  /// The background session whose events the widget handles; empty for none.
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
  /// `handler` runs on the main thread when the extension was launched for results of the session
  /// `matching`. Its completion must be called when they have been handled.
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

/// Makes a static provider of an intent provider. This host has no way to configure a widget: every
/// request gets a new intent with the default values.
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

/// A widget without a configuration. `content` makes the view of an entry.
template <TimelineProvider Provider, class Content>
WidgetConfiguration StaticConfiguration(std::string kind, Provider provider, Content content) {
  return {.kind = std::move(kind),
          .provider = std::make_shared<detail::StaticProvider<Provider, Content>>(
              std::move(provider), std::move(content))};
}

/// A widget that the user configures with an intent.
template <class Intent, IntentTimelineProvider Provider, class Content>
WidgetConfiguration IntentConfiguration(std::string kind, Provider provider, Content content) {
  static_assert(std::same_as<Intent, typename Provider::Intent>);
  return StaticConfiguration(
      std::move(kind), detail::Unconfigured<Provider>{std::move(provider)}, std::move(content));
}

}  // namespace platform
