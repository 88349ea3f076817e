#include "platform/foundation/network/url_session.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>

#include "platform/support/require.h"

namespace platform {

namespace {

std::mutex sessionsMutex;

/// Never destroyed: the host may deliver results until the process ends.
std::map<std::string, NSURLSession*, std::less<>>& sessions() {
  static auto& all = *new std::map<std::string, NSURLSession*, std::less<>>;
  return all;
}

BackgroundTransferStarter& transferStarter() {
  static BackgroundTransferStarter starter;
  return starter;
}

}  // namespace

void setBackgroundTransferStarter(BackgroundTransferStarter starter) {
  transferStarter() = std::move(starter);
}

NSURLSession& NSURLSession::sessionWithConfiguration(const NSURLSessionConfiguration& configuration,
                                                     NSURLSessionDownloadDelegate& delegate,
                                                     std::nullptr_t) {
  if (configuration.identifier.empty()) {
    fatalError("a background session needs an identifier");
  }
  if (!configuration.sessionSendsLaunchEvents) {
    fatalError("a session whose results wait for the next launch is not implemented");
  }
  const std::scoped_lock lock(sessionsMutex);
  NSURLSession*& session = sessions()[configuration.identifier];
  if (session) {
    std::fprintf(stderr,
                 "A background session with the identifier %s exists already.\n",
                 configuration.identifier.c_str());
  } else {
    session = new NSURLSession(configuration, delegate);
  }
  return *session;
}

NSURLSession* NSURLSession::withIdentifier(std::string_view identifier) {
  const std::scoped_lock lock(sessionsMutex);
  const auto found = sessions().find(identifier);
  return found == sessions().end() ? nullptr : found->second;
}

std::shared_ptr<NSURLSessionDownloadTask> NSURLSession::downloadTaskWithRequest(
    NSURLRequest request) {
  if (!configuration_.sharedContainerIdentifier.starts_with("group.")) {
    fatalError("a task in an invalid session: its shared container names no app group (-995)");
  }
  return std::shared_ptr<NSURLSessionDownloadTask>(
      new NSURLSessionDownloadTask(*this, std::move(request)));
}

void NSURLSessionDownloadTask::resume() {
  if (!transferStarter()) {
    fatalError("NSURLSessionDownloadTask: this process has no host to download for it");
  }
  const std::string& session = session_.configuration().identifier;
  if (const auto started = transferStarter()(session, request_); !started) {
    session_.deliver(
        {.session = session, .url = request_.url().absoluteString(), .error = started.error()},
        [] {});
  }
}

void NSURLSession::deliver(FinishedDownload download, std::function<void()> done) {
  queue_.async([this, download = std::move(download), done = std::move(done)] {
    auto url = URL::fromString(download.url);
    NSURLSessionDownloadTask task(*this, NSURLRequest(require(std::move(url))));
    if (download.status) {
      task.response_ = std::make_unique<NSHTTPURLResponse>(*download.status);
    }
    if (!download.error) {
      delegate_.didFinishDownloadingToURL(*this, task, URL::fileURLWithPath(download.file));
      std::error_code ignored;  // The delegate may have removed or moved it.
      std::filesystem::remove(download.file, ignored);
    }
    delegate_.didCompleteWithError(*this, task, download.error);
    done();
  });
}

void NSURLSession::finishEvents(std::function<void()> done) {
  queue_.async([this, done = std::move(done)] {
    delegate_.didFinishEventsForBackgroundURLSession(*this);
    done();
  });
}

}  // namespace platform
