#include "platform/widgetkit/extension_main.h"

#include <sys/socket.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <thread>

#include "platform/dispatch/dispatch_queue.h"
#include "platform/support/require.h"
#include "platform/widgetkit/extension_service.h"
#include "platform/widgetkit/message_channel.h"
#include "platform/widgetkit/widget_center.h"

namespace platform {

namespace {

/// The process's one line to its host, and the messages that came while it waited for another.
class HostLine {
 public:
  HostLine() : channel_(kHostSocket) {}

  void send(const ExtensionMessage& message) {
    const auto sent = channel_.send(encode(message));
    // A host that is gone is noticed by the next receive; an answer that can't be sent is one.
    if (!sent && sent.error().kind == ChannelError::Kind::malformed) {
      (void)channel_.send(encode(ExtensionMessage{message.id, Failure{sent.error().what}}));
    }
  }

  /// The next message, or nothing once the host has closed the line. Runs the main queue meanwhile.
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

  /// Hands a request over and waits until the host has it on its disk. The main queue stands still
  /// meanwhile, and other messages wait their turn. Ends the process if the host closes the
  /// line: the caller would otherwise store that the download was started, although it may not have
  /// been.
  std::expected<void, NSError> start(const std::string& session, const NSURLRequest& request) {
    if (std::this_thread::get_id() != mainThread_) {
      fatalError("NSURLSessionDownloadTask: resume is implemented for the main thread alone");
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

}  // namespace

void NSExtensionMain(std::vector<WidgetConfiguration> widgets) {
  struct stat status = {};
  if (::fstat(kHostSocket, &status) != 0 || !S_ISSOCK(status.st_mode)) {
    std::fputs("This is a widget extension; a widget host starts it (see glancery --help).\n",
               stderr);
    std::exit(2);
  }
  // Never destroyed, and never lost sight of: a delegate queue may still answer while the process
  // ends.
  static auto* const line = new HostLine();
  static auto* const service = new ExtensionService(
      std::move(widgets), [](const ExtensionMessage& message) { line->send(message); });
  WidgetCenter::shared().setHost([](const std::string& kind) {
    line->send({0, ReloadTimelines{kind}});
  });
  setBackgroundTransferStarter([](const std::string& session, const NSURLRequest& request) {
    return line->start(session, request);
  });
  while (const auto message = line->next()) {
    service->handle(*message);
  }
}

}  // namespace platform
