#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/home/home_phone.h"
#include "host/http/http_server.h"
#include "platform/foundation/time/device.h"

namespace host {

/// What the page shows.
struct HomeView {
  /// As `stateJSON` gives it.
  std::string state = R"({"widgets":[]})";
  platform::Clock clock;
  std::vector<ServedPicture> pictures;
  /// The lines since the last view, and the events, as `takeEventsJSON` gives them.
  std::vector<LogLine> log;
  std::vector<std::string> events;
};

/// The page on 127.0.0.1: its files, the pictures, the stream of events, the actions, the drills.
///
/// An action or a drill needs the token of this run, and this page as its origin. Used by the
/// server's thread alone, `show` included.
class HomePage {
 public:
  /// Performs an action; `reply` is called once, on any thread.
  using Act = std::function<void(std::string action, HttpServer::Reply reply)>;

  /// `drills` are the drills that the page lists, as JSON; `drill` plays one.
  HomePage(Act act, Act drill, std::string drills);

  void answer(const HttpRequest& request, const HttpServer::Reply& reply);
  void show(HomeView view);

 private:
  HttpAnswer file(std::string_view path) const;
  HttpAnswer picture(const HttpRequest& request) const;
  /// Draws what is not on the phone: "/pictures/KIND/WHAT.png", as `HomePhone::drawPicture` says.
  void drawn(std::string_view path, const HttpServer::Reply& reply) const;
  HttpAnswer events() const;
  std::string stateNow() const;
  /// Passes the request on if it comes from this page.
  void act(const HttpRequest& request, const HttpServer::Reply& reply, const Act& perform) const;

  Act act_;
  Act drill_;
  std::string drills_;
  std::string token_;
  HomeView view_;
  /// How many views, lines of the log and events there were.
  std::uint64_t views_ = 0;
  std::uint64_t lines_ = 0;
  std::uint64_t happened_ = 0;
  std::deque<LogLine> log_;
  std::deque<std::string> happenings_;
  /// The last pictures, the newest last.
  std::deque<ServedPicture> pictures_;
};

}  // namespace host
