#include "host/transfer/transfer_service.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <cmath>
#include <system_error>

#include "host/transfer/transfer_cancellation.h"
#include "host/transfer/transfer_error.h"
#include "host/transfer/transfer_folder.h"
#include "host/transfer/transfer_request_check.h"
#include "host/transfer/transfer_url.h"

namespace host {

namespace {

constexpr double kLongestPause = 15 * 60;
/// How often cancellations of other processes, the resource limit and the clock are looked at.
constexpr double kLookEvery = 1;
/// The longest sleep.
constexpr double kLongestSleep = 60 * 60;

}  // namespace

double systemSeconds() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

double pauseAfter(int attempts) {
  return std::min(kLongestPause, std::ldexp(1.0, std::clamp(attempts - 1, 0, 20)));
}

TransferService::TransferService(const std::filesystem::path& container, TransferSettings settings)
    : settings_(std::move(settings)),
      transfers_(transfersFolder(container)),
      store_(container),
      epoll_(::epoll_create1(EPOLL_CLOEXEC)),
      timer_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
  epoll_event event = {.events = EPOLLIN, .data = {}};
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, timer_.get(), &event);
  armTimer(lastAdoption_ + settings_.adoptEvery);
}

TransferService::~TransferService() = default;

std::expected<std::string, std::string> TransferService::add(const TransferRequest& request) {
  auto ids = add(std::span(&request, 1));
  if (!ids) {
    return std::unexpected(ids.error());
  }
  return std::move(ids->front());
}

std::expected<std::vector<std::string>, std::string> TransferService::add(
    std::span<const TransferRequest> requests) {
  for (const TransferRequest& request : requests) {
    if (auto checked = checkRequest(request); !checked) {
      return std::unexpected(checked.error());
    }
  }
  const double now = settings_.clock();
  auto added = store_.add(requests, now);
  if (!added) {
    return std::unexpected(added.error());
  }
  std::vector<std::string> ids;
  for (TransferTask& task : *added) {
    ids.push_back(task.id);
    take(std::move(task));
  }
  armTimer(now);
  return ids;
}

bool TransferService::cancel(const std::string& id) {
  const auto found = tasks_.find(id);
  if (found == tasks_.end() || found->second.outcome) {
    return false;
  }
  finish(found->second, {.error = urlError(URLErrorCode::cancelled)});
  keepOutcomes();
  return true;
}

void TransferService::adopt() {
  const double now = settings_.clock();
  lastAdoption_ = now;
  for (TransferTask& task : store_.adopt()) {
    // The clock may have been set back since.
    task.wait.next = std::min(task.wait.next, now + pauseAfter(task.wait.attempts));
    take(std::move(task));
  }
  armTimer(now);
}

void TransferService::take(TransferTask task) {
  if (task.outcome) {
    lastOrder_ = std::max(lastOrder_, task.outcome->order);
    // Two hosts may have counted alike.
    while (!finished_.emplace(task.outcome->order, task.id).second) {
      ++task.outcome->order;
    }
  } else {
    waiting_.emplace(task.wait.next, task.id);
  }
  tasks_.insert_or_assign(task.id, std::move(task));
}

void TransferService::step(std::chrono::milliseconds longest) {
  pollfd wanted = {epoll_.get(), POLLIN, 0};
  if (longest.count() != 0) {
    ::poll(&wanted, 1, static_cast<int>(longest.count()));
  }
  std::uint64_t expirations = 0;
  (void)!::read(timer_.get(), &expirations, sizeof expirations);
  const double now = settings_.clock();
  if (std::abs(now - lastAdoption_) >= settings_.adoptEvery) {
    adopt();
  }
  if (std::abs(now - lastLook_) >= kLookEvery) {
    lookAround(now);
  }
  stepEngine(now);
  while (startDue(now) && stepEngine(now)) {
  }
  keepOutcomes();
  removeBodies();
  armTimer(now);
}

bool TransferService::stepEngine(double now) {
  if (!engine_ || running_.empty()) {
    return false;
  }
  auto ends = engine_->step(now);
  for (AttemptEnd& end : ends) {
    handle(std::move(end), now);
  }
  keepOutcomes();
  return !ends.empty();
}

bool TransferService::startDue(double now) {
  bool started = false;
  while (!waiting_.empty() && waiting_.begin()->first <= now &&
         running_.size() < settings_.parallel) {
    TransferTask& task = tasks_.at(waiting_.begin()->second);
    if (!isTransferable(task.request.url)) {
      finish(task, {.error = urlError(URLErrorCode::unsupportedURL)});
      continue;
    }
    if (!openEngine()) {
      break;
    }
    unschedule(task);
    running_.insert(task.id);
    engine_->start(task, store_.bodyOf(task.id), now);
    started = true;
  }
  return started;
}

void TransferService::handle(AttemptEnd end, double now) {
  using enum AttemptEnd::Kind;
  TransferTask& task = tasks_.at(end.id);
  if (end.kind == lost) {
    retry(task, std::move(*end.error), now);
    return;
  }
  finish(task, {.answer = std::move(end.answer), .error = std::move(end.error)});
}

void TransferService::retry(TransferTask& task, platform::NSError why, double now) {
  running_.erase(task.id);
  ++task.wait.attempts;
  task.wait.next = now + pauseAfter(task.wait.attempts);
  task.wait.error = std::move(why);
  waiting_.emplace(task.wait.next, task.id);
  note(store_.keepWait(task));
}

void TransferService::finish(TransferTask& task, TransferOutcome outcome) {
  if (engine_ && running_.contains(task.id)) {
    engine_->stop(task.id);
  }
  unschedule(task);
  running_.erase(task.id);
  const auto microseconds = static_cast<std::int64_t>(settings_.clock() * 1e6);
  outcome.order = lastOrder_ = std::max(lastOrder_ + 1, microseconds);
  task.outcome = std::move(outcome);
  finished_.emplace(task.outcome->order, task.id);
  if (task.outcome->error) {
    note(store_.removeBody(task.id));
  }
  ended_.push_back(&task);
}

void TransferService::keepOutcomes() {
  if (!ended_.empty()) {
    note(store_.keepOutcomes(std::exchange(ended_, {})));
  }
}

void TransferService::unschedule(const TransferTask& task) {
  waiting_.erase({task.wait.next, task.id});
}

void TransferService::lookAround(double now) {
  lastLook_ = now;
  for (const std::string& id : cancellations(transfers_)) {
    std::error_code ignored;
    const bool nobodys = !std::filesystem::exists(folderOf(transfers_, id), ignored);
    if (cancel(id) || store_.holds(id) || nobodys) {
      dropCancellation(transfers_, id);
    }
  }
  std::vector<std::string> over;
  std::vector<std::string> early;
  for (const auto& [id, task] : tasks_) {
    if (!task.outcome && now >= task.created + settings_.resourceLimit) {
      over.push_back(id);
    }
  }
  for (const std::string& id : over) {
    finish(tasks_.at(id), {.error = urlError(URLErrorCode::timedOut)});
  }
  // Where the clock was set back, tasks would wait for a moment that is far away now.
  for (const auto& [next, id] : waiting_) {
    if (next > now + kLongestPause) {
      early.push_back(id);
    }
  }
  for (const std::string& id : early) {
    TransferTask& task = tasks_.at(id);
    unschedule(task);
    task.wait.next = now + pauseAfter(task.wait.attempts);
    waiting_.emplace(task.wait.next, id);
  }
}

bool TransferService::openEngine() {
  if (engine_ || engineFailed_) {
    return engine_ != nullptr;
  }
  auto opened = settings_.engine();
  if (!opened) {
    engineFailed_ = true;
    reports_.push_back(opened.error());
    return false;
  }
  engine_ = *std::move(opened);
  epoll_event event = {.events = EPOLLIN, .data = {}};
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, engine_->descriptor(), &event);
  return true;
}

/// Wakes the caller for the next attempt, a silence that lasts too long, or the next look around.
void TransferService::armTimer(double now) {
  double next = pending() == 0 ? lastAdoption_ + settings_.adoptEvery : lastLook_ + kLookEvery;
  if (!waiting_.empty() && running_.size() < settings_.parallel && !engineFailed_) {
    next = std::min(next, waiting_.begin()->first);
  }
  if (engine_) {
    next = std::min(next, engine_->nextTimeout().value_or(next));
  }
  itimerspec when = {};
  if (std::isfinite(next)) {
    const double left = std::clamp(next - now, 1e-6, kLongestSleep);
    when.it_value = {.tv_sec = static_cast<time_t>(left),
                     .tv_nsec = static_cast<long>((left - std::floor(left)) * 1e9)};
  }
  ::timerfd_settime(timer_.get(), 0, &when, nullptr);
}

std::vector<const TransferTask*> TransferService::finished() const {
  std::vector<const TransferTask*> ended;
  ended.reserve(finished_.size());
  for (const auto& [order, id] : finished_) {
    ended.push_back(&tasks_.at(id));
  }
  return ended;
}

const TransferTask* TransferService::find(const std::string& id) const {
  const auto found = tasks_.find(id);
  return found == tasks_.end() ? nullptr : &found->second;
}

std::expected<void, std::string> TransferService::markDelivered(const std::string& id) {
  const auto found = tasks_.find(id);
  if (found == tasks_.end() || !found->second.outcome) {
    return std::unexpected("the download " + id + " has not ended");
  }
  if (auto removed = store_.remove(id); !removed) {
    return removed;
  }
  finished_.erase(found->second.outcome->order);
  tasks_.erase(found);
  delivered_.push_back(id);
  removeBodies();
  return {};
}

/// ext4 is slow to make files for some seconds after many were removed, so bodies go when no other
/// is on its way.
void TransferService::removeBodies() {
  if (!running_.empty()) {
    return;
  }
  for (const std::string& id : std::exchange(delivered_, {})) {
    note(store_.removeBody(id));
  }
}

std::vector<std::string> TransferService::takeReports() {
  std::vector<std::string> reports = store_.takeReports();
  std::ranges::move(std::exchange(reports_, {}), std::back_inserter(reports));
  return reports;
}

void TransferService::note(const std::expected<void, std::string>& done) {
  if (!done) {
    reports_.push_back(done.error());
  }
}

}  // namespace host
