#pragma once

#include <chrono>
#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "host/transfer/transfer_service.h"
#include "platform/widgetkit/extension_protocol.h"

namespace host {

class WidgetHost;

/// The extension's downloads: stores its requests, and delivers results to it, with new launches if
/// it ends meanwhile. Failures are `HostError`s. Used by one thread.
class DownloadDelivery {
 public:
  /// `host` must outlive this object. Nothing is opened before the first use.
  explicit DownloadDelivery(WidgetHost& host) : host_(host) {}

  /// Stores a download on the disk; the error refuses it.
  std::expected<void, platform::NSError> add(const platform::StartDownload& start);
  /// Called for a new launch of the extension, which has started no session yet.
  void forgetSessions();

  /// Runs all downloads, also those of hosts that have ended, and delivers every result. If some
  /// are left after `longest`, the error says why. Calls `reloaded` after each delivery if the
  /// extension asks to reload the widgets of `kind`; that may start more downloads.
  void settle(const std::string& kind,
              std::chrono::seconds longest,
              const std::function<void()>& reloaded);

  // For hosts that keep running.
  /// Takes over the downloads of hosts that have ended, now and later.
  void adopt() { transfers().adopt(); }
  /// Readable when `step` has something to do.
  int descriptor() { return transfers().descriptor(); }
  /// Waits up to `longest` for something to do, and does it.
  void step(std::chrono::milliseconds longest = {});
  /// Delivers every result. One that no widget takes is set aside with the reason, and reported.
  void deliver();
  std::size_t pending() { return transfers().pending(); }
  /// Waits until no attempt runs, and delivers every result.
  void complete();
  /// When a pending download is tried again, if there is one.
  std::optional<platform::Date> nextAttempt();
  /// Why the pending ones have not ended yet: the error of the last attempt.
  std::string waitingFor() const;
  /// Whether an extension has ended that may have stored a result, but not asked for its reload.
  bool takeReloadsLost() { return std::exchange(reloadsLost_, false); }

 private:
  TransferService& transfers();
  /// A result that ends several launches in a row is replaced by an error, so that the results
  /// behind it are delivered.
  void deliverFinished();
  /// Tells the sessions that all events were delivered. Afterwards the extension has asked for its
  /// reloads.
  void finish(const std::set<std::string>& sessions);
  /// False if no widget takes the result, which is then set aside.
  bool deliverOne(const TransferTask& task, bool withBody);
  bool wasTaken(const TransferTask& task);

  WidgetHost& host_;
  std::unique_ptr<TransferService> transfers_;
  /// Sessions whose results this launch of the extension expects.
  std::set<std::string> openSessions_;
  /// Those that were opened by a `BackgroundEvents` whose `FinishEvents` is still to be sent.
  std::set<std::string> announcedSessions_;
  bool reloadsLost_ = false;
};

}  // namespace host
