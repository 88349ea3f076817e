#include "platform/foundation/process/notification_center.h"

#include "platform/dispatch/dispatch_queue.h"

namespace platform {

NSOperationQueue& NSOperationQueue::mainQueue() {
  static NSOperationQueue queue;
  return queue;
}

void NSOperationQueue::addOperation(std::function<void()> block) {
  DispatchQueue::main().async(std::move(block));
}

NSNotificationCenter& NSNotificationCenter::defaultCenter() {
  static NSNotificationCenter center;
  return center;
}

void NSNotificationCenter::addObserverForName(std::string_view name,
                                              NSOperationQueue& queue,
                                              Block block) {
  const std::scoped_lock lock(mutex_);
  observers_.push_back({std::string(name), queue, std::move(block)});
}

void NSNotificationCenter::post(std::string_view name) {
  const std::scoped_lock lock(mutex_);
  for (const auto& [observed, queue, block] : observers_) {
    if (observed == name) {
      queue.addOperation([block = block, name = observed] { block({name}); });
    }
  }
}

}  // namespace platform
