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
#include <thread>

namespace platform {

struct DispatchQueue::State {
  std::mutex mutex;
  std::condition_variable added;
  std::deque<std::function<void()>> blocks;
  bool closing = false;
  /// An event counter that ends the main thread's `poll`; other queues have none.
  int wakeUp = -1;
  std::thread thread;

  /// Runs the blocks there are, and those that they add.
  void runBlocks(std::unique_lock<std::mutex>& lock) {
    while (!blocks.empty()) {
      auto block = std::move(blocks.front());
      blocks.pop_front();
      lock.unlock();
      block();
      block = nullptr;  // Unlocked, as destroying its captures may add blocks.
      lock.lock();
    }
  }

  void runUntilClosed() {
    std::unique_lock lock(mutex);
    while (!closing || !blocks.empty()) {
      added.wait(lock, [this] { return closing || !blocks.empty(); });
      runBlocks(lock);
    }
  }
};

DispatchQueue& DispatchQueue::main() {
  // Never destroyed: other threads may still add blocks while the process exits.
  static DispatchQueue& queue = *new DispatchQueue(Main());
  return queue;
}

DispatchQueue::DispatchQueue(Main) : state_(std::make_unique<State>()) {
  state_->wakeUp = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

DispatchQueue::DispatchQueue(std::string label) : state_(std::make_unique<State>()) {
  state_->thread = std::thread([state = state_.get()] { state->runUntilClosed(); });
  // The system refuses names of more than 15 characters.
  ::pthread_setname_np(state_->thread.native_handle(), label.substr(0, 15).c_str());
}

DispatchQueue::~DispatchQueue() {
  {
    const std::scoped_lock lock(state_->mutex);
    state_->closing = true;
  }
  state_->added.notify_all();
  state_->thread.join();
}

void DispatchQueue::async(std::function<void()> block) {
  {
    const std::scoped_lock lock(state_->mutex);
    state_->blocks.push_back(std::move(block));
  }
  state_->added.notify_one();
  if (state_->wakeUp >= 0) {
    const std::uint64_t one = 1;
    // Fails only if the counter is full, and then the main thread is being woken already.
    [[maybe_unused]] const auto written = ::write(state_->wakeUp, &one, sizeof one);
  }
}

void runMainQueueUntilReadable(int descriptor) {
  DispatchQueue::State& state = *DispatchQueue::main().state_;
  for (;;) {
    {
      std::unique_lock lock(state.mutex);
      state.runBlocks(lock);
    }
    std::array<pollfd, 2> watched = {pollfd{descriptor, POLLIN, 0},
                                     pollfd{state.wakeUp, POLLIN, 0}};
    ::poll(watched.data(), watched.size(), -1);
    if (watched[1].revents != 0) {
      std::uint64_t count = 0;
      [[maybe_unused]] const auto read = ::read(state.wakeUp, &count, sizeof count);
    } else if (watched[0].revents != 0) {
      return;
    }
  }
}

}  // namespace platform
