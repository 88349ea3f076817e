#pragma once

#include <utility>

#include "platform/foundation/time/device.h"

/// Runs a test on a device of its own; the one before is back when it ends.
class OnDevice {
 public:
  explicit OnDevice(platform::Device device) { platform::setCurrentDevice(std::move(device)); }
  ~OnDevice() { platform::setCurrentDevice(before_); }
  OnDevice(const OnDevice&) = delete;
  OnDevice& operator=(const OnDevice&) = delete;

 private:
  platform::Device before_ = platform::currentDevice();
};
