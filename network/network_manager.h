#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/foundation/network/url_request.h"
#include "platform/foundation/network/url_session.h"

namespace glancery {

/// What the server's answer held; each absent where it was not there as a string.
struct AffirmationResponse {
  std::optional<std::string> text = {};
  std::optional<std::string> color = {};
  friend bool operator==(const AffirmationResponse&, const AffirmationResponse&) = default;
};

/// The extension's only client of the network: starts the download of today's affirmation, and, in
/// this launch or a later one, stores what came and has the widget reloaded.
///
/// `fetchAffirmation` runs on the main thread; the delegate callbacks run on the session's queue;
/// reloads and the completion handler always run on the main queue. No failure reaches a caller:
/// every path says so in the log and ends in `cleanupAndComplete`.
class NetworkManager final : public platform::NSURLSessionDownloadDelegate {
 public:
  /// The process's one client, made at its first use and never released. Making it is also how a
  /// relaunched extension reconnects to the downloads that an earlier launch started.
  static NetworkManager& shared();

  /// Starts a new download, whatever others are under way.
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
  /// What the platform wants called once the events it woke the extension for are dealt with.
  std::function<void()> backgroundCompletionHandler = {};

 private:
  std::string userDefaultsSuiteName_;
  std::string userDefaultsUidKey_;
  std::string affirmationDataKey_;
  std::string backgroundSessionIdentifier_;
};

}  // namespace glancery
