#include <algorithm>
#include <map>
#include <utility>

#include "host/phone/command_error.h"
#include "host/phone/widget_host.h"
#include "host/transfer/transfer_store.h"
#include "platform/foundation/network/url_error.h"

// The half of the host that downloads for its extension: the phone keeps the transfers, whatever
// becomes of the extension, and wakes it when there are results.

namespace host {

using namespace platform;

namespace {

/// How many launches of the extension may end over a result before it is told of a failure instead.
constexpr int kLaunches = 3;
/// How long one wait for the network may last before the time left is looked at.
constexpr auto kLongestStep = std::chrono::milliseconds(250);

std::string stillWaiting(std::size_t pending, const std::string& why) {
  return (pending == 1 ? "a download is still waiting: "
                       : std::to_string(pending) + " downloads are still waiting: ") +
         why + " (see glancery downloads)";
}

}  // namespace

TransferService& WidgetHost::transfers() {
  if (!transfers_) {
    transfers_ = std::make_unique<TransferService>(settings_.container, transferSettings_);
  }
  return *transfers_;
}

std::expected<void, NSError> WidgetHost::takeDownload(const StartDownload& start) {
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

void WidgetHost::changeLocale() {
  ask<Done>(LocaleChanged());
}

void WidgetHost::settleDownloads(const std::string& kind,
                                 std::chrono::seconds longest,
                                 const std::function<void()>& reloaded) {
  const auto deadline = std::chrono::steady_clock::now() + longest;
  transfers().adopt();
  while (transfers().pending() > 0 || !transfers().finished().empty()) {
    waitForTransfers(deadline);
    deliverFinished();
    if (reloadRequests_.erase(kind) > 0 || std::exchange(reloadsLost_, false)) {
      try {
        reloaded();
      } catch (const ExtensionEnded& ended) {
        report_(ended.what());
        startExtension();
        reloaded();
      }
    }
  }
}

void WidgetHost::waitForTransfers(std::chrono::steady_clock::time_point deadline) {
  while (transfers().finished().empty() && transfers().pending() > 0) {
    if (std::chrono::steady_clock::now() >= deadline) {
      throw CommandError(stillWaiting(transfers().pending(), downloadsWaitFor()));
    }
    transfers().step(kLongestStep);
    reportTransfers();
  }
}

std::string WidgetHost::downloadsWaitFor() const {
  const auto tasks = listTransfers(settings_.container).tasks;
  const auto tried = std::ranges::find_if(
      tasks, [](const TransferTask& task) { return task.ended == 0 && task.outcome.error; });
  return tried == tasks.end() ? "there is no answer yet"
                              : tried->outcome.error->localizedDescription;
}

void WidgetHost::reportTransfers() {
  for (const std::string& report : transfers().takeReports()) {
    report_(report);
  }
}

void WidgetHost::stepDownloads() {
  transfers().step();
  reportTransfers();
}

void WidgetHost::deliverDownloads() {
  if (!transfers().finished().empty()) {
    ensureExtension();
    deliverFinished();
  }
}

void WidgetHost::deliverFinished() {
  std::map<std::int64_t, int> ends;
  for (std::int64_t given = 0;;) {
    std::set<std::string> sessions;
    try {
      while (!transfers().finished().empty()) {
        const TransferTask task = transfers().finished().front();
        given = task.id;
        const bool taken = ends[given] > 0 && wasTaken(task);
        if (!taken && !deliver(task, ends[given] < kLaunches)) {
          continue;
        }
        if (!taken) {
          sessions.insert(task.request.session);
        }
        forget(task);
      }
      given = 0;
      finishDelivery(sessions);
      return;
    } catch (const ExtensionEnded& ended) {
      // What it was given and did not confirm is given to the next launch once more.
      if (++ends[given] > kLaunches) {
        throw;
      }
      report_(ended.what());
      // It may have stored a result, and ended before it could ask for the reload.
      const TransferTask* task = transfers().find(given);
      reloadsLost_ = reloadsLost_ || !sessions.empty() || (task && wasTaken(*task));
      startExtension();
    }
  }
}

// Only a session that was announced to this launch is told that its events are over. Either way the
// extension has asked for its reloads when this returns.
void WidgetHost::finishDelivery(const std::set<std::string>& sessions) {
  for (const std::string& session : sessions) {
    if (announcedSessions_.erase(session) > 0) {
      ask<Done>(FinishEvents{session});
    } else {
      ask<Done>(AwaitMainQueue());
    }
  }
}

bool WidgetHost::deliver(const TransferTask& task, bool withBody) {
  const auto& [error, status, size] = task.outcome;
  FinishedDownload download = {
      .session = task.request.session, .url = task.request.url, .status = status, .error = error};
  if (!error && withBody) {
    const auto file = transfers().handOver(task.id);
    if (!file) {
      throw CommandError(file.error());
    }
    download.file = *file;
  } else if (!error) {
    report_("the extension ended over the download " + std::to_string(task.id) +
            " again and again: it receives an error instead");
    download.error = urlError(URLErrorCode::unknown);
  }
  try {
    // A launch that did not start the download is told first what it was woken for.
    if (openSessions_.insert(download.session).second) {
      announcedSessions_.insert(download.session);
      ask<Done>(BackgroundEvents{download.session});
    }
    ask<Done>(DeliverDownload{std::move(download)});
  } catch (const ExtensionEnded&) {
    throw;
  } catch (const CommandError& refused) {
    openSessions_.erase(task.request.session);
    announcedSessions_.erase(task.request.session);
    transfers().markUndelivered(task.id, refused.what());
    report_("the download " + std::to_string(task.id) + " can't be delivered: " + refused.what() +
            " (see glancery downloads)");
    return false;
  }
  return true;
}

// The receiver removes the file when it is done with it.
bool WidgetHost::wasTaken(const TransferTask& task) {
  return !task.outcome.error && transfers().wasTaken(task.id);
}

void WidgetHost::forget(const TransferTask& task) {
  if (const auto done = transfers().markDelivered(task.id); !done) {
    throw CommandError(done.error());
  }
}

}  // namespace host
