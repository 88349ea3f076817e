#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>

#include "host/schedule/widget_schedule.h"
#include "platform/widgetkit/extension_protocol.h"

namespace host {

/// What a home screen keeps of a placed widget, to show it at once after its next start.
struct StoredWidget {
  /// What the timeline was made from: the device's settings and a fingerprint of what the host app
  /// had written. They are only compared.
  std::string device;
  std::string hostApp;
  ScheduleRecord schedule;
  platform::ArchivedTimeline timeline;
  friend bool operator==(const StoredWidget&, const StoredWidget&) = default;
};

/// `<container>/Library/Widgets`
std::filesystem::path timelineFolder(const std::filesystem::path& container);

/// `<kind>.timeline` in that folder; bytes other than ASCII letters, digits, `-` and `_` become
/// %XX.
std::filesystem::path timelineFile(const std::filesystem::path& container, const std::string& kind);

/// Replaces the file in one step; the error names the file. Not synced: a lost timeline is
/// requested again.
std::expected<void, std::string> storeWidget(const std::filesystem::path& file,
                                             const StoredWidget& widget);

/// Nothing if there is no file. The error names a file that can't be read or that is damaged.
std::expected<std::optional<StoredWidget>, std::string> loadWidget(
    const std::filesystem::path& file);

}  // namespace host
