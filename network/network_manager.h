#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/foundation/network/url_request.h"
#include "platform/foundation/network/url_session.h"

namespace glancery {

/// The members of the server's response; a member that is not a string is absent.
struct AffirmationResponse {
  std::optional<std::string> text = {};
  std::optional<std::string> color = {};
};

/// The extension's only network client: starts the download of an affirmation and, in this launch
/// or a later one, stores the result and reloads the widget.
///
/// `fetchAffirmation` runs on the main thread, the delegate callbacks on the session's queue,
/// reloads and the completion handler on the main queue. No failure reaches a caller: each is
/// logged and ends in `cleanupAndComplete`.
class NetworkManager final : public platform::NSURLSessionDownloadDelegate {
 public:
  /// The client of this process, created at the first use and never destroyed. Its creation also
  /// connects a relaunched extension to the downloads that an earlier launch started.
  static NetworkManager& shared();

  /// Starts a new download, even if others are running.
  void fetchAffirmation();

  void didFinishDownloadingToURL(platform::NSURLSession& session,
                                 platform::NSURLSessionDownloadTask& task,
                                 const platform::URL& location) override;
  void didCompleteWithError(platform::NSURLSession& session,
                            platform::NSURLSessionDownloadTask& task,
                            const std::optional<platform::NSError>& error) override;
  void didFinishEventsForBackgroundURLSession(platform::NSURLSession& session) override;

  AffirmationResponse parseAffirmationResponse(const platform::Data& bytes) const;
  void saveAffirmation(const std::string& text, const std::string& color) const;

 private:
  struct Configuration {
    std::string baseUrl;
    std::string apiKey;
  };

  NetworkManager();

  std::optional<Configuration> readConfiguration() const;

  void handleDownloadedFile(const platform::NSURLSessionDownloadTask& task,
                            const platform::URL& location);
  void logErrorBody(std::int64_t status, const platform::URL& location) const;
  void receive(const platform::URL& location) const;
  void cleanupAndComplete(const std::optional<platform::URL>& location);
  void completeBackgroundEventsOnMainQueue();
  void completeBackgroundEvents();

  platform::NSURLSession* urlSession_ = nullptr;

 public:
  /// The platform's callback for the end of the background events that it launched the extension
  /// for.
  std::function<void()> backgroundCompletionHandler = {};

 private:
  std::string userDefaultsSuiteName_;
  std::string userDefaultsUidKey_;
  std::string affirmationDataKey_;
  std::string backgroundSessionIdentifier_;
};

}  // namespace glancery
