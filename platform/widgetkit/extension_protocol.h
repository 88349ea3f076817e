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

// The messages between host and extension. The host sends the first one; the answer to a request
// has the request's number.

namespace platform {

/// The descriptor of the socket to the host in an extension.
inline constexpr int kHostSocket = 3;

/// The device settings and the extension's container. The first message; sent again after every
/// change of a setting.
struct ConfigureRequest {
  Device device = {};
  /// The app group's folder, absolute.
  std::string container = {};
  /// Strings that replace values of the Info dictionary.
  Dictionary infoOverrides = {};
  friend bool operator==(const ConfigureRequest&, const ConfigureRequest&) = default;
};

/// Requests `WidgetDescriptions`.
struct DescribeRequest {
  friend bool operator==(DescribeRequest, DescribeRequest) = default;
};

/// Requests entries of a widget's provider: an `ArchivedTimeline`.
struct ProvideRequest {
  enum class What : std::uint8_t { placeholder, snapshot, timeline };
  What what = What::timeline;
  std::string kind;
  TimelineProviderContext context;
  friend bool operator==(const ProvideRequest&, const ProvideRequest&) = default;
};

/// The device's locale has changed; the last `ConfigureRequest` had the new one.
struct LocaleChanged {
  friend bool operator==(LocaleChanged, LocaleChanged) = default;
};

/// The extension was launched for results of this background session; they follow.
struct BackgroundEvents {
  std::string session;
  friend bool operator==(const BackgroundEvents&, const BackgroundEvents&) = default;
};

/// A download has ended; answered when the session's delegate has handled it.
struct DeliverDownload {
  FinishedDownload download;
  friend bool operator==(const DeliverDownload&, const DeliverDownload&) = default;
};

/// Every result that `BackgroundEvents` announced has been delivered; answered when the work that
/// they put onto the main queue is done.
struct FinishEvents {
  std::string session;
  friend bool operator==(const FinishEvents&, const FinishEvents&) = default;
};

/// Answered when the work that is on the main queue now is done.
struct AwaitMainQueue {
  friend bool operator==(AwaitMainQueue, AwaitMainQueue) = default;
};

/// The answer to a `StartDownload`, with the extension's number: the task is stored on disk, or why
/// it is not.
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

/// The request is done.
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

/// An entry with its view evaluated in both colour schemes.
struct ArchivedEntry {
  Date date = Date::since1970(0);
  /// For people and tests: a JSON object of the record's fields in their order, dates as ISO 8601
  /// strings.
  std::string fields = {};
  ArchivedView light = {};
  ArchivedView dark = {};
  /// Of both views: the direction of the extension's localisation.
  LayoutDirection direction = LayoutDirection::leftToRight;
  friend bool operator==(const ArchivedEntry&, const ArchivedEntry&) = default;
};

/// A provider's answer. A placeholder or snapshot is one entry without a reload.
struct ArchivedTimeline {
  std::vector<ArchivedEntry> entries;
  TimelineReloadPolicy policy;
  friend bool operator==(const ArchivedTimeline&, const ArchivedTimeline&) = default;
};

/// The request failed.
struct Failure {
  std::string reason;
  friend bool operator==(const Failure&, const Failure&) = default;
};

/// Requests a download for a background session. Not an answer: the number is the extension's own
/// and comes back with `DownloadStarted`.
struct StartDownload {
  std::string session = {};
  std::string url = {};
  std::string method = {};
  NSURLRequest::Headers headers = {};
  Data body = {};
  double timeout = 60;
  friend bool operator==(const StartDownload&, const StartDownload&) = default;
};

/// Requests that the host reloads the timelines of that kind. Not an answer, and has none.
struct ReloadTimelines {
  std::string kind;
  friend bool operator==(const ReloadTimelines&, const ReloadTimelines&) = default;
};

struct ExtensionMessage {
  using Content = std::
      variant<Done, WidgetDescriptions, ArchivedTimeline, Failure, StartDownload, ReloadTimelines>;
  /// The number of the request that this answers.
  std::int64_t id = 0;
  Content content;
  friend bool operator==(const ExtensionMessage&, const ExtensionMessage&) = default;
};

/// The bytes of a message, or why it can't be sent: a string is not UTF-8, for example.
using EncodedMessage = std::expected<std::string, std::string>;
EncodedMessage encode(const HostMessage& message);
EncodedMessage encode(const ExtensionMessage& message);

/// Takes untrusted bytes, whose address must be a multiple of 8. In the message, strings are UTF-8,
/// numbers are finite and within the ranges of their types, views have as many children as
/// `ArchivedView` says and are at most `kMaxViewDepth` deep; `fields` is not checked to be JSON.
/// The error names the member and, within a view, the indices of the children that lead to it:
/// `view/0/2 (text): "size" must be a positive number`.
std::expected<HostMessage, std::string> decodeHostMessage(std::string_view bytes);
std::expected<ExtensionMessage, std::string> decodeExtensionMessage(std::string_view bytes);

}  // namespace platform
