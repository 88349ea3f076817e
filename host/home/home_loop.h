#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/home/home_page.h"
#include "host/home/home_phone.h"

namespace host {

/// Runs a phone on another thread, which sleeps until something is due: a time of the device's
/// clock (also after the machine's clock was set, or the machine was suspended), a retry, a change
/// of the suite or of the machine's time zone, a download, the end of the extension, an action.
class HomeLoop {
 public:
  /// `show` is called with every new state: by `start`, then on the loop's thread.
  HomeLoop(HomePhone& phone, std::function<void(HomeView)> show);
  /// Ends the thread.
  ~HomeLoop();

  /// Throws a `HostError` if the suite's folder can't be watched.
  void start();
  /// Safe from any thread; `reply` is called on the loop's thread.
  void act(std::string action, HttpServer::Reply reply);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace host
