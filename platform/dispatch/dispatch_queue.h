#pragma once

#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Runs blocks one after the other, in the order in which they were handed over, from any thread.
///
/// The main queue's blocks run on the main thread, while that is in `runMainQueue`. Any other queue
/// has a thread of its own, which its destruction waits for after the last block.
class DispatchQueue {
 public:
  static DispatchQueue& main();

  explicit DispatchQueue(std::string label);
  ~DispatchQueue();
  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;

  /// Returns at once; the block runs later, never before this call returns on the queue's own
  /// thread.
  void async(std::function<void()> block);

 private:
  struct State;
  struct Main {};
  explicit DispatchQueue(Main);
  friend void runMainQueueUntilReadable(int descriptor);

  std::unique_ptr<State> state_;
};

/// Runs the main queue's blocks until there is something to read at `descriptor` and no block
/// waits. For the main thread alone.
void runMainQueueUntilReadable(int descriptor);

}  // namespace platform
