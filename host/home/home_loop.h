#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/home/home_page.h"
#include "host/home/home_phone.h"

namespace host {

/// Runs a phone on a thread of its own, which sleeps until something is due: a moment of the
/// device's clock (also when the machine's is set, or was suspended meanwhile), an end of a pause,
/// a change of the suite or of the machine's zone, a download, the end of the extension, an action.
class HomeLoop {
 public:
  /// `show` is called on the loop's thread whenever something is to be seen that was not before.
  HomeLoop(HomePhone& phone, std::function<void(HomeView)> show);
  /// Ends the thread.
  ~HomeLoop();

  void start();
  /// From any thread; `done` is called on the loop's.
  void act(std::string action, std::function<void(HomePage::Outcome)> done);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace host
