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

/// What the page shows.
struct HomeView {
  /// As `stateJSON` gives it.
  std::string state = R"({"widgets":[]})";
  platform::Clock clock;
  /// The PNG files by kind, with their paths.
  std::map<std::string, ServedPicture> pictures;
  /// The lines since the last view.
  std::vector<LogLine> log;
};

/// The page on 127.0.0.1: its files, the pictures, the stream of events, and the actions.
///
/// Serves only requests with a loopback name as their host. An action also needs the token of this
/// run, and this page as its origin. Used by the server's thread alone, `show` included.
class HomePage {
 public:
  struct Outcome {
    int status = 200;
    std::string json;
  };
  /// Performs an action; `done` is called once, on any thread.
  using Act = std::function<void(std::string action, std::function<void(Outcome)> done)>;

  /// `typeface` is the file of the page's font.
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
  /// How many views and lines of the log there were.
  std::uint64_t views_ = 0;
  std::uint64_t lines_ = 0;
  std::deque<LogLine> log_;
};

}  // namespace host
