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

/// Answers a host's messages with a bundle's widgets.
///
/// `handle` is called on the main thread, and providers run there. An answer is handed to `answer`
/// when what was asked for is done, before `handle` returns or later, on whichever thread that
/// happens; what goes wrong is a `Failure` that names it. Must outlive the main queue's blocks.
class ExtensionService {
 public:
  using Answer = std::function<void(ExtensionMessage)>;

  ExtensionService(std::vector<WidgetConfiguration> widgets, Answer answer);
  void handle(const HostMessage& message);

 private:
  /// A session's waiting events, from their announcement until all that followed from them is done.
  struct Events {
    bool completed = false;
    /// The `FinishEvents` that waits for the completion.
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
  /// By session; for the main thread alone.
  std::map<std::string, std::shared_ptr<Events>> events_;
};

}  // namespace platform
