#include "host/schedule/timeline_file.h"

#include <stored_widget_generated.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

#include "platform/support/files.h"
#include "platform/widgetkit/wire_copier.h"

namespace host {

using namespace platform;
namespace fs = std::filesystem;

namespace wire {

void members(auto& copier, RequestT& wire, auto& request) {
  copier.code("cause", wire.cause, request.cause, ReloadCause::clock);
  copier.text("why", wire.why, request.why);
}

template <bool kReading>
void members(WireCopier<kReading>& copier, StoredWidgetT& wire, auto& widget) {
  auto& schedule = widget.schedule;
  copier.text("device", wire.device, widget.device);
  copier.text("hostApp", wire.host_app, widget.hostApp);
  copier.number("fetched", wire.fetched, schedule.fetched);
  copier.table("fetchedFor", wire.fetched_for, schedule.fetchedFor);
  copier.table("wanted", wire.wanted, schedule.wanted);
  copier.number("lastByPolicy", wire.last_by_policy, schedule.lastByPolicy);
  if constexpr (kReading) {
    for (double& seconds : wire.counted) {
      copier.number("counted", seconds, schedule.counted.emplace_back(Date::since1970(0)));
    }
  } else {
    std::ranges::transform(
        schedule.counted, std::back_inserter(wire.counted), &Date::timeIntervalSince1970);
  }
}

}  // namespace wire

namespace {

std::expected<std::string, std::string> encode(const StoredWidget& widget) {
  const EncodedMessage timeline = platform::encode(ExtensionMessage{0, widget.timeline});
  if (!timeline) {
    return timeline;
  }
  WireCopier<false> copier;
  wire::StoredWidgetT copy;
  members(copier, copy, widget);
  if (!copier.fault().empty()) {
    return std::unexpected(copier.fault());
  }
  copy.timeline.assign(timeline->begin(), timeline->end());
  flatbuffers::FlatBufferBuilder builder;
  builder.Finish(wire::StoredWidget::Pack(builder, &copy));
  return std::string(reinterpret_cast<const char*>(builder.GetBufferPointer()), builder.GetSize());
}

std::expected<StoredWidget, std::string> decode(std::string_view bytes) {
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  if (!flatbuffers::Verifier(data, bytes.size()).VerifyBuffer<wire::StoredWidget>(nullptr)) {
    return std::unexpected("damaged");
  }
  wire::StoredWidgetT copy;
  flatbuffers::GetRoot<wire::StoredWidget>(data)->UnPackTo(&copy);
  auto message = decodeExtensionMessage(
      {reinterpret_cast<const char*>(copy.timeline.data()), copy.timeline.size()});
  if (!message) {
    return std::unexpected(message.error());
  }
  auto* timeline = std::get_if<ArchivedTimeline>(&message->content);
  if (!timeline) {
    return std::unexpected("it holds another message than a timeline");
  }
  StoredWidget widget;
  widget.timeline = std::move(*timeline);
  WireCopier<true> copier(bytes.size());
  members(copier, copy, widget);
  if (!copier.fault().empty()) {
    return std::unexpected(copier.fault());
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
  const auto bytes = encode(widget);
  if (!bytes) {
    return std::unexpected(file.string() + " can't be written: " + bytes.error());
  }
  std::error_code error;
  fs::create_directories(file.parent_path(), error);
  error = replaceFile(file, *bytes, 0600);
  if (error) {
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
  auto widget = decode(*bytes);
  if (!widget) {
    return std::unexpected(file.string() + " is not a stored timeline: " + widget.error());
  }
  return *std::move(widget);
}

}  // namespace host
