#include <array>

#include "platform/widgetkit/extension_protocol.h"
#include "platform/widgetkit/message_coding.h"

namespace platform {

namespace {

std::optional<std::string> asString(const Value& value) {
  const auto* text = value.as<std::string>();
  return text ? std::optional(*text) : std::nullopt;
}

Dictionary encodeDevice(const Device& device) {
  return {{"clock", static_cast<int>(device.clock.kind)},
          {"shift", device.clock.shift},
          {"instant", device.clock.instant.timeIntervalSince1970()},
          {"timeZone", device.timeZone},
          {"locale", device.locale},
          {"languages", Array(device.languages.begin(), device.languages.end())},
          {"major", device.systemVersion.major},
          {"minor", device.systemVersion.minor},
          {"patch", device.systemVersion.patch}};
}

Device decodeDevice(const Dictionary& from, MessageReader& reader) {
  constexpr int kLargest = 1'000'000;
  return {.clock = {.kind = static_cast<Clock::Kind>(reader.takeInt(from, "clock", 0, 2)),
                    .shift = reader.takeNumber(from, "shift"),
                    .instant = Date::since1970(reader.takeNumber(from, "instant"))},
          .timeZone = reader.take<std::string>(from, "timeZone"),
          .locale = reader.take<std::string>(from, "locale"),
          .languages = reader.takeAll<std::string>(from, "languages", asString),
          .systemVersion = {reader.takeInt(from, "major", 0, kLargest),
                            reader.takeInt(from, "minor", 0, kLargest),
                            reader.takeInt(from, "patch", 0, kLargest)}};
}

constexpr std::array<std::string_view, 3> kWhat = {"placeholder", "snapshot", "timeline"};

Dictionary encodeContent(const ConfigureRequest& request) {
  return {{"type", "configure"},
          {"device", encodeDevice(request.device)},
          {"container", request.container},
          {"info", request.infoOverrides}};
}

Dictionary encodeContent(const DescribeRequest&) {
  return {{"type", "describe"}};
}

Dictionary encodeContent(const ProvideRequest& request) {
  return {{"type", kWhat[static_cast<std::size_t>(request.what)]},
          {"kind", request.kind},
          {"family", nameOf(request.context.family)},
          {"width", request.context.displaySize.width},
          {"height", request.context.displaySize.height},
          {"preview", request.context.isPreview}};
}

Dictionary encodeContent(const LocaleChanged&) {
  return {{"type", "localeChanged"}};
}

Dictionary encodeContent(const BackgroundEvents& events) {
  return {{"type", "backgroundEvents"}, {"session", events.session}};
}

Dictionary encodeContent(const FinishEvents& events) {
  return {{"type", "finishEvents"}, {"session", events.session}};
}

Dictionary encodeContent(const AwaitMainQueue&) {
  return {{"type", "awaitMainQueue"}};
}

Value encodeError(const std::optional<NSError>& error) {
  return error.transform([](const NSError& what) {
    return Dictionary{
        {"domain", what.domain}, {"code", what.code}, {"description", what.localizedDescription}};
  });
}

Dictionary encodeContent(const DeliverDownload& deliver) {
  const FinishedDownload& download = deliver.download;
  return {{"type", "deliverDownload"},
          {"session", download.session},
          {"url", download.url},
          {"file", download.file},
          {"status", download.status},
          {"error", encodeError(download.error)}};
}

Dictionary encodeContent(const DownloadStarted& started) {
  return {{"type", "downloadStarted"}, {"refusal", encodeError(started.refusal)}};
}

std::optional<NSError> takeError(const Dictionary& from,
                                 std::string_view member,
                                 MessageReader& reader) {
  const Value* value = from.find(member);
  if (value && value->isNull()) {
    return std::nullopt;
  }
  const auto error = reader.take<Dictionary>(from, member);
  return NSError{.domain = reader.take<std::string>(error, "domain"),
                 .code = reader.take<std::int64_t>(error, "code"),
                 .localizedDescription = reader.take<std::string>(error, "description")};
}

FinishedDownload takeDownload(const Dictionary& from, MessageReader& reader) {
  FinishedDownload download{.session = reader.take<std::string>(from, "session"),
                            .url = reader.take<std::string>(from, "url"),
                            .file = reader.take<std::string>(from, "file"),
                            .error = takeError(from, "error", reader)};
  const Value* status = from.find("status");
  if (!status || !status->isNull()) {
    download.status = reader.takeInt(from, "status", 0, 999);
  }
  return download;
}

HostMessage::Content decodeHostContent(std::string_view type,
                                       const Dictionary& from,
                                       MessageReader& reader) {
  if (type == "configure") {
    return ConfigureRequest{.device = decodeDevice(reader.take<Dictionary>(from, "device"), reader),
                            .container = reader.take<std::string>(from, "container"),
                            .infoOverrides = reader.take<Dictionary>(from, "info")};
  }
  if (type == "describe") {
    return DescribeRequest();
  }
  if (type == "localeChanged") {
    return LocaleChanged();
  }
  if (type == "backgroundEvents") {
    return BackgroundEvents{reader.take<std::string>(from, "session")};
  }
  if (type == "finishEvents") {
    return FinishEvents{reader.take<std::string>(from, "session")};
  }
  if (type == "awaitMainQueue") {
    return AwaitMainQueue();
  }
  if (type == "deliverDownload") {
    return DeliverDownload{takeDownload(from, reader)};
  }
  if (type == "downloadStarted") {
    return DownloadStarted{takeError(from, "refusal", reader)};
  }
  for (std::size_t what = 0; what < kWhat.size(); ++what) {
    if (type != kWhat[what]) {
      continue;
    }
    const auto family = widgetFamilyNamed(reader.take<std::string>(from, "family"));
    if (!family) {
      reader.fail("family");
    }
    return ProvideRequest{.what = static_cast<ProvideRequest::What>(what),
                          .kind = reader.take<std::string>(from, "kind"),
                          .context = {.family = family.value_or(WidgetFamily::systemSmall),
                                      .displaySize = {reader.takeNumber(from, "width"),
                                                      reader.takeNumber(from, "height")},
                                      .isPreview = reader.take<bool>(from, "preview")}};
  }
  reader.fail("type");
  return DescribeRequest();
}

}  // namespace

Value encode(const HostMessage& message) {
  return encodeMessage(message, [](const auto& content) { return encodeContent(content); });
}

std::expected<HostMessage, std::string> decodeHostMessage(const Value& value) {
  return decodeMessage<HostMessage>(value, decodeHostContent);
}

}  // namespace platform
