#include "host/transfer/transfer_service.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/foundation/network/url_error.h"
#include "platform/support/files.h"
#include "platform/support/module_library.h"
#include "platform/support/timespec_of.h"

namespace host {

namespace {

using platform::urlError;
using enum platform::URLErrorCode;

constexpr std::size_t kParallel = 8;
constexpr double kResourceLimit = 7.0 * 24 * 60 * 60;
constexpr double kLongestPause = 15 * 60;
constexpr double kNever = std::numeric_limits<double>::infinity();
/// A limit for the timer, whose range is smaller than that of an instant.
constexpr double kLongestSleep = 60 * 60;
constexpr double kDiskRetryDelay = 1;
/// The system closes the files of a process that ends before it releases its locks.
constexpr double kLockReleaseDelay = 0.05;
/// With less free space on the disk, nothing is sent.
constexpr std::uintmax_t kLeastFreeBytes = 1 << 20;

/// In seconds; twice as long after each failed attempt.
double pauseAfter(int attempts) {
  return std::min(kLongestPause, std::ldexp(1.0, std::clamp(attempts - 1, 0, 20)));
}

void watch(const platform::FileDescriptor& epoll, int descriptor) {
  epoll_event event = {.events = EPOLLIN, .data = {}};
  ::epoll_ctl(epoll.get(), EPOLL_CTL_ADD, descriptor, &event);
}

}  // namespace

TransferService::TransferService(const std::filesystem::path& container, TransferSettings settings)
    : settings_(std::move(settings)),
      store_(container),
      epoll_(::epoll_create1(EPOLL_CLOEXEC)),
      timer_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      arrived_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  watch(epoll_, timer_.get());
  watch(epoll_, arrived_.get());
  watch(epoll_, store_.hosts().descriptor());
}

TransferService::~TransferService() {
  for (auto& [id, source] : running_) {
    source.request_stop();
  }
}

std::expected<std::int64_t, std::string> TransferService::add(const TransferRequest& request) {
  if (auto checked = checkRequest(request); !checked) {
    return std::unexpected(checked.error());
  }
  const double now = settings_.clock();
  const auto id = store_.add(request, now);
  if (id) {
    tasks_[*id] = {.id = *id, .request = request, .created = now};
    armTimer(now);
  }
  return id;
}

void TransferService::adopt() {
  refresh();
  armTimer(settings_.clock());
}

std::expected<bool, std::string> TransferService::cancel(const TransferTask& task) {
  TransferTask cancelledTask = {.id = task.id, .outcome = {.error = urlError(cancelled)}};
  const auto done = task.ended == 0 ? store_.end(cancelledTask) : store_.remove(task.id);
  adopt();
  return done;
}

/// Reads this host's tasks again: other processes may have left, cancelled or removed tasks.
void TransferService::refresh() {
  const double now = settings_.clock();
  refreshAt_ = kNever;
  auto claimed = store_.claim();
  if (!note(claimed)) {
    refreshAt_ = now + kDiskRetryDelay;
    return;
  }
  tasks_.clear();
  for (TransferTask& task : *claimed) {
    tasks_[task.id] = std::move(task);
  }
  for (const auto& [id, source] : std::map(running_)) {
    if (const TransferTask* task = find(id); !task || task->ended != 0) {
      stop(id);
    }
  }
}

void TransferService::step(std::chrono::milliseconds longest) {
  pollfd wanted = {epoll_.get(), POLLIN, 0};
  if (longest.count() != 0) {
    ::poll(&wanted, 1, static_cast<int>(longest.count()));
  }
  std::uint64_t ignored = 0;
  (void)!::read(timer_.get(), &ignored, sizeof ignored);
  (void)!::read(arrived_.get(), &ignored, sizeof ignored);
  const double now = settings_.clock();
  const bool notified = store_.hosts().takeChange();
  if (notified || refreshAt_ <= now || store_.hasMoved()) {
    refresh();
    if (notified) {
      refreshAt_ = std::min(refreshAt_, now + kLockReleaseDelay);
    }
  }
  std::unique_lock lock(mutex_);
  const auto arrivals = arrivals_;
  lock.unlock();
  for (const auto& [id, attempt] : arrivals) {
    TransferTask& task = tasks_.at(id);
    if (attempt.kind == AttemptEnd::Kind::lost) {
      task.sends -= attempt.sent ? 0 : 1;
      postpone(task, attempt.outcome, now);
    } else {
      end(task, attempt.outcome, now);
    }
  }
  advance(now);
  armTimer(now);
}

void TransferService::advance(double now) {
  for (auto& [id, task] : tasks_) {
    // If the clock was set back, `next` is too far away.
    task.next = std::min(task.next, now + pauseAfter(task.attempts));
    const bool mayBeSent = isIdempotent(task.request.method) || task.sends < kMostSends;
    if (task.ended != 0) {
      continue;
    }
    if (now >= task.created + kResourceLimit) {
      end(task, {.error = urlError(timedOut)}, now);
    } else if (running_.contains(id) || (mayBeSent && task.next > now)) {
      continue;
    } else if (!isTransferable(task.request.url)) {
      end(task, {.error = urlError(unsupportedURL)}, now);
    } else if (!mayBeSent) {
      end(task, {.error = urlError(networkConnectionLost), .status = task.outcome.status}, now);
    } else if (running_.size() < kParallel) {
      start(task, now);
    }
  }
}

/// Sends nothing unless the answer can be stored.
void TransferService::start(TransferTask& task, double now) {
  const std::filesystem::path file = store_.bodyOf(task.id);
  // A stopped attempt may still write to an earlier file.
  ::unlink(file.c_str());
  platform::FileDescriptor body = platform::openFile(file, O_WRONLY | O_CREAT);
  int error = body ? 0 : errno;
  std::error_code ignored;
  if (body && std::filesystem::space(file, ignored).available < kLeastFreeBytes) {
    error = ENOSPC;
  }
  if (error != 0) {
    const std::string why = std::generic_category().message(error);
    return postpone(task, {.error = urlError(cannotWriteToFile, why)}, now);
  }
  if (!attempt_) {
    const auto loaded = platform::openModule(settings_.library, kTransferAttempt);
    if (!note(loaded)) {
      return postpone(task, {.error = urlError(unknown, loaded.error())}, now);
    }
    attempt_ = reinterpret_cast<TransferAttempt*>(*loaded);
  }
  try {
    if (workers_.size() <= running_.size()) {
      workers_.emplace_back([this](const std::stop_token& over) { work(over); });
    }
  } catch (const std::system_error& failure) {
    const std::string why = std::string("can't start a thread: ") + failure.what();
    return postpone(task, {.error = urlError(unknown, why)}, now);
  }
  ++task.sends;
  const auto kept = store_.keep(task);
  if (!kept) {
    --task.sends;
    postpone(task, {.error = urlError(cannotWriteToFile, kept.error())}, now);
  } else if (!*kept) {
    refreshAt_ = now;
  } else {
    const std::stop_token stop = running_[task.id].get_token();
    const std::lock_guard lock(mutex_);
    jobs_.push_back({task, std::move(body), stop});
    queued_.notify_one();
  }
}

void TransferService::stop(std::int64_t id) {
  if (auto attempt = running_.extract(id)) {
    attempt.mapped().request_stop();
    const std::lock_guard lock(mutex_);
    arrivals_.erase(id);
  }
}

/// Runs queued attempts until `over` is requested.
void TransferService::work(const std::stop_token& over) {
  std::unique_lock lock(mutex_);
  while (queued_.wait(lock, over, [this] { return !jobs_.empty(); })) {
    const Job job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    AttemptEnd end = attempt_(job.task, job.body.get(), job.stop);
    lock.lock();
    if (!job.stop.stop_requested()) {
      arrivals_[job.task.id] = std::move(end);
      ::eventfd_write(arrived_.get(), 1);
    }
  }
}

void TransferService::postpone(TransferTask& task, TransferOutcome outcome, double now) {
  stop(task.id);
  ++task.attempts;
  task.next = now + pauseAfter(task.attempts);
  task.outcome = std::move(outcome);
  note(store_.keep(task));
}

/// If the outcome can't be written, a later `step` tries again.
void TransferService::end(TransferTask& task, TransferOutcome outcome, double now) {
  TransferTask ended = task;
  ended.outcome = std::move(outcome);
  const auto written = store_.end(ended);
  if (!note(written)) {
    task.next = refreshAt_ = now + kDiskRetryDelay;
    return;
  }
  stop(task.id);
  if (ended.outcome.error) {
    removeFiles(task.id);
  }
  refreshAt_ = *written ? refreshAt_ : now;
  task = std::move(ended);
}

/// The next attempt, resource limit or retry of the disk.
double TransferService::next() const {
  double next = refreshAt_;
  for (const auto& [id, task] : tasks_) {
    if (task.ended == 0) {
      next = std::min(next, std::max(task.created + kResourceLimit, task.next));
      const bool waits = !running_.contains(id) && running_.size() < kParallel;
      next = waits ? std::min(next, task.next) : next;
    }
  }
  return next;
}

void TransferService::armTimer(double now) {
  itimerspec when = {};
  if (const double due = next(); due != kNever) {
    when.it_value = platform::timespecOf(std::clamp(due - now, 1e-6, kLongestSleep));
  }
  ::timerfd_settime(timer_.get(), 0, &when, nullptr);
}

std::vector<TransferTask> TransferService::finished() const {
  std::vector<TransferTask> ended;
  for (const auto& [id, task] : tasks_) {
    if (task.ended != 0 && !undeliverable_.contains(id)) {
      ended.push_back(task);
    }
  }
  std::ranges::sort(ended, {}, &TransferTask::ended);
  return ended;
}

std::size_t TransferService::pending() const {
  return static_cast<std::size_t>(
      std::ranges::count_if(tasks_, [](const auto& task) { return task.second.ended == 0; }));
}

const TransferTask* TransferService::find(std::int64_t id) const {
  const auto found = tasks_.find(id);
  return found == tasks_.end() ? nullptr : &found->second;
}

std::expected<std::filesystem::path, std::string> TransferService::handOver(std::int64_t id) const {
  const std::filesystem::path link = store_.linkOf(id);
  ::unlink(link.c_str());
  if (::link(store_.bodyOf(id).c_str(), link.c_str()) != 0) {
    return std::unexpected("can't link " + link.string() + ": " +
                           std::generic_category().message(errno));
  }
  return link;
}

bool TransferService::wasTaken(std::int64_t id) const {
  std::error_code ignored;
  return !std::filesystem::exists(store_.linkOf(id), ignored);
}

std::expected<void, std::string> TransferService::markDelivered(std::int64_t id) {
  const TransferTask* task = find(id);
  if (!task || task->ended == 0) {
    return std::unexpected("the download " + std::to_string(id) + " has not ended");
  }
  if (auto removed = store_.remove(id); !removed) {
    return std::unexpected(removed.error());
  }
  tasks_.erase(id);
  removeFiles(id);
  return {};
}

void TransferService::markUndelivered(std::int64_t id, const std::string& why) {
  undeliverable_.insert(id);
  if (const auto found = tasks_.find(id); found != tasks_.end()) {
    found->second.undelivered = why;
    note(store_.keep(found->second));
  }
}

void TransferService::removeFiles(std::int64_t id) {
  ::unlink(store_.bodyOf(id).c_str());
  ::unlink(store_.linkOf(id).c_str());
}

/// Whether it was done; reports a failure, unless it is the same as the last one.
template <class T>
bool TransferService::note(const std::expected<T, std::string>& done) {
  if (!done && done.error() != lastReport_) {
    store_.report(done.error());
  }
  lastReport_ = done ? "" : done.error();
  return done.has_value();
}

}  // namespace host
