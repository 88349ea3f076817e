#include "platform/widgetkit/extension_main.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "platform/foundation/bundle.h"
#include "platform/foundation/require.h"
#include "platform/foundation/user_defaults.h"
#include "platform/swiftui/view_archiver.h"
#include "platform/widgetkit/message_channel.h"

namespace platform {

namespace {

void configure(const ConfigureRequest& request) {
  setCurrentDevice(request.device);
  setSharedContainer(request.container);
  NSBundle::setMainBundle(NSBundle(NSBundle::mainBundle().bundlePath(), request.infoOverrides));
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
  for (auto& [name, value] : fields) {
    value = readable(value);
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
          .dark = archived(ColorScheme::dark)};
}

}  // namespace

ExtensionService::ExtensionService(std::vector<WidgetConfiguration> widgets, Answer answer)
    : widgets_(std::move(widgets)), answer_(std::move(answer)) {
}

void ExtensionService::handle(const HostMessage& message) const {
  if (const auto* request = std::get_if<ConfigureRequest>(&message.content)) {
    configure(*request);
    answer_({message.id, Configured()});
  } else if (const auto* provideRequest = std::get_if<ProvideRequest>(&message.content)) {
    provide(message.id, *provideRequest);
  } else {
    answer_({message.id, describe()});
  }
}

ExtensionMessage::Content ExtensionService::describe() const {
  WidgetDescriptions descriptions;
  for (const WidgetConfiguration& widget : widgets_) {
    descriptions.widgets.push_back(
        {widget.kind, widget.displayNameKey, widget.descriptionKey, widget.families});
  }
  return descriptions;
}

void ExtensionService::provide(std::int64_t id, const ProvideRequest& request) const {
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

void NSExtensionMain(std::vector<WidgetConfiguration> widgets) {
  struct stat status = {};
  if (::fstat(kHostSocket, &status) != 0 || !S_ISSOCK(status.st_mode)) {
    std::fputs("This is a widget extension; a widget host starts it (see glancery --help).\n",
               stderr);
    std::exit(2);
  }
  MessageChannel channel(kHostSocket);
  const ExtensionService service(std::move(widgets), [&channel](const ExtensionMessage& message) {
    const auto sent = channel.send(encode(message));
    // A host that is gone is noticed by the next receive; an answer that can't be sent is one.
    if (!sent && sent.error().kind == ChannelError::Kind::malformed) {
      (void)channel.send(encode(ExtensionMessage{message.id, Failure{sent.error().what}}));
    }
  });
  for (;;) {
    const auto value = channel.receive();
    if (!value) {
      if (value.error().kind == ChannelError::Kind::closed) {
        return;
      }
      fatalError("host channel: " + value.error().what);
    }
    const auto message = decodeHostMessage(*value);
    if (!message) {
      fatalError("host message: " + message.error());
    }
    service.handle(*message);
  }
}

}  // namespace platform
