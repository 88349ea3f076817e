#include "platform/widgetkit/extension_service.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/dispatch/dispatch_queue.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/locale/locale.h"
#include "platform/foundation/process/notification_center.h"
#include "platform/swiftui/view_archiver.h"

namespace platform {

namespace {

void configure(const ConfigureRequest& request) {
  setCurrentDevice(request.device);
  setSharedContainer(request.container);
  // Keeps the bundle and what it has read if only device settings changed.
  const NSBundle bundle = NSBundle::mainBundle();
  if (bundle.infoOverrides() != request.infoOverrides) {
    NSBundle::setMainBundle(NSBundle(bundle.bundlePath(), request.infoOverrides));
  }
}

/// Replaces the dates in a value, at any depth, by ISO 8601 strings: JSON has no dates.
Value withDatesAsStrings(const Value& value) {
  if (const auto* date = value.as<Date>()) {
    return date->iso8601();
  }
  if (const Array* array = value.array()) {
    Array strings;
    std::ranges::transform(*array, std::back_inserter(strings), withDatesAsStrings);
    return strings;
  }
  if (const Dictionary* dictionary = value.dictionary()) {
    Dictionary strings;
    for (const auto& [key, member] : *dictionary) {
      strings.set(key, withDatesAsStrings(member));
    }
    return strings;
  }
  return value;
}

/// A record's fields as a JSON object in the record's order, which a Dictionary does not keep.
class FieldsWriter {
 public:
  void write(const auto& record) {
    const char* separator = "{";
    for (const auto& [name, field] : record) {
      json_ += std::exchange(separator, ",");
      write(Value(name));
      json_ += ':';
      write(field);
    }
    json_ += record.empty() ? "{}" : "}";
  }
  void write(const MirroredField& field) {
    std::visit([&](const auto& content) { write(content); }, field);
  }
  void write(const std::vector<MirroredRecord>& records) {
    json_ += '[';
    for (const MirroredRecord& record : records) {
      json_ += &record == &records.front() ? "" : ",";
      write(record);
    }
    json_ += ']';
  }
  void write(const Value& value) {
    const auto json = NSJSONSerialization::dataWithJSONObject(withDatesAsStrings(value));
    if (json) {
      json_ += json->bytes;
    } else {
      error_ = json.error().debugDescription;
    }
  }

  std::expected<std::string, std::string> take() && {
    return error_.empty() ? std::expected<std::string, std::string>(std::move(json_))
                          : std::unexpected(std::move(error_));
  }

 private:
  std::string json_;
  std::string error_;
};

/// The answer to a request for entries: `Failure` if an entry's fields are not JSON.
ExtensionMessage::Content archived(const std::vector<WidgetEntry>& entries,
                                   TimelineReloadPolicy policy,
                                   Size size) {
  const NSBundle bundle = NSBundle::mainBundle();
  const auto direction = isWrittenRightToLeft(bundle.localization()) ? LayoutDirection::rightToLeft
                                                                     : LayoutDirection::leftToRight;
  ArchivedTimeline timeline{{}, policy};
  for (const WidgetEntry& entry : entries) {
    FieldsWriter writer;
    writer.write(entry.fields);
    auto fields = std::move(writer).take();
    if (!fields) {
      return Failure{"the fields of an entry can't be sent: " + fields.error()};
    }
    const auto view = [&](ColorScheme scheme) {
      return archiveView(entry.view, size, EnvironmentValues{.colorScheme = scheme}, bundle);
    };
    timeline.entries.push_back({.date = entry.date,
                                .fields = *std::move(fields),
                                .light = view(ColorScheme::light),
                                .dark = view(ColorScheme::dark),
                                .direction = direction});
  }
  return timeline;
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
  perform(id, AwaitMainQueue());  // The observers run on the main queue.
}

void ExtensionService::perform(std::int64_t id, const AwaitMainQueue&) {
  DispatchQueue::main().async([this, id] { answer_({id, Done()}); });
}

void ExtensionService::perform(std::int64_t id, const BackgroundEvents& events) {
  const auto widget = std::ranges::find(
      widgets_, events.session, &WidgetConfiguration::backgroundSessionIdentifier);
  if (events.session.empty() || widget == widgets_.end()) {
    answer_(
        {id, Failure{"no widget handles the events of the session \"" + events.session + "\""}});
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
    // After the reloads and completion steps that the deliveries have put onto the main queue.
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
  answer_({id, Failure{"no download waits to be started as number " + std::to_string(id)}});
}

void ExtensionService::perform(std::int64_t id, const ProvideRequest& request) {
  const auto widget = std::ranges::find(widgets_, request.kind, &WidgetConfiguration::kind);
  if (widget == widgets_.end()) {
    answer_({id, Failure{"no widget has the kind \"" + request.kind + "\""}});
    return;
  }
  if (std::ranges::find(widget->families, request.context.family) == widget->families.end()) {
    answer_({id,
             Failure{"the widget \"" + request.kind + "\" does not support the family " +
                     std::string(nameOf(request.context.family))}});
    return;
  }
  const Size size = request.context.displaySize;
  const auto answerOne = [answer = answer_, id, size](const WidgetEntry& entry) {
    answer({id, archived({entry}, TimelineReloadPolicy::never, size)});
  };
  switch (request.what) {
    case ProvideRequest::What::placeholder:
      answerOne(widget->provider->placeholder(request.context));
      break;
    case ProvideRequest::What::snapshot:
      widget->provider->getSnapshot(request.context, answerOne);
      break;
    case ProvideRequest::What::timeline:
      widget->provider->getTimeline(
          request.context, [answer = answer_, id, size](const WidgetTimeline& timeline) {
            answer({id, archived(timeline.entries, timeline.policy, size)});
          });
      break;
  }
}

}  // namespace platform
