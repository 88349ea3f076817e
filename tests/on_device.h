#pragma once

#include <utility>

#include "platform/foundation/time/device.h"

/// Changes the device for a test and restores the previous one at its end.
class OnDevice {
 public:
  explicit OnDevice(platform::Device device) { platform::setCurrentDevice(std::move(device)); }
  ~OnDevice() { platform::setCurrentDevice(before_); }
  OnDevice(const OnDevice&) = delete;
  OnDevice& operator=(const OnDevice&) = delete;

 private:
  platform::Device before_ = platform::currentDevice();
};
