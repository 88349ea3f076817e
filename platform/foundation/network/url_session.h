#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/dispatch/dispatch_queue.h"
#include "platform/foundation/data/error.h"
#include "platform/foundation/network/url.h"
#include "platform/foundation/network/url_error.h"
#include "platform/foundation/network/url_request.h"

// Background downloads: the extension hands a request to the host and may then exit. The host runs
// the download and delivers the result to this process or to a later one.

namespace platform {

class NSURLSession;
class NSURLSessionDownloadTask;

/// A server's response. Only HTTP responses carry more.
class NSURLResponse {
 public:
  virtual ~NSURLResponse() = default;
};

class NSHTTPURLResponse : public NSURLResponse {
 public:
  explicit NSHTTPURLResponse(std::int64_t statusCode) : statusCode_(statusCode) {}
  std::int64_t statusCode() const { return statusCode_; }

 private:
  std::int64_t statusCode_;
};

/// Called on the session's delegate queue, one call at a time.
class NSURLSessionDownloadDelegate {
 public:
  virtual ~NSURLSessionDownloadDelegate() = default;

  /// `location` is a temporary file with the body. It is removed after this call.
  virtual void didFinishDownloadingToURL(NSURLSession& session,
                                         NSURLSessionDownloadTask& task,
                                         const URL& location) = 0;
  /// The task has ended. `error` is absent after a finished download.
  virtual void didCompleteWithError(NSURLSession& session,
                                    NSURLSessionDownloadTask& task,
                                    const std::optional<NSError>& error) = 0;
  /// All events that were pending at the launch of this process have been delivered.
  virtual void didFinishEventsForBackgroundURLSession(NSURLSession& session) = 0;
};

struct NSURLSessionConfiguration {
  std::string identifier;
  /// The app group in whose container the session keeps its downloads. Creating a task in a session
  /// without one stops the process.
  std::string sharedContainerIdentifier = {};
  /// Whether results launch the extension. Creating a session without that is not implemented and
  /// stops the process.
  bool sessionSendsLaunchEvents = true;

  static NSURLSessionConfiguration backgroundSessionConfigurationWithIdentifier(
      std::string identifier) {
    return {std::move(identifier)};
  }
  void setSharedContainerIdentifier(std::string container) {
    sharedContainerIdentifier = std::move(container);
  }
  void setSessionSendsLaunchEvents(bool sends) { sessionSendsLaunchEvents = sends; }
};

/// One download.
class NSURLSessionDownloadTask {
 public:
  /// Hands the request to the host and returns once the host has it on disk. Main thread only. If
  /// the host refuses, the delegate receives the error; without a host the process ends.
  void resume();

  const NSURLResponse* response() const { return response_.get(); }

 private:
  friend class NSURLSession;
  NSURLSessionDownloadTask(NSURLSession& session, NSURLRequest request)
      : session_(session), request_(std::move(request)) {}

  NSURLSession& session_;
  NSURLRequest request_;
  std::unique_ptr<NSURLResponse> response_;
};

/// The host's report of a download that has ended.
struct FinishedDownload {
  /// The session's identifier.
  std::string session;
  /// The request's URL before redirects.
  std::string url;
  /// The temporary file with the body; empty if an error ended the task.
  std::string file = {};
  /// The status of the HTTP response, if there was one.
  std::optional<std::int64_t> status = {};
  std::optional<NSError> error = {};
  friend bool operator==(const FinishedDownload&, const FinishedDownload&) = default;
};

/// A background session: its downloads outlive this process.
///
/// Exists until the process ends. Creating a second session with the same identifier returns the
/// first and prints a warning.
class NSURLSession {
 public:
  /// The session creates a serial delegate queue; other queues are not implemented. `delegate` must
  /// live until the process ends.
  static NSURLSession& sessionWithConfiguration(const NSURLSessionConfiguration& configuration,
                                                NSURLSessionDownloadDelegate& delegate,
                                                std::nullptr_t delegateQueue);
  /// The session with that identifier, or null.
  static NSURLSession* withIdentifier(std::string_view identifier);

  std::shared_ptr<NSURLSessionDownloadTask> downloadTaskWithRequest(NSURLRequest request);
  const NSURLSessionConfiguration& configuration() const { return configuration_; }

  /// On the delegate queue: passes a result to the delegate in the platform's order, removes the
  /// temporary file if the delegate has not, and calls `done`.
  void deliver(FinishedDownload download, std::function<void()> done);
  /// On the delegate queue: notifies the delegate that all pending events were delivered, and calls
  /// `done`.
  void finishEvents(std::function<void()> done);

 private:
  NSURLSession(NSURLSessionConfiguration configuration, NSURLSessionDownloadDelegate& delegate)
      : configuration_(std::move(configuration)), delegate_(delegate) {}

  NSURLSessionConfiguration configuration_;
  NSURLSessionDownloadDelegate& delegate_;
  DispatchQueue queue_{"urlsession"};
};

/// Passes a request to the host: takes the session's identifier and returns once the host has
/// answered; the error is the host's. Set by the extension's main or by a test.
using BackgroundTransferStarter =
    std::function<std::expected<void, NSError>(const std::string& session, const NSURLRequest&)>;
void setBackgroundTransferStarter(BackgroundTransferStarter starter);

}  // namespace platform
