#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/home/home_phone.h"
#include "host/http/http_server.h"
#include "platform/foundation/time/device.h"

namespace host {

struct ServedPicture {
  std::string path;
  std::shared_ptr<const std::string> png;
};

/// What the page shows at one time.
struct HomeView {
  /// As `stateJSON` gives it.
  std::string state = R"({"widgets":[]})";
  platform::Clock clock;
  /// The PNG files by kind, with their addresses.
  std::map<std::string, ServedPicture> pictures;
  /// The lines that were not there the last time.
  std::vector<LogLine> log;
};

/// The page on 127.0.0.1: its files, the pictures, the stream of events, and what it asks for.
///
/// Only requests under a loopback name are served, and only those with this run's token and from
/// this page change anything. Everything but `show` belongs to the server's thread.
class HomePage {
 public:
  struct Outcome {
    int status = 200;
    std::string json;
  };
  /// Hands an action on; `done` is called once, on any thread.
  using Act = std::function<void(std::string action, std::function<void(Outcome)> done)>;

  /// `typeface` is the file that the page writes in.
  HomePage(Act act, std::filesystem::path typeface);

  void answer(const HttpRequest& request, const HttpServer::Reply& reply);
  void show(HomeView view);

 private:
  HttpAnswer file(const HttpRequest& request) const;
  HttpAnswer picture(const HttpRequest& request) const;
  HttpAnswer events() const;
  std::string stateNow() const;
  void act(const HttpRequest& request, const HttpServer::Reply& reply);

  Act act_;
  std::filesystem::path typeface_;
  std::string token_;
  HomeView view_;
  /// Counts the views, and the lines of the log.
  std::uint64_t views_ = 0;
  std::uint64_t lines_ = 0;
  /// The latest lines.
  std::deque<LogLine> log_;
};

}  // namespace host
