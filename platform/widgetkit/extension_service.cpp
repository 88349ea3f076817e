#include "platform/widgetkit/extension_service.h"

#include <algorithm>
#include <iterator>
#include <ranges>

#include "platform/dispatch/dispatch_queue.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/locale/locale.h"
#include "platform/foundation/process/notification_center.h"
#include "platform/swiftui/view_archiver.h"

namespace platform {

namespace {

void configure(const ConfigureRequest& request) {
  setCurrentDevice(request.device);
  setSharedContainer(request.container);
  // What the bundle has read stays with it: another clock or language changes no file.
  const NSBundle bundle = NSBundle::mainBundle();
  if (bundle.infoOverrides() != request.infoOverrides) {
    NSBundle::setMainBundle(NSBundle(bundle.bundlePath(), request.infoOverrides));
  }
}

/// People and tests read dates as texts, however deep they lie.
Value readable(const Value& value) {
  if (const auto* date = value.as<Date>()) {
    return date->iso8601();
  }
  if (const Array* array = value.array()) {
    Array texts;
    std::ranges::transform(*array, std::back_inserter(texts), readable);
    return texts;
  }
  if (const Dictionary* dictionary = value.dictionary()) {
    Dictionary texts;
    for (const auto& [key, member] : *dictionary) {
      texts.set(key, readable(member));
    }
    return texts;
  }
  return value;
}

Mirror readableFields(Mirror fields) {
  for (auto& [name, field] : fields) {
    if (auto* value = std::get_if<Value>(&field)) {
      *value = readable(*value);
      continue;
    }
    for (auto& [member, value] : std::get<std::vector<MirroredRecord>>(field) | std::views::join) {
      value = readable(value);
    }
  }
  return fields;
}

ArchivedEntry archiveEntry(const WidgetEntry& entry, Size size) {
  const NSBundle bundle = NSBundle::mainBundle();
  const auto archived = [&](ColorScheme scheme) {
    return archiveView(entry.view, size, EnvironmentValues{.colorScheme = scheme}, bundle);
  };
  return {.date = entry.date,
          .fields = readableFields(entry.fields),
          .light = archived(ColorScheme::light),
          .dark = archived(ColorScheme::dark),
          .direction = isWrittenRightToLeft(bundle.localization()) ? LayoutDirection::rightToLeft
                                                                   : LayoutDirection::leftToRight};
}

}  // namespace

ExtensionService::ExtensionService(std::vector<WidgetConfiguration> widgets, Answer answer)
    : widgets_(std::move(widgets)), answer_(std::move(answer)) {
}

void ExtensionService::handle(const HostMessage& message) {
  std::visit([&](const auto& content) { perform(message.id, content); }, message.content);
}

void ExtensionService::perform(std::int64_t id, const ConfigureRequest& request) {
  configure(request);
  answer_({id, Done()});
}

void ExtensionService::perform(std::int64_t id, const DescribeRequest&) {
  WidgetDescriptions descriptions;
  for (const WidgetConfiguration& widget : widgets_) {
    descriptions.widgets.push_back(
        {widget.kind, widget.displayNameKey, widget.descriptionKey, widget.families});
  }
  answer_({id, std::move(descriptions)});
}

void ExtensionService::perform(std::int64_t id, const LocaleChanged&) {
  NSNotificationCenter::defaultCenter().post(NSCurrentLocaleDidChangeNotification);
  perform(id, AwaitMainQueue());  // The observers wait there.
}

void ExtensionService::perform(std::int64_t id, const AwaitMainQueue&) {
  DispatchQueue::main().async([this, id] { answer_({id, Done()}); });
}

void ExtensionService::perform(std::int64_t id, const BackgroundEvents& events) {
  const auto widget = std::ranges::find(
      widgets_, events.session, &WidgetConfiguration::backgroundSessionIdentifier);
  if (events.session.empty() || widget == widgets_.end()) {
    answer_({id, Failure{"no widget takes the events of the session \"" + events.session + "\""}});
    return;
  }
  const auto state = events_[events.session] = std::make_shared<Events>();
  widget->backgroundEventsHandler(events.session, [this, state] {
    state->completed = true;
    if (state->finishing) {
      answer_({*state->finishing, Done()});
    }
  });
  answer_({id, Done()});
}

void ExtensionService::perform(std::int64_t id, const DeliverDownload& deliver) {
  NSURLSession* session = NSURLSession::withIdentifier(deliver.download.session);
  if (!session) {
    answer_({id, Failure{"no session has the identifier \"" + deliver.download.session + "\""}});
    return;
  }
  session->deliver(deliver.download, [this, id] { answer_({id, Done()}); });
}

void ExtensionService::perform(std::int64_t id, const FinishEvents& finish) {
  NSURLSession* session = NSURLSession::withIdentifier(finish.session);
  if (!session) {
    answer_({id, Failure{"no session has the identifier \"" + finish.session + "\""}});
    return;
  }
  const auto announced = events_.extract(finish.session);
  if (!announced) {
    answer_({id, Failure{"no events of the session \"" + finish.session + "\" were announced"}});
    return;
  }
  session->finishEvents([this, id, events = announced.mapped()] {
    // Behind the reloads and completion steps that the deliveries left on the main queue.
    DispatchQueue::main().async([this, id, events] {
      if (events->completed) {
        answer_({id, Done()});
      } else {
        events->finishing = id;
      }
    });
  });
}

void ExtensionService::perform(std::int64_t id, const DownloadStarted&) {
  answer_({id, Failure{"nobody waits for the start of download " + std::to_string(id)}});
}

void ExtensionService::perform(std::int64_t id, const ProvideRequest& request) {
  const auto widget = std::ranges::find(widgets_, request.kind, &WidgetConfiguration::kind);
  if (widget == widgets_.end()) {
    answer_({id, Failure{"no widget has the kind \"" + request.kind + "\""}});
    return;
  }
  if (!widget->provider) {
    answer_({id, Failure{"the widget \"" + request.kind + "\" is declared but has no provider"}});
    return;
  }
  if (std::ranges::find(widget->families, request.context.family) == widget->families.end()) {
    answer_({id,
             Failure{"the widget \"" + request.kind + "\" does not come in the family " +
                     std::string(nameOf(request.context.family))}});
    return;
  }
  const Size size = request.context.displaySize;
  const auto answerOne = [answer = answer_, id, size](const WidgetEntry& entry) {
    answer({id, ArchivedTimeline{{archiveEntry(entry, size)}, TimelineReloadPolicy::never}});
  };
  switch (request.what) {
    case ProvideRequest::What::placeholder:
      answerOne(widget->provider->placeholder(request.context));
      break;
    case ProvideRequest::What::snapshot:
      widget->provider->getSnapshot(request.context, answerOne);
      break;
    case ProvideRequest::What::timeline:
      widget->provider->getTimeline(request.context,
                                    [answer = answer_, id, size](const WidgetTimeline& timeline) {
                                      ArchivedTimeline archived{{}, timeline.policy};
                                      for (const WidgetEntry& entry : timeline.entries) {
                                        archived.entries.push_back(archiveEntry(entry, size));
                                      }
                                      answer({id, std::move(archived)});
                                    });
      break;
  }
}

}  // namespace platform
