#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/widgetkit/extension_protocol.h"
#include "platform/widgetkit/widget_configuration.h"

namespace platform {

/// Handles the messages of a host for the widgets of a bundle.
///
/// `handle` is called on the main thread, where providers run. `answer` is called on any thread
/// when the request is done, before `handle` returns or later; errors are answered with a
/// `Failure`. The service must outlive the blocks on the main queue.
class ExtensionService {
 public:
  using Answer = std::function<void(ExtensionMessage)>;

  ExtensionService(std::vector<WidgetConfiguration> widgets, Answer answer);
  void handle(const HostMessage& message);

 private:
  /// The announced events of a session, until `FinishEvents` has been answered.
  struct Events {
    bool completed = false;
    /// The number of the `FinishEvents` that waits for the completion.
    std::optional<std::int64_t> finishing = {};
  };

  void perform(std::int64_t id, const ConfigureRequest& request);
  void perform(std::int64_t id, const DescribeRequest& request);
  void perform(std::int64_t id, const ProvideRequest& request);
  void perform(std::int64_t id, const LocaleChanged& change);
  void perform(std::int64_t id, const BackgroundEvents& events);
  void perform(std::int64_t id, const DeliverDownload& deliver);
  void perform(std::int64_t id, const FinishEvents& finish);
  void perform(std::int64_t id, const AwaitMainQueue& request);
  void perform(std::int64_t id, const DownloadStarted& started);

  std::vector<WidgetConfiguration> widgets_;
  Answer answer_;
  /// By session; used on the main thread only.
  std::map<std::string, std::shared_ptr<Events>> events_;
};

}  // namespace platform
