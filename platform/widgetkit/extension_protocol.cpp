#include "platform/widgetkit/extension_protocol.h"

#include <array>
#include <cmath>

namespace platform {

namespace {

/// Reads members of one message; remembers the first that is at fault, after which every read gives
/// a default.
class Reader {
 public:
  explicit Reader(std::string& error) : error_(error) {}

  bool failed() const { return !error_.empty(); }
  void fail(std::string_view member) {
    if (!failed()) {
      error_ = "the member \"" + std::string(member) + "\" is missing or malformed";
    }
  }

  template <class T>
  T take(const Dictionary& from, std::string_view member) {
    const Value* value = from.find(member);
    const T* typed = value ? value->as<T>() : nullptr;
    if (!typed) {
      fail(member);
      return T();
    }
    return *typed;
  }

  double takeNumber(const Dictionary& from, std::string_view member) {
    const auto number = from.number(member);
    if (!number || !std::isfinite(*number)) {
      fail(member);
      return 0;
    }
    return *number;
  }

  int takeInt(const Dictionary& from, std::string_view member, int low, int high) {
    const auto number = from.integer(member);
    if (!number || *number < low || *number > high) {
      fail(member);
      return low;
    }
    return static_cast<int>(*number);
  }

  template <class T>
  std::vector<T> takeAll(const Dictionary& from, std::string_view member, auto element) {
    std::vector<T> all;
    for (const Value& value : take<Array>(from, member)) {
      if (auto decoded = element(value)) {
        all.push_back(*std::move(decoded));
      } else {
        fail(member);
        break;
      }
    }
    return all;
  }

 private:
  std::string& error_;
};

std::optional<std::string> asString(const Value& value) {
  const auto* text = value.as<std::string>();
  return text ? std::optional(*text) : std::nullopt;
}

std::optional<WidgetFamily> asFamily(const Value& value) {
  const auto* name = value.as<std::string>();
  return name ? widgetFamilyNamed(*name) : std::nullopt;
}

Array families(const std::vector<WidgetFamily>& all) {
  Array names;
  for (const WidgetFamily family : all) {
    names.emplace_back(nameOf(family));
  }
  return names;
}

// The device

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

Device decodeDevice(const Dictionary& from, Reader& reader) {
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

// What the host says

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

std::optional<NSError> takeError(const Dictionary& from, std::string_view member, Reader& reader) {
  const Value* value = from.find(member);
  if (value && value->isNull()) {
    return std::nullopt;
  }
  const auto error = reader.take<Dictionary>(from, member);
  return NSError{.domain = reader.take<std::string>(error, "domain"),
                 .code = reader.take<std::int64_t>(error, "code"),
                 .localizedDescription = reader.take<std::string>(error, "description")};
}

FinishedDownload takeDownload(const Dictionary& from, Reader& reader) {
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
                                       Reader& reader) {
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

// What the extension says

Dictionary encodeContent(const Done&) {
  return {{"type", "done"}};
}

Dictionary encodeContent(const Failure& failure) {
  return {{"type", "failure"}, {"reason", failure.reason}};
}

Dictionary encodeContent(const WidgetDescriptions& descriptions) {
  Array widgets;
  for (const WidgetDescription& widget : descriptions.widgets) {
    widgets.emplace_back(Dictionary{{"kind", widget.kind},
                                    {"name", widget.displayNameKey},
                                    {"description", widget.descriptionKey},
                                    {"families", families(widget.families)}});
  }
  return {{"type", "widgets"}, {"widgets", std::move(widgets)}};
}

Value encodeEntry(const ArchivedEntry& entry) {
  Array fields;
  for (const auto& [name, value] : entry.fields) {
    fields.emplace_back(Array{name, value});
  }
  Dictionary encoded{{"date", entry.date.timeIntervalSince1970()},
                     {"fields", std::move(fields)},
                     {"light", encodeView(entry.light)}};
  // Most views are the same in both schemes; such a one travels once.
  if (entry.dark != entry.light) {
    encoded.set("dark", encodeView(entry.dark));
  }
  return encoded;
}

Dictionary encodeContent(const ArchivedTimeline& timeline) {
  Array entries;
  for (const ArchivedEntry& entry : timeline.entries) {
    entries.push_back(encodeEntry(entry));
  }
  return {{"type", "timeline"},
          {"entries", std::move(entries)},
          {"after",
           timeline.policy.date.transform([](Date date) { return date.timeIntervalSince1970(); })}};
}

Dictionary encodeContent(const StartDownload& start) {
  Array headers;
  for (const auto& [name, value] : start.headers) {
    headers.emplace_back(Array{name, value});
  }
  return {{"type", "startDownload"},
          {"session", start.session},
          {"url", start.url},
          {"method", start.method},
          {"headers", std::move(headers)},
          {"body", start.body},
          {"timeout", start.timeout}};
}

Dictionary encodeContent(const ReloadTimelines& reload) {
  return {{"type", "reloadTimelines"}, {"kind", reload.kind}};
}

std::optional<NSURLRequest::Headers::value_type> decodeHeader(const Value& value) {
  const Array* pair = value.array();
  if (!pair || pair->size() != 2) {
    return std::nullopt;
  }
  const auto* name = (*pair)[0].as<std::string>();
  const auto* text = (*pair)[1].as<std::string>();
  return name && text ? std::optional(std::pair(*name, *text)) : std::nullopt;
}

StartDownload takeStart(const Dictionary& from, Reader& reader) {
  return {
      .session = reader.take<std::string>(from, "session"),
      .url = reader.take<std::string>(from, "url"),
      .method = reader.take<std::string>(from, "method"),
      .headers = reader.takeAll<NSURLRequest::Headers::value_type>(from, "headers", decodeHeader),
      .body = reader.take<Data>(from, "body"),
      .timeout = reader.takeNumber(from, "timeout")};
}

std::optional<WidgetDescription> decodeDescription(const Value& value) {
  const Dictionary* from = value.dictionary();
  if (!from) {
    return std::nullopt;
  }
  std::string error;
  Reader reader(error);
  WidgetDescription description{
      .kind = reader.take<std::string>(*from, "kind"),
      .displayNameKey = reader.take<std::string>(*from, "name"),
      .descriptionKey = reader.take<std::string>(*from, "description"),
      .families = reader.takeAll<WidgetFamily>(*from, "families", asFamily)};
  return reader.failed() ? std::nullopt : std::optional(std::move(description));
}

std::optional<Mirror::value_type> decodeField(const Value& value) {
  const Array* pair = value.array();
  const std::string* name = pair && pair->size() == 2 ? (*pair)[0].as<std::string>() : nullptr;
  return name ? std::optional(Mirror::value_type(*name, (*pair)[1])) : std::nullopt;
}

ArchivedView takeView(const Dictionary& from, std::string_view member, std::string& error) {
  const Value* value = from.find(member);
  auto view = value ? decodeView(*value)
                    : std::unexpected("the member \"" + std::string(member) + "\" is missing");
  if (!view && error.empty()) {
    error = view.error();
  }
  return view ? *std::move(view) : ArchivedView();
}

ArchivedTimeline decodeTimeline(const Dictionary& from, Reader& reader, std::string& error) {
  ArchivedTimeline timeline;
  timeline.entries = reader.takeAll<ArchivedEntry>(
      from, "entries", [&](const Value& value) -> std::optional<ArchivedEntry> {
        const Dictionary* entry = value.dictionary();
        if (!entry) {
          return std::nullopt;
        }
        ArchivedEntry decoded{
            .date = Date::since1970(reader.takeNumber(*entry, "date")),
            .fields = reader.takeAll<Mirror::value_type>(*entry, "fields", decodeField),
            .light = takeView(*entry, "light", error),
            .dark = {}};
        decoded.dark = entry->find("dark") ? takeView(*entry, "dark", error) : decoded.light;
        return decoded;
      });
  const Value* after = from.find("after");
  if (!after) {
    reader.fail("after");
  } else if (!after->isNull()) {
    timeline.policy.date = Date::since1970(reader.takeNumber(from, "after"));
  }
  return timeline;
}

ExtensionMessage::Content decodeExtensionContent(std::string_view type,
                                                 const Dictionary& from,
                                                 Reader& reader,
                                                 std::string& error) {
  if (type == "done") {
    return Done();
  }
  if (type == "failure") {
    return Failure{reader.take<std::string>(from, "reason")};
  }
  if (type == "widgets") {
    return WidgetDescriptions{
        reader.takeAll<WidgetDescription>(from, "widgets", decodeDescription)};
  }
  if (type == "timeline") {
    return decodeTimeline(from, reader, error);
  }
  if (type == "startDownload") {
    return takeStart(from, reader);
  }
  if (type == "reloadTimelines") {
    return ReloadTimelines{reader.take<std::string>(from, "kind")};
  }
  reader.fail("type");
  return Done();
}

template <class Message>
Value encodeMessage(const Message& message) {
  Dictionary encoded =
      std::visit([](const auto& content) { return encodeContent(content); }, message.content);
  encoded.set("id", message.id);
  return encoded;
}

template <class Message>
std::expected<Message, std::string> decodeMessage(const Value& value, auto decodeContent) {
  const Dictionary* from = value.dictionary();
  if (!from) {
    return std::unexpected("a message is a dictionary");
  }
  std::string error;
  Reader reader(error);
  Message message;
  message.id = reader.take<std::int64_t>(*from, "id");
  message.content = decodeContent(reader.take<std::string>(*from, "type"), *from, reader, error);
  if (!error.empty()) {
    return std::unexpected(error);
  }
  return message;
}

}  // namespace

Value encode(const HostMessage& message) {
  return encodeMessage(message);
}

Value encode(const ExtensionMessage& message) {
  return encodeMessage(message);
}

std::expected<HostMessage, std::string> decodeHostMessage(const Value& value) {
  return decodeMessage<HostMessage>(
      value, [](const std::string& type, const Dictionary& from, Reader& reader, std::string&) {
        return decodeHostContent(type, from, reader);
      });
}

std::expected<ExtensionMessage, std::string> decodeExtensionMessage(const Value& value) {
  return decodeMessage<ExtensionMessage>(value, decodeExtensionContent);
}

}  // namespace platform
