#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// The queue that a block runs on.
class NSOperationQueue {
 public:
  /// The main thread's queue.
  static NSOperationQueue& mainQueue();
  void addOperation(std::function<void()> block);
};

struct NSNotification {
  std::string name;
};

/// The device's locale has changed.
inline constexpr std::string_view NSCurrentLocaleDidChangeNotification =
    "NSCurrentLocaleDidChangeNotification";

/// Notifies observers in this process. Safe from any thread.
class NSNotificationCenter {
 public:
  using Block = std::function<void(const NSNotification&)>;

  static NSNotificationCenter& defaultCenter();

  /// Runs `block` on `queue` for every notification of that name, until the process ends: observers
  /// can't be removed.
  void addObserverForName(std::string_view name, NSOperationQueue& queue, Block block);

  /// Adds each observer's block to its queue, in the order in which the observers were added.
  void post(std::string_view name);

 private:
  struct Observer {
    std::string name;
    NSOperationQueue& queue;
    Block block;
  };
  std::mutex mutex_;
  std::vector<Observer> observers_;
};

}  // namespace platform
