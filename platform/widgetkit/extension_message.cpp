#include <algorithm>
#include <iterator>

#include "platform/widgetkit/extension_protocol.h"
#include "platform/widgetkit/message_coding.h"

namespace platform {

namespace {

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

template <class Pairs>
Array encodePairs(const Pairs& pairs) {
  Array encoded;
  for (const auto& [name, value] : pairs) {
    encoded.emplace_back(Array{name, value});
  }
  return encoded;
}

/// A pair of name and value, or a dictionary of the name and the nested records.
Value encodeField(const Mirror::value_type& field) {
  const auto& [name, content] = field;
  if (const auto* value = std::get_if<Value>(&content)) {
    return Array{name, *value};
  }
  Array records;
  for (const MirroredRecord& record : std::get<std::vector<MirroredRecord>>(content)) {
    records.emplace_back(encodePairs(record));
  }
  return Dictionary{{"name", name}, {"records", std::move(records)}};
}

Value encodeEntry(const ArchivedEntry& entry) {
  Array fields;
  std::ranges::transform(entry.fields, std::back_inserter(fields), encodeField);
  Dictionary encoded{{"date", entry.date.timeIntervalSince1970()},
                     {"fields", std::move(fields)},
                     {"light", encodeView(entry.light)}};
  // Most views are the same in both schemes; such a one travels once.
  if (entry.dark != entry.light) {
    encoded.set("dark", encodeView(entry.dark));
  }
  if (entry.direction == LayoutDirection::rightToLeft) {
    encoded.set("rightToLeft", true);
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
  return {{"type", "startDownload"},
          {"session", start.session},
          {"url", start.url},
          {"method", start.method},
          {"headers", encodePairs(start.headers)},
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

StartDownload takeStart(const Dictionary& from, MessageReader& reader) {
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
  MessageReader reader;
  WidgetDescription description{
      .kind = reader.take<std::string>(*from, "kind"),
      .displayNameKey = reader.take<std::string>(*from, "name"),
      .descriptionKey = reader.take<std::string>(*from, "description"),
      .families = reader.takeAll<WidgetFamily>(*from, "families", asFamily)};
  return reader.failed() ? std::nullopt : std::optional(std::move(description));
}

std::optional<MirroredRecord::value_type> decodeMember(const Value& value) {
  const Array* pair = value.array();
  const std::string* name = pair && pair->size() == 2 ? (*pair)[0].as<std::string>() : nullptr;
  return name ? std::optional(std::pair(*name, (*pair)[1])) : std::nullopt;
}

std::optional<MirroredRecord> decodeRecord(const Value& value) {
  const Array* members = value.array();
  if (!members) {
    return std::nullopt;
  }
  MirroredRecord record;
  for (const Value& member : *members) {
    auto decoded = decodeMember(member);
    if (!decoded) {
      return std::nullopt;
    }
    record.push_back(*std::move(decoded));
  }
  return record;
}

std::optional<Mirror::value_type> decodeField(const Value& value) {
  const Dictionary* from = value.dictionary();
  if (!from) {
    return decodeMember(value);
  }
  MessageReader reader;
  Mirror::value_type field(reader.take<std::string>(*from, "name"),
                           reader.takeAll<MirroredRecord>(*from, "records", decodeRecord));
  return reader.failed() ? std::nullopt : std::optional(std::move(field));
}

ArchivedView takeView(const Dictionary& from, std::string_view member, MessageReader& reader) {
  const Value* value = from.find(member);
  auto view = value ? decodeView(*value)
                    : std::unexpected("the member \"" + std::string(member) + "\" is missing");
  if (!view) {
    reader.failWith(view.error());
    return {};
  }
  return *std::move(view);
}

ArchivedTimeline decodeTimeline(const Dictionary& from, MessageReader& reader) {
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
            .light = takeView(*entry, "light", reader),
            .dark = {}};
        decoded.dark = entry->find("dark") ? takeView(*entry, "dark", reader) : decoded.light;
        if (entry->find("rightToLeft") && reader.take<bool>(*entry, "rightToLeft")) {
          decoded.direction = LayoutDirection::rightToLeft;
        }
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
                                                 MessageReader& reader) {
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
    return decodeTimeline(from, reader);
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

}  // namespace

Value encode(const ExtensionMessage& message) {
  return encodeMessage(message, [](const auto& content) { return encodeContent(content); });
}

std::expected<ExtensionMessage, std::string> decodeExtensionMessage(const Value& value) {
  return decodeMessage<ExtensionMessage>(value, decodeExtensionContent);
}

}  // namespace platform
