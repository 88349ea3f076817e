#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <expected>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <mutex>
#include <set>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "host/transfer/transfer_store.h"
#include "host/transfer/transfer_task.h"
#include "platform/foundation/time/device.h"
#include "platform/support/files.h"

namespace host {

/// How often a request is sent if its method is not idempotent.
inline constexpr int kMostSends = 3;

struct TransferSettings {
  /// Seconds since 1970; the machine's, also if the device's clock is set.
  std::function<double()> clock = [] { return platform::Clock().now().timeIntervalSince1970(); };
  /// Loaded for the first attempt: linking the network library would add two milliseconds to the
  /// start of every command.
  std::filesystem::path library = platform::programFolder() / "libglancery_transfer.so";
};

/// Carries out background transfers. A task is on the disk before `add` returns. It is attempted
/// until a server has answered or its time is over, and kept with its result until the result has
/// been delivered.
///
/// A complete answer of any status ends a task. After a failed connection, a lost one or a timeout
/// there is another attempt. Cancellation, an unsupported URL, an answer that can't be parsed and
/// the resource limit of seven days end a task with an error. A request whose method is not
/// idempotent is sent at most `kMostSends` times, then -1005 ends the task.
///
/// The database and the network library are opened when there is a task. Used by one thread; only
/// the disk and `step` block.
class TransferService {
 public:
  explicit TransferService(const std::filesystem::path& container, TransferSettings settings = {});
  ~TransferService();

  /// Adds a task and returns its id; the error names what is wrong with the request or the disk.
  std::expected<std::int64_t, std::string> add(const TransferRequest& request);

  /// Takes over the tasks of hosts that have ended, now and whenever another host ends.
  void adopt();
  /// Ends a pending task of any host with -999, or removes an ended one. False if there is no such
  /// task any more. If another host runs the task, it stops when this process ends.
  std::expected<bool, std::string> cancel(const TransferTask& task);

  /// Readable when `step` has something to do.
  int descriptor() const { return epoll_.get(); }
  /// Waits up to `longest` for something to do, and does it.
  void step(std::chrono::milliseconds longest = {});

  /// The tasks that have ended and are to be delivered, in the order in which they ended.
  std::vector<TransferTask> finished() const;
  /// How many tasks have not ended yet.
  std::size_t pending() const;
  /// How many attempts run, or have ended since the last `step`.
  std::size_t running() const { return running_.size(); }
  /// When `step` has something to do next, in seconds since 1970; infinity for never.
  double next() const;
  /// The task of this id, or null; valid until the next call that is not const.
  const TransferTask* find(std::int64_t id) const;

  /// A link to the body of a finished download, which the receiver may remove. The body stays, so
  /// that the result can be delivered again if this process ends first.
  std::expected<std::filesystem::path, std::string> handOver(std::int64_t id) const;
  /// Whether the receiver has removed that link.
  bool wasTaken(std::int64_t id) const;
  /// Removes a task that has ended, and its files.
  std::expected<void, std::string> markDelivered(std::int64_t id);
  /// Stores why the result can't be delivered. It is kept for a later host; `finished` no longer
  /// returns it.
  void markUndelivered(std::int64_t id, const std::string& why);

  /// Errors outside the calls (a damaged database, no network library, a full disk), a sentence
  /// each; every one is returned once.
  std::vector<std::string> takeReports() { return store_.takeReports(); }

 private:
  void refresh();
  void advance(double now);
  void start(TransferTask& task, double now);
  void stop(std::int64_t id);
  void work(const std::stop_token& over);
  void postpone(TransferTask& task, TransferOutcome outcome, double now);
  void end(TransferTask& task, TransferOutcome outcome, double now);
  void removeFiles(std::int64_t id);
  void armTimer(double now);
  template <class T>
  bool note(const std::expected<T, std::string>& done);

  TransferSettings settings_;
  TransferStore store_;
  TransferAttempt* attempt_ = nullptr;
  /// This host's tasks, as in the database.
  std::map<std::int64_t, TransferTask> tasks_;
  /// Stops the attempts that are queued, run or have ended without a written outcome.
  std::map<std::int64_t, std::stop_source> running_;
  /// Tasks that this host has failed to deliver.
  std::set<std::int64_t> undeliverable_;
  /// When to refresh without being notified; infinity for never.
  double refreshAt_ = std::numeric_limits<double>::infinity();
  platform::FileDescriptor epoll_;
  platform::FileDescriptor timer_;
  std::string lastReport_;

  struct Job {
    TransferTask task;
    platform::FileDescriptor body;
    std::stop_token stop;
  };
  // Attempts run on threads that are kept for later attempts, with their connections. Each
  // announces the end of an attempt at `arrived_`.
  std::mutex mutex_;
  std::condition_variable_any queued_;
  std::deque<Job> jobs_;
  std::map<std::int64_t, AttemptEnd> arrivals_;
  platform::FileDescriptor arrived_;
  std::vector<std::jthread> workers_;
};

}  // namespace host
