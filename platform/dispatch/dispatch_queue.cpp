#include "platform/dispatch/dispatch_queue.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

namespace platform {

struct DispatchQueue::State {
  std::mutex mutex;
  std::condition_variable arrived;
  std::deque<std::function<void()>> blocks;
  bool closing = false;
  /// Wakes the main thread, which waits at descriptors.
  int wakeUp = -1;
  std::thread thread;

  std::optional<std::function<void()>> takeFirst() {
    const std::scoped_lock lock(mutex);
    if (blocks.empty()) {
      return std::nullopt;
    }
    auto block = std::move(blocks.front());
    blocks.pop_front();
    return block;
  }

  void runUntilClosed() {
    std::unique_lock lock(mutex);
    for (;;) {
      arrived.wait(lock, [this] { return closing || !blocks.empty(); });
      if (blocks.empty()) {
        return;
      }
      auto block = std::move(blocks.front());
      blocks.pop_front();
      lock.unlock();
      block();
      lock.lock();
    }
  }
};

DispatchQueue& DispatchQueue::main() {
  // Never destroyed: blocks may still be handed over while the process ends.
  static DispatchQueue& queue = *new DispatchQueue(Main());
  return queue;
}

DispatchQueue::DispatchQueue(Main) : state_(std::make_unique<State>()) {
  state_->wakeUp = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

DispatchQueue::DispatchQueue(std::string label) : state_(std::make_unique<State>()) {
  state_->thread = std::thread([state = state_.get()] { state->runUntilClosed(); });
  // The system keeps fifteen characters of a thread's name.
  ::pthread_setname_np(state_->thread.native_handle(), label.substr(0, 15).c_str());
}

DispatchQueue::~DispatchQueue() {
  {
    const std::scoped_lock lock(state_->mutex);
    state_->closing = true;
  }
  state_->arrived.notify_all();
  state_->thread.join();
}

void DispatchQueue::async(std::function<void()> block) {
  {
    const std::scoped_lock lock(state_->mutex);
    state_->blocks.push_back(std::move(block));
  }
  state_->arrived.notify_one();
  if (state_->wakeUp >= 0) {
    const std::uint64_t one = 1;
    // A counter that is full has woken the main thread already.
    [[maybe_unused]] const auto written = ::write(state_->wakeUp, &one, sizeof one);
  }
}

void runMainQueueUntilReadable(int descriptor) {
  DispatchQueue::State& state = *DispatchQueue::main().state_;
  for (;;) {
    while (const auto block = state.takeFirst()) {
      (*block)();
    }
    std::array<pollfd, 2> wanted = {pollfd{descriptor, POLLIN, 0}, pollfd{state.wakeUp, POLLIN, 0}};
    ::poll(wanted.data(), wanted.size(), -1);
    if (wanted[1].revents != 0) {
      std::uint64_t count = 0;
      [[maybe_unused]] const auto read = ::read(state.wakeUp, &count, sizeof count);
    } else if (wanted[0].revents != 0) {
      return;
    }
  }
}

}  // namespace platform
