#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace platform {

/// Where a block is to run.
class NSOperationQueue {
 public:
  /// The main thread's queue.
  static NSOperationQueue& mainQueue();
  void addOperation(std::function<void()> block);
};

struct NSNotification {
  std::string name;
};

/// The device's locale is another one now.
inline constexpr std::string_view NSCurrentLocaleDidChangeNotification =
    "NSCurrentLocaleDidChangeNotification";

/// Tells observers what happened in this process. Safe from any thread.
class NSNotificationCenter {
 public:
  using Block = std::function<void(const NSNotification&)>;

  static NSNotificationCenter& defaultCenter();

  /// Every notification of that name, from any sender, has `block` run on `queue`; for as long as
  /// the process lives, since nothing here ever takes an observer away.
  void addObserverForName(std::string_view name, NSOperationQueue& queue, Block block);

  /// Hands the notification to each observer's queue, in the order in which they were added.
  void post(std::string_view name);

 private:
  NSNotificationCenter();
  ~NSNotificationCenter();

  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace platform
