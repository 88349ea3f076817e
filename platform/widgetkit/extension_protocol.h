#pragma once

#include <cstdint>
#include <expected>
#include <string>
#include <variant>
#include <vector>

#include "platform/foundation/data/value.h"
#include "platform/foundation/network/url_request.h"
#include "platform/foundation/network/url_session.h"
#include "platform/foundation/time/device.h"
#include "platform/swiftui/archived_view.h"
#include "platform/widgetkit/timeline.h"

// What host and extension say to each other. A message is one value on the channel; the host speaks
// first, and every request is answered under its own number.

namespace platform {

/// The descriptor at which an extension finds its host's socket.
inline constexpr int kHostSocket = 3;

/// The phone's settings and what the extension may touch; the first message, and again whenever a
/// setting changes.
struct ConfigureRequest {
  Device device;
  /// The app group's folder, absolute.
  std::string container;
  /// Values to use in place of those of the Info dictionary.
  Dictionary infoOverrides;
  friend bool operator==(const ConfigureRequest&, const ConfigureRequest&) = default;
};

/// Asks which widgets there are.
struct DescribeRequest {
  friend bool operator==(DescribeRequest, DescribeRequest) = default;
};

/// Asks a widget's provider.
struct ProvideRequest {
  enum class What : std::uint8_t { placeholder, snapshot, timeline };
  What what = What::timeline;
  std::string kind;
  TimelineProviderContext context;
  friend bool operator==(const ProvideRequest&, const ProvideRequest&) = default;
};

/// The device's locale is another one now; the settings of the last `ConfigureRequest` have it.
struct LocaleChanged {
  friend bool operator==(LocaleChanged, LocaleChanged) = default;
};

/// The extension was started, or woken, for results of this background session, which follow.
struct BackgroundEvents {
  std::string session;
  friend bool operator==(const BackgroundEvents&, const BackgroundEvents&) = default;
};

/// A download is over; answered once the session's delegate has dealt with it.
struct DeliverDownload {
  FinishedDownload download;
  friend bool operator==(const DeliverDownload&, const DeliverDownload&) = default;
};

/// Every result that `BackgroundEvents` announced was delivered; answered once all that followed
/// from them on the main queue is done.
struct FinishEvents {
  std::string session;
  friend bool operator==(const FinishEvents&, const FinishEvents&) = default;
};

/// Answered once everything that waits on the main queue by now is done.
struct AwaitMainQueue {
  friend bool operator==(AwaitMainQueue, AwaitMainQueue) = default;
};

/// The answer to a `StartDownload`, under the number that the extension gave it: the task is on the
/// disk, or the reason why it is not.
struct DownloadStarted {
  std::optional<NSError> refusal = {};
  friend bool operator==(const DownloadStarted&, const DownloadStarted&) = default;
};

struct HostMessage {
  using Content = std::variant<ConfigureRequest,
                               DescribeRequest,
                               ProvideRequest,
                               LocaleChanged,
                               BackgroundEvents,
                               DeliverDownload,
                               FinishEvents,
                               AwaitMainQueue,
                               DownloadStarted>;
  std::int64_t id = 0;
  Content content;
  friend bool operator==(const HostMessage&, const HostMessage&) = default;
};

/// What was asked for is done.
struct Done {
  friend bool operator==(Done, Done) = default;
};

struct WidgetDescription {
  std::string kind;
  std::string displayNameKey;
  std::string descriptionKey;
  std::vector<WidgetFamily> families;
  friend bool operator==(const WidgetDescription&, const WidgetDescription&) = default;
};

/// Every widget, in gallery order.
struct WidgetDescriptions {
  std::vector<WidgetDescription> widgets;
  friend bool operator==(const WidgetDescriptions&, const WidgetDescriptions&) = default;
};

/// An entry as the host keeps it: no code, only data. Dates among the fields are ISO 8601 texts.
struct ArchivedEntry {
  Date date = Date::since1970(0);
  Mirror fields;
  ArchivedView light;
  ArchivedView dark;
  /// Of both views: that of the localisation in which the extension made them.
  LayoutDirection direction = LayoutDirection::leftToRight;
  friend bool operator==(const ArchivedEntry&, const ArchivedEntry&) = default;
};

/// A provider's answer; a placeholder or snapshot is one entry that is never replaced.
struct ArchivedTimeline {
  std::vector<ArchivedEntry> entries;
  TimelineReloadPolicy policy;
  friend bool operator==(const ArchivedTimeline&, const ArchivedTimeline&) = default;
};

/// The request can't be answered.
struct Failure {
  std::string reason;
  friend bool operator==(const Failure&, const Failure&) = default;
};

/// Asks the host to download for a background session. No answer to any request of the host's: the
/// number is the extension's own, and comes back with `DownloadStarted`.
struct StartDownload {
  std::string session;
  std::string url;
  std::string method;
  NSURLRequest::Headers headers;
  Data body;
  double timeout = 60;
  friend bool operator==(const StartDownload&, const StartDownload&) = default;
};

/// Asks the host to ask again for the timelines of that kind. Neither answers nor is answered.
struct ReloadTimelines {
  std::string kind;
  friend bool operator==(const ReloadTimelines&, const ReloadTimelines&) = default;
};

struct ExtensionMessage {
  using Content = std::
      variant<Done, WidgetDescriptions, ArchivedTimeline, Failure, StartDownload, ReloadTimelines>;
  /// The request's number.
  std::int64_t id = 0;
  Content content;
  friend bool operator==(const ExtensionMessage&, const ExtensionMessage&) = default;
};

Value encode(const HostMessage& message);
Value encode(const ExtensionMessage& message);

/// Each takes an unchecked value; the error names the member at fault.
std::expected<HostMessage, std::string> decodeHostMessage(const Value& value);
std::expected<ExtensionMessage, std::string> decodeExtensionMessage(const Value& value);

}  // namespace platform
