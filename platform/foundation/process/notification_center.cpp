#include "platform/foundation/process/notification_center.h"

#include <mutex>
#include <vector>

#include "platform/dispatch/dispatch_queue.h"

namespace platform {

struct NSNotificationCenter::Impl {
  struct Observer {
    std::string name;
    NSOperationQueue& queue;
    Block block;
  };
  std::mutex mutex;
  std::vector<Observer> observers;
};

NSOperationQueue& NSOperationQueue::mainQueue() {
  static NSOperationQueue queue;
  return queue;
}

void NSOperationQueue::addOperation(std::function<void()> block) {
  DispatchQueue::main().async(std::move(block));
}

NSNotificationCenter::NSNotificationCenter() : impl_(std::make_unique<Impl>()) {
}
NSNotificationCenter::~NSNotificationCenter() = default;

NSNotificationCenter& NSNotificationCenter::defaultCenter() {
  static NSNotificationCenter center;
  return center;
}

void NSNotificationCenter::addObserverForName(std::string_view name,
                                              NSOperationQueue& queue,
                                              Block block) {
  const std::scoped_lock lock(impl_->mutex);
  impl_->observers.push_back({std::string(name), queue, std::move(block)});
}

void NSNotificationCenter::post(std::string_view name) {
  const std::scoped_lock lock(impl_->mutex);
  for (const Impl::Observer& observer : impl_->observers) {
    if (observer.name == name) {
      observer.queue.addOperation(
          [block = observer.block, notification = NSNotification{std::string(name)}] {
            block(notification);
          });
    }
  }
}

}  // namespace platform
