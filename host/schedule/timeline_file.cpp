#include "host/schedule/timeline_file.h"

#include <array>
#include <cctype>
#include <cmath>
#include <utility>

#include "platform/foundation/data/cbor.h"
#include "platform/foundation/data/value.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;
namespace fs = std::filesystem;

namespace {

Value encoded(const std::optional<ReloadRequest>& request) {
  return request ? Value(Dictionary{{"cause", std::to_underlying(request->cause)},
                                    {"why", request->why}})
                 : Value();
}

std::optional<ReloadRequest> requestOf(const Value* value) {
  const Dictionary* members = value ? value->dictionary() : nullptr;
  if (!members) {
    return std::nullopt;
  }
  const auto cause = members->integer("cause");
  const auto why = members->string("why");
  if (!cause || *cause < 0 || *cause > std::to_underlying(ReloadCause::clock) || !why) {
    return std::nullopt;
  }
  return ReloadRequest{static_cast<ReloadCause>(*cause), *why};
}

// Dates travel as seconds.
std::optional<Date> dateOf(const std::optional<double>& seconds) {
  return seconds && std::isfinite(*seconds) ? std::optional(Date::since1970(*seconds))
                                            : std::nullopt;
}

std::optional<StoredWidget> storedWidget(const Dictionary& members) {
  const auto device = members.string("device");
  const auto hostApp = members.string("hostApp");
  const auto fetchedFor = requestOf(members.find("fetchedFor"));
  const Value* const counted = members.find("counted");
  const Value* const timeline = members.find("timeline");
  if (!device || !hostApp || !fetchedFor || !counted || !counted->array() || !timeline) {
    return std::nullopt;
  }
  auto message = decodeExtensionMessage(*timeline);
  auto* archived = message ? std::get_if<ArchivedTimeline>(&message->content) : nullptr;
  if (!archived) {
    return std::nullopt;
  }
  StoredWidget widget = {.device = *device,
                         .hostApp = *hostApp,
                         .schedule = {.fetched = dateOf(members.number("fetched")),
                                      .fetchedFor = *fetchedFor,
                                      .wanted = requestOf(members.find("wanted")),
                                      .lastByPolicy = dateOf(members.number("lastByPolicy"))},
                         .timeline = std::move(*archived)};
  for (const Value& at : *counted->array()) {
    const auto date = dateOf(at.number());
    if (!date) {
      return std::nullopt;
    }
    widget.schedule.counted.push_back(*date);
  }
  return widget;
}

}  // namespace

fs::path timelineFolder(const fs::path& container) {
  return container / "Library" / "Widgets";
}

fs::path timelineFile(const fs::path& container, const std::string& kind) {
  std::string name;
  for (const char letter : kind) {
    const auto byte = static_cast<unsigned char>(letter);
    if (std::isalnum(byte) != 0 || letter == '_' || letter == '-') {
      name += letter;
    } else {
      constexpr std::string_view kDigits = "0123456789ABCDEF";
      name += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return timelineFolder(container) / (name + ".timeline");
}

std::expected<void, std::string> storeWidget(const fs::path& file, const StoredWidget& widget) {
  Array counted;
  for (const Date at : widget.schedule.counted) {
    counted.emplace_back(at);
  }
  const auto bytes =
      encodeCBOR(Dictionary{{"device", widget.device},
                            {"hostApp", widget.hostApp},
                            {"fetched", widget.schedule.fetched},
                            {"fetchedFor", encoded(widget.schedule.fetchedFor)},
                            {"wanted", encoded(widget.schedule.wanted)},
                            {"lastByPolicy", widget.schedule.lastByPolicy},
                            {"counted", std::move(counted)},
                            {"timeline", encode(ExtensionMessage{0, widget.timeline})}});
  if (!bytes) {
    return std::unexpected(file.string() + " can't be written: " + bytes.error());
  }
  std::error_code error;
  fs::create_directories(file.parent_path(), error);
  if ((error = replaceFile(file, *bytes))) {
    return std::unexpected(file.string() + " can't be written: " + error.message());
  }
  return {};
}

std::expected<std::optional<StoredWidget>, std::string> loadWidget(const fs::path& file) {
  const auto bytes = readFile(file);
  if (!bytes) {
    if (bytes.error() == std::errc::no_such_file_or_directory) {
      return std::nullopt;
    }
    return std::unexpected(file.string() + " can't be read: " + bytes.error().message());
  }
  const auto value = decodeCBOR(*bytes);
  auto widget = value && value->dictionary() ? storedWidget(*value->dictionary()) : std::nullopt;
  if (!widget) {
    return std::unexpected(file.string() + " is no timeline of a widget" +
                           (value ? "" : ": " + value.error()));
  }
  return widget;
}

}  // namespace host
