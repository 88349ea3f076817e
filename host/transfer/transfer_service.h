#pragma once

#include <chrono>
#include <expected>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "host/transfer/transfer_engine.h"
#include "host/transfer/transfer_store.h"
#include "host/transfer/transfer_task.h"

namespace host {

/// Seconds since 1970 by the machine's clock.
double systemSeconds();

struct TransferSettings {
  std::function<double()> clock = systemSeconds;
  TransferEngineFactory engine = [] { return loadTransferEngine(); };
  /// Attempts under way at once.
  std::size_t parallel = 8;
  /// Seconds after which a task ends, however often it has been tried.
  double resourceLimit = 7.0 * 24 * 60 * 60;
  /// Seconds between two looks for what hosts that are gone have left; infinity: only `adopt`
  /// looks.
  double adoptEvery = 10;
};

/// How long a task that failed that many times waits for its next attempt, in seconds: twice as
/// long each time, up to a quarter of an hour.
double pauseAfter(int attempts);

/// Carries out background transfers: a task is on the disk before `add` returns, is tried until a
/// server has answered it or its time is over, and stays with its result until that is delivered.
///
/// A whole answer of any status ends a task. Offline, a server that is not there, a lost connection
/// and silence are waited out; cancelling, an address that no transfer can reach, nonsense for an
/// answer and the resource limit end a task with an error.
///
/// The network library is loaded when the first task is due. Used by one thread; nothing blocks but
/// `add`, for the disk, and `step`, as long as it is told to.
class TransferService {
 public:
  explicit TransferService(const std::filesystem::path& container, TransferSettings settings = {});
  ~TransferService();

  /// Adds a task and answers its id; the error says what is wrong with the request or the disk.
  std::expected<std::string, std::string> add(const TransferRequest& request);
  /// Adds several at the cost of little more than one; all or none.
  std::expected<std::vector<std::string>, std::string> add(
      std::span<const TransferRequest> requests);

  /// Ends a pending task with the platform's -999; false if there is none of that id.
  bool cancel(const std::string& id);

  /// Takes over what hosts that are gone have left, pending tasks and undelivered results alike.
  /// `step` does so as well, now and then, unless told otherwise.
  void adopt();

  /// Readable when `step` has something to do.
  int descriptor() const { return epoll_.get(); }
  /// Waits up to `longest` for something to do and does it.
  void step(std::chrono::milliseconds longest = {});

  /// The tasks that have ended and are not delivered yet, in the order in which they ended. The
  /// pointers hold until the next call of anything else.
  std::vector<const TransferTask*> finished() const;
  /// How many tasks have not ended yet.
  std::size_t pending() const { return tasks_.size() - finished_.size(); }
  const TransferTask* find(const std::string& id) const;

  /// The body of a finished download.
  std::filesystem::path bodyOf(const std::string& id) const { return store_.bodyOf(id); }
  /// Forgets a task that has ended. Its body is removed now, or where others are under way once
  /// they are not.
  std::expected<void, std::string> markDelivered(const std::string& id);

  /// What went wrong beside the calls (damaged files, no network library, a full disk), a sentence
  /// each; handed out once.
  std::vector<std::string> takeReports();

 private:
  void take(TransferTask task);
  bool startDue(double now);
  bool stepEngine(double now);
  void lookAround(double now);
  void handle(AttemptEnd end, double now);
  void retry(TransferTask& task, platform::NSError why, double now);
  void finish(TransferTask& task, TransferOutcome outcome);
  void keepOutcomes();
  void unschedule(const TransferTask& task);
  void removeBodies();
  bool openEngine();
  void armTimer(double now);
  void note(const std::expected<void, std::string>& done);

  TransferSettings settings_;
  std::filesystem::path transfers_;
  TransferStore store_;
  std::unique_ptr<TransferEngine> engine_;
  bool engineFailed_ = false;
  std::map<std::string, TransferTask> tasks_;
  /// Pending tasks that are not under way, by the moment of their next attempt.
  std::set<std::pair<double, std::string>> waiting_;
  std::unordered_set<std::string> running_;
  std::map<std::int64_t, std::string> finished_;
  /// Tasks whose outcomes are not on the disk yet; they are before anyone hears of them.
  std::vector<const TransferTask*> ended_;
  /// Tasks whose bodies are to be removed.
  std::vector<std::string> delivered_;
  std::int64_t lastOrder_ = 0;
  double lastLook_ = 0;
  double lastAdoption_ = 0;
  FileDescriptor epoll_;
  FileDescriptor timer_;
  std::vector<std::string> reports_;
};

}  // namespace host
