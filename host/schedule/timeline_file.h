#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>

#include "host/schedule/widget_schedule.h"
#include "platform/widgetkit/extension_protocol.h"

namespace host {

/// What a home screen keeps of a placed widget, so that it shows it at once the next time.
struct StoredWidget {
  /// What the timeline was made from, as texts that are compared whole: the device's settings and
  /// what the host app had written.
  std::string device;
  std::string hostApp;
  ScheduleRecord schedule;
  platform::ArchivedTimeline timeline;
  friend bool operator==(const StoredWidget&, const StoredWidget&) = default;
};

/// `<container>/Library/Widgets`
std::filesystem::path timelineFolder(const std::filesystem::path& container);

/// `<kind>.timeline` in there, letters of the kind that no file name should have as %XX.
std::filesystem::path timelineFile(const std::filesystem::path& container, const std::string& kind);

/// Replaces the file in one step; the error says what could not be written. Not synced: what is
/// lost is asked for again.
std::expected<void, std::string> storeWidget(const std::filesystem::path& file,
                                             const StoredWidget& widget);

/// Nothing where there is no file; the error names a file that can't be read.
std::expected<std::optional<StoredWidget>, std::string> loadWidget(
    const std::filesystem::path& file);

}  // namespace host
