#pragma once

#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Runs blocks one at a time in the order in which they were added. Any thread may add one.
///
/// The main queue runs its blocks on the main thread, inside `runMainQueueUntilReadable`. Every
/// other queue has a thread of its own; its destructor waits until all blocks have run.
class DispatchQueue {
 public:
  static DispatchQueue& main();

  /// A serial queue; `label` names its thread.
  explicit DispatchQueue(std::string label);
  ~DispatchQueue();
  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;

  /// Adds a block and returns without waiting for it.
  void async(std::function<void()> block);

 private:
  struct State;
  struct Main {};
  explicit DispatchQueue(Main);
  friend void runMainQueueUntilReadable(int descriptor);

  std::unique_ptr<State> state_;
};

/// Runs the main queue's blocks until the queue is empty and `descriptor` is readable, closed or in
/// error. Only the main thread may call it.
void runMainQueueUntilReadable(int descriptor);

}  // namespace platform
