#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/foundation/data/error.h"
#include "platform/foundation/network/url.h"
#include "platform/foundation/network/url_error.h"
#include "platform/foundation/network/url_request.h"

// Background downloads: the extension hands a request over and may then die; the host carries it
// out and brings the result to this process or to a later one.

namespace platform {

class NSURLSession;
class NSURLSessionDownloadTask;

/// What a server answered; of another kind than HTTP it says nothing more.
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

/// Is called back on the session's delegate queue, one call at a time.
class NSURLSessionDownloadDelegate {
 public:
  virtual ~NSURLSessionDownloadDelegate() = default;

  /// The body lies in a temporary file, which is gone once this returns.
  virtual void didFinishDownloadingToURL(NSURLSession& session,
                                         NSURLSessionDownloadTask& task,
                                         const URL& location) = 0;
  /// The task is over, with what ended it or, after a finished download, with no error.
  virtual void didCompleteWithError(NSURLSession& session,
                                    NSURLSessionDownloadTask& task,
                                    const std::optional<NSError>& error) = 0;
  /// Every event that waited for this process has been delivered.
  virtual void didFinishEventsForBackgroundURLSession(NSURLSession& session) = 0;
};

struct NSURLSessionConfiguration {
  std::string identifier;
  /// The app group in whose container the session keeps its downloads. Without one, an extension's
  /// session is invalid, and making a task in it stops the process.
  std::string sharedContainerIdentifier = {};
  /// Whether results launch the extension. A session without is not implemented: making it stops
  /// the process.
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

/// One download. Known to its session until it is over.
class NSURLSessionDownloadTask {
 public:
  /// Hands the request to the host and returns once the host has it on its disk; only the main
  /// thread may. A host that refuses ends the task with the reason, by way of the delegate; without
  /// a host the process ends.
  void resume();

  const NSURLResponse* response() const { return response_.get(); }
  const NSURLRequest& originalRequest() const { return request_; }

 private:
  friend class NSURLSession;
  NSURLSessionDownloadTask(NSURLSession& session, NSURLRequest request)
      : session_(session), request_(std::move(request)) {}

  NSURLSession& session_;
  NSURLRequest request_;
  std::unique_ptr<NSURLResponse> response_;
};

/// What a host tells of a download that is over.
struct FinishedDownload {
  /// The session's identifier.
  std::string session;
  /// Where the request went at first.
  std::string url;
  /// The temporary file with the body; empty where an error ended the task.
  std::string file = {};
  /// The status of an HTTP answer, if there was one.
  std::optional<std::int64_t> status = {};
  std::optional<NSError> error = {};
  friend bool operator==(const FinishedDownload&, const FinishedDownload&) = default;
};

/// A background session: its downloads go on while this process does not.
///
/// Lives from its creation to the end of the process; a second one with a live identifier is the
/// first, with a warning.
class NSURLSession {
 public:
  /// Without a queue (the only choice here) the session makes a serial one of its own. `delegate`
  /// must live as long as the process.
  static NSURLSession& sessionWithConfiguration(const NSURLSessionConfiguration& configuration,
                                                NSURLSessionDownloadDelegate& delegate,
                                                std::nullptr_t delegateQueue);
  /// The live session of that identifier, or null.
  static NSURLSession* withIdentifier(std::string_view identifier);

  std::shared_ptr<NSURLSessionDownloadTask> downloadTaskWithRequest(NSURLRequest request);
  const NSURLSessionConfiguration& configuration() const;

  /// Brings a result to the delegate, in the platform's order, then calls `done`, all on the
  /// delegate queue. The temporary file is removed if the delegate left it.
  void deliver(FinishedDownload download, std::function<void()> done);
  /// Tells the delegate that every waiting event was delivered, then calls `done`, likewise.
  void finishEvents(std::function<void()> done);

 private:
  NSURLSession(const NSURLSessionConfiguration& configuration,
               NSURLSessionDownloadDelegate& delegate);
  ~NSURLSession() = default;

  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// How requests reach the host: takes the session's identifier, returns once the host answered for
/// the request; the error is the host's. Set by the extension's main, or by a test.
using BackgroundTransferStarter =
    std::function<std::expected<void, NSError>(const std::string& session, const NSURLRequest&)>;
void setBackgroundTransferStarter(BackgroundTransferStarter starter);

}  // namespace platform
