#include "host/phone/download_delivery.h"

#include <algorithm>
#include <map>

#include "host/phone/widget_host.h"
#include "host/transfer/transfer_store.h"
#include "platform/foundation/network/url_error.h"

namespace host {

using namespace platform;

namespace {

/// How many launches of the extension may end during the delivery of one result.
constexpr int kLaunches = 3;
constexpr auto kLongestStep = std::chrono::milliseconds(250);

}  // namespace

TransferService& DownloadDelivery::transfers() {
  if (!transfers_) {
    TransferSettings settings;
    if (host_.settings().simulated) {
      settings.clock = [] { return Date::now().timeIntervalSince1970(); };
    }
    transfers_ = std::make_unique<TransferService>(host_.settings().container, settings);
  }
  return *transfers_;
}

std::expected<void, NSError> DownloadDelivery::add(const StartDownload& start) {
  const auto id = transfers().add({.session = start.session,
                                   .url = start.url,
                                   .method = start.method,
                                   .headers = start.headers,
                                   .body = start.body.bytes,
                                   .timeout = start.timeout});
  if (!id) {
    return std::unexpected(NSError{NSURLErrorDomain, -1, id.error()});
  }
  openSessions_.insert(start.session);
  return {};
}

void DownloadDelivery::forgetSessions() {
  openSessions_.clear();
  announcedSessions_.clear();
}

void DownloadDelivery::settle(const std::string& kind,
                              std::chrono::seconds longest,
                              const std::function<void()>& reloaded) {
  const auto deadline = std::chrono::steady_clock::now() + longest;
  adopt();
  while (pending() > 0 || !transfers().finished().empty()) {
    while (transfers().finished().empty() && pending() > 0) {
      if (std::chrono::steady_clock::now() >= deadline) {
        throw HostError((pending() == 1
                             ? "a download is still waiting: "
                             : std::to_string(pending()) + " downloads are still waiting: ") +
                        waitingFor());
      }
      step(kLongestStep);
    }
    deliverFinished();
    const bool asked = host_.takeReloadRequest(kind);
    if (takeReloadsLost() || asked) {
      try {
        reloaded();
      } catch (const ExtensionEnded& ended) {
        host_.report(ended.what());
        host_.startExtension();
        reloaded();
      }
    }
  }
}

std::string DownloadDelivery::waitingFor() const {
  const auto tasks = listTransfers(host_.settings().container).tasks;
  const auto tried = std::ranges::find_if(
      tasks, [](const TransferTask& task) { return task.ended == 0 && task.outcome.error; });
  return tried == tasks.end() ? "there is no answer yet"
                              : tried->outcome.error->localizedDescription;
}

void DownloadDelivery::step(std::chrono::milliseconds longest) {
  transfers().step(longest);
  for (const std::string& report : transfers().takeReports()) {
    host_.report(report);
  }
}

void DownloadDelivery::deliver() {
  if (!transfers().finished().empty()) {
    host_.ensureExtension();
    deliverFinished();
  }
}

void DownloadDelivery::complete() {
  step();
  while (transfers().running() > 0 || !transfers().finished().empty()) {
    step(kLongestStep);
    deliver();
  }
}

std::optional<Date> DownloadDelivery::nextAttempt() {
  const double next = transfers().next();
  return pending() > 0 ? std::optional(Date::since1970(next)) : std::nullopt;
}

void DownloadDelivery::deliverFinished() {
  std::map<std::int64_t, int> ends;
  for (std::int64_t current = 0;;) {
    std::set<std::string> sessions;
    try {
      while (!transfers().finished().empty()) {
        const TransferTask task = transfers().finished().front();
        current = task.id;
        if (ends[current] == 0 || !wasTaken(task)) {
          if (!deliverOne(task, ends[current] < kLaunches)) {
            continue;
          }
          sessions.insert(task.request.session);
        }
        if (const auto done = transfers().markDelivered(current); !done) {
          throw HostError(done.error());
        }
      }
      current = 0;
      finish(sessions);
      return;
    } catch (const ExtensionEnded& ended) {
      if (++ends[current] > kLaunches) {
        throw;
      }
      host_.report(ended.what());
      const TransferTask* task = transfers().find(current);
      reloadsLost_ = reloadsLost_ || !sessions.empty() || (task && wasTaken(*task));
      host_.startExtension();
    }
  }
}

void DownloadDelivery::finish(const std::set<std::string>& sessions) {
  for (const std::string& session : sessions) {
    if (announcedSessions_.erase(session) > 0) {
      host_.tell(FinishEvents{session});
    } else {
      host_.tell(AwaitMainQueue());
    }
  }
}

bool DownloadDelivery::deliverOne(const TransferTask& task, bool withBody) {
  const auto& [error, status, size] = task.outcome;
  const std::string name = "the download " + std::to_string(task.id);
  FinishedDownload download = {
      .session = task.request.session, .url = task.request.url, .status = status, .error = error};
  if (!error && withBody) {
    const auto file = transfers().handOver(task.id);
    if (!file) {
      throw HostError(file.error());
    }
    download.file = *file;
  } else if (!error) {
    host_.report(name + " has ended the extension repeatedly: it is delivered as an error");
    download.error = urlError(URLErrorCode::unknown);
  }
  try {
    if (openSessions_.insert(download.session).second) {
      announcedSessions_.insert(download.session);
      host_.tell(BackgroundEvents{download.session});
    }
    host_.tell(DeliverDownload{std::move(download)});
  } catch (const ExtensionEnded&) {
    throw;
  } catch (const HostError& refused) {
    openSessions_.erase(task.request.session);
    announcedSessions_.erase(task.request.session);
    transfers().markUndelivered(task.id, refused.what());
    host_.report(name + " can't be delivered: " + refused.what());
    return false;
  }
  return true;
}

// The receiver removes the file when it is done with it.
bool DownloadDelivery::wasTaken(const TransferTask& task) {
  return !task.outcome.error && transfers().wasTaken(task.id);
}

}  // namespace host
