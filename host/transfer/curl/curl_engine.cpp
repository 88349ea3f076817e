#include "host/transfer/curl/curl_engine.h"

#include <curl/curl.h>
#include <sys/epoll.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <map>
#include <span>
#include <system_error>

#include "host/transfer/curl/curl_attempt.h"

namespace host {

namespace {

using SteadyClock = std::chrono::steady_clock;

struct EasyCleanup {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct MultiCleanup {
  void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
using Easy = std::unique_ptr<CURL, EasyCleanup>;

/// curl says which sockets it waits for and for how long; both sit behind one epoll descriptor.
class CurlEngine : public TransferEngine {
 public:
  CurlEngine()
      : epoll_(::epoll_create1(EPOLL_CLOEXEC)),
        timer_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
        multi_(curl_multi_init()) {
    watch(EPOLL_CTL_ADD, timer_.get(), EPOLLIN);
    curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETFUNCTION, &CurlEngine::onSocket);
    curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_.get(), CURLMOPT_TIMERFUNCTION, &CurlEngine::onTimer);
    curl_multi_setopt(multi_.get(), CURLMOPT_TIMERDATA, this);
  }
  ~CurlEngine() override {
    for (auto& [id, running] : attempts_) {
      curl_multi_remove_handle(multi_.get(), running.attempt->handle());
    }
  }

  bool works() const { return epoll_ && timer_ && multi_; }

  int descriptor() const override { return epoll_.get(); }

  void start(const TransferTask& task, const std::filesystem::path& body, double now) override {
    Easy handle = takeHandle();
    auto attempt = std::make_unique<CurlAttempt>(handle.get(), task, body, now);
    curl_multi_add_handle(multi_.get(), handle.get());
    attempts_.emplace(task.id, Running{std::move(handle), std::move(attempt)});
  }

  void stop(const std::string& id) override {
    const auto found = attempts_.find(id);
    if (found != attempts_.end()) {
      curl_multi_remove_handle(multi_.get(), found->second.attempt->handle());
      found->second.attempt.reset();
      idle_.push_back(std::move(found->second.handle));
      attempts_.erase(found);
    }
  }

  std::vector<AttemptEnd> step(double now) override {
    while (act()) {
    }
    armTimer();
    std::vector<AttemptEnd> ends;
    collect(ends);
    giveUpSilent(ends, now);
    for (const AttemptEnd& end : ends) {
      stop(end.id);
    }
    return ends;
  }

  std::optional<double> nextTimeout() const override {
    std::optional<double> next;
    for (const auto& [id, running] : attempts_) {
      const double timeout = running.attempt->lastByte + running.attempt->timeout;
      next = std::min(next.value_or(timeout), timeout);
    }
    return next;
  }

 private:
  struct Running {
    Easy handle;
    std::unique_ptr<CurlAttempt> attempt;
  };

  Easy takeHandle() {
    if (idle_.empty()) {
      return Easy(curl_easy_init());
    }
    Easy handle = std::move(idle_.back());
    idle_.pop_back();
    return handle;
  }

  /// Passes on what has happened; false once nothing had.
  bool act() {
    int running = 0;
    bool acted = false;
    if (due_ && *due_ <= SteadyClock::now()) {
      due_.reset();
      curl_multi_socket_action(multi_.get(), CURL_SOCKET_TIMEOUT, 0, &running);
      acted = true;
    }
    std::array<epoll_event, 32> events = {};
    const int count = ::epoll_wait(epoll_.get(), events.data(), events.size(), 0);
    for (const epoll_event& event : std::span(events).first(std::max(count, 0))) {
      if (event.data.fd == timer_.get()) {
        std::uint64_t expirations = 0;
        acted = ::read(timer_.get(), &expirations, sizeof expirations) > 0 || acted;
        continue;
      }
      const int what = (event.events & EPOLLIN ? CURL_CSELECT_IN : 0) |
                       (event.events & EPOLLOUT ? CURL_CSELECT_OUT : 0) |
                       (event.events & (EPOLLERR | EPOLLHUP) ? CURL_CSELECT_ERR : 0);
      curl_multi_socket_action(multi_.get(), event.data.fd, what, &running);
      acted = true;
    }
    return acted;
  }

  void collect(std::vector<AttemptEnd>& ends) {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
      if (message->msg == CURLMSG_DONE) {
        CurlAttempt* attempt = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &attempt);
        ends.push_back(attempt->end(message->data.result));
      }
    }
  }

  void giveUpSilent(std::vector<AttemptEnd>& ends, double now) {
    for (auto& [id, running] : attempts_) {
      CurlAttempt& attempt = *running.attempt;
      if (attempt.takeProgress()) {
        attempt.lastByte = now;
      } else if (now >= attempt.lastByte + attempt.timeout &&
                 std::ranges::find(ends, id, &AttemptEnd::id) == ends.end()) {
        ends.push_back(attempt.timeOut());
      }
    }
  }

  void watch(int operation, int descriptor, std::uint32_t events) {
    epoll_event event = {.events = events, .data = {.fd = descriptor}};
    ::epoll_ctl(epoll_.get(), operation, descriptor, &event);
  }

  /// The descriptor becomes readable when curl's time has come.
  void armTimer() {
    if (due_ == armed_) {
      return;
    }
    armed_ = due_;
    itimerspec when = {};
    if (due_) {
      const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(
          std::max(*due_ - SteadyClock::now(), SteadyClock::duration(1)));
      when.it_value = {.tv_sec = left.count() / 1'000'000'000,
                       .tv_nsec = left.count() % 1'000'000'000};
    }
    ::timerfd_settime(timer_.get(), 0, &when, nullptr);
  }

  static int onSocket(CURL*, curl_socket_t socket, int what, void* self, void* known) {
    auto& engine = *static_cast<CurlEngine*>(self);
    if (what == CURL_POLL_REMOVE) {
      engine.watch(EPOLL_CTL_DEL, socket, 0);
      return 0;
    }
    const std::uint32_t events = (what & CURL_POLL_IN ? std::uint32_t{EPOLLIN} : 0) |
                                 (what & CURL_POLL_OUT ? std::uint32_t{EPOLLOUT} : 0);
    engine.watch(known ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, socket, events);
    curl_multi_assign(engine.multi_.get(), socket, self);
    return 0;
  }

  static int onTimer(CURLM*, long milliseconds, void* self) {
    auto& due = static_cast<CurlEngine*>(self)->due_;
    due = milliseconds < 0
              ? std::nullopt
              : std::optional(SteadyClock::now() + std::chrono::milliseconds(milliseconds));
    return 0;
  }

  FileDescriptor epoll_;
  FileDescriptor timer_;
  std::unique_ptr<CURLM, MultiCleanup> multi_;
  std::optional<SteadyClock::time_point> due_;
  std::optional<SteadyClock::time_point> armed_;
  std::map<std::string, Running> attempts_;
  /// Handles at rest: making one costs more than a request on loopback.
  std::vector<Easy> idle_;
};

}  // namespace

std::expected<std::unique_ptr<TransferEngine>, std::string> openCurlEngine() {
  static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (ready != CURLE_OK) {
    return std::unexpected(std::string("libcurl can't start: ") + curl_easy_strerror(ready));
  }
  auto engine = std::make_unique<CurlEngine>();
  if (!engine->works()) {
    return std::unexpected("no descriptors for transfers: " +
                           std::generic_category().message(errno));
  }
  return engine;
}

}  // namespace host
