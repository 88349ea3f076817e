#include <sys/socket.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <thread>

#include "platform/dispatch/dispatch_queue.h"
#include "platform/support/files.h"
#include "platform/support/require.h"
#include "platform/widgetkit/extension_sandbox.h"
#include "platform/widgetkit/extension_service.h"
#include "platform/widgetkit/message_channel.h"
#include "platform/widgetkit/widget_bundle.h"
#include "platform/widgetkit/widget_center.h"

namespace platform {

namespace {

/// The connection to the host and the messages that arrived while it waited for `DownloadStarted`.
class HostConnection {
 public:
  HostConnection() : channel_(kHostSocket) {}

  void send(const ExtensionMessage& message) {
    const auto sent = channel_.send(encode(message));
    // A closed socket is noticed by the next receive. A message that can't be encoded becomes a
    // failure.
    if (!sent && sent.error().kind == ChannelError::Kind::malformed) {
      (void)channel_.send(encode(ExtensionMessage{message.id, Failure{sent.error().what}}));
    }
  }

  /// Runs the main queue until a message arrives; nothing if the host has closed the socket.
  std::optional<HostMessage> next() {
    while (deferred_.empty()) {
      auto message = receive(std::chrono::milliseconds(0));
      if (message) {
        return message;
      }
      if (closed_) {
        return std::nullopt;
      }
      runMainQueueUntilReadable(channel_.descriptor());
    }
    HostMessage message = std::move(deferred_.front());
    deferred_.pop_front();
    return message;
  }

  /// Sends a request and waits until the host has stored it on disk. The main queue does not run
  /// meanwhile; other messages are deferred. Ends the process if the host closes the socket: the
  /// caller would otherwise record a download that may not have been started.
  std::expected<void, NSError> start(const std::string& session, const NSURLRequest& request) {
    if (std::this_thread::get_id() != mainThread_) {
      fatalError("NSURLSessionDownloadTask: resume is implemented on the main thread only");
    }
    const std::int64_t number = ++lastDownload_;
    send({number,
          StartDownload{.session = session,
                        .url = request.url().absoluteString(),
                        .method = request.httpMethod(),
                        .headers = request.allHTTPHeaderFields(),
                        .body = request.httpBody().value_or(Data()),
                        .timeout = request.timeoutInterval()}});
    while (auto message = receive(std::nullopt)) {
      const auto* started = std::get_if<DownloadStarted>(&message->content);
      if (!started || message->id != number) {
        deferred_.push_back(*std::move(message));
        continue;
      }
      if (started->refusal) {
        return std::unexpected(*started->refusal);
      }
      return {};
    }
    std::_Exit(EXIT_SUCCESS);
  }

 private:
  std::optional<HostMessage> receive(std::optional<std::chrono::milliseconds> timeout) {
    auto value = channel_.receive(timeout);
    if (!value) {
      using enum ChannelError::Kind;
      closed_ = value.error().kind == closed;
      if (!closed_ && value.error().kind != timedOut) {
        fatalError("host channel: " + value.error().what);
      }
      return std::nullopt;
    }
    auto message = decodeHostMessage(*value);
    if (!message) {
      fatalError("host message: " + message.error());
    }
    return *std::move(message);
  }

  MessageChannel channel_;
  std::thread::id mainThread_ = std::this_thread::get_id();
  std::deque<HostMessage> deferred_;
  std::int64_t lastDownload_ = 0;
  bool closed_ = false;
};

/// The first message names the container. Until then no line of the product runs.
void enterSandboxFor(const HostMessage& first) {
  const auto* configuration = std::get_if<ConfigureRequest>(&first.content);
  if (!configuration) {
    fatalError("host message: the first one must be a ConfigureRequest");
  }
  for (const std::string& missing :
       enterSandbox({programFolder(), "/usr/share/zoneinfo"}, configuration->container)) {
    std::fprintf(stderr, "%s\n", missing.c_str());
  }
}

}  // namespace

void NSExtensionMain(std::vector<WidgetConfiguration> (*widgets)()) {
  struct stat status = {};
  if (::fstat(kHostSocket, &status) != 0 || !S_ISSOCK(status.st_mode)) {
    std::fputs("This is a widget extension; a widget host starts it (see glancery --help).\n",
               stderr);
    std::exit(2);
  }
  // Never destroyed: a delegate queue may still answer while the process exits.
  static auto* const host = new HostConnection();
  auto message = host->next();
  if (message) {
    enterSandboxFor(*message);
  }
  static auto* const service =
      new ExtensionService(widgets(), [](const ExtensionMessage& answer) { host->send(answer); });
  WidgetCenter::shared().setHost([](const std::string& kind) {
    host->send({0, ReloadTimelines{kind}});
  });
  setBackgroundTransferStarter([](const std::string& session, const NSURLRequest& request) {
    return host->start(session, request);
  });
  for (; message; message = host->next()) {
    service->handle(*message);
  }
}

}  // namespace platform
