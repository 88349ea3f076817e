#include <algorithm>
#include <atomic>
#include <charconv>
#include <iostream>
#include <memory>
#include <optional>
#include <stop_token>
#include <thread>

#include "host/api/affirmation_api.h"
#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/json_output.h"
#include "host/drill/drill.h"
#include "host/home/home_loop.h"
#include "host/home/home_page.h"
#include "host/http/json_members.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

constexpr std::uint16_t kDefaultPort = 8787;

/// The port of 127.0.0.1 in the bundle's URL of the API; none if that is another URL.
std::optional<std::uint16_t> localApiPort(const HostSettings& settings) {
  const auto info = NSBundle(settings.extension, settings.infoOverrides).infoDictionary();
  const std::string base = info ? info->string("ApiBaseUrl").value_or("") : "";
  constexpr std::string_view kLocal = "http://127.0.0.1:";
  std::uint16_t port = 0;
  if (base.starts_with(kLocal)) {
    const char* const end = base.data() + base.size();
    const auto read = std::from_chars(base.data() + kLocal.size(), end, port);
    port = read.ptr == end ? port : 0;
  }
  return port > 0 ? std::optional(port) : std::nullopt;
}

/// Serves the API for development, for affirmations without a network, if the bundle expects it on
/// this machine and no other process serves it there.
std::unique_ptr<HttpThread> serveLocalApi(const HostSettings& settings) {
  const auto port = localApiPort(settings);
  auto api =
      port ? openApi({.port = *port}, [](const std::string&) {}) : std::unexpected(std::string());
  return api ? std::make_unique<HttpThread>(*std::move(api)) : nullptr;
}

/// Listens on `port`; if none is given, on the default port, or on any if that is in use.
std::unique_ptr<HttpServer> listen(std::optional<std::uint16_t> port,
                                   const HttpServer::Handler& handler) {
  auto server = HttpServer::listen(port.value_or(kDefaultPort), handler);
  if (!server && !port) {
    server = HttpServer::listen(0, handler);
  }
  if (!server) {
    throw CommandError(server.error());
  }
  return *std::move(server);
}

/// Plays the drill that the page names, one at a time. The destructor waits for its end.
class DrillPlayer {
 public:
  void play(const std::string& request, const HttpServer::Reply& reply) {
    try {
      const std::string name = JsonMembers(request).text("name");
      const auto drill = std::ranges::find(drills(), name, &Drill::name);
      if (drill == drills().end()) {
        throw BadRequest("unknown drill \"" + name + "\"");
      }
      if (plays_.exchange(true)) {
        reply(refusal(409, "another drill is being played"));
        return;
      }
      thread_ = std::jthread([this, drill, reply] {
        HttpAnswer answer = jsonAnswer(drillsJSON({*drill}, {host::play(*drill)}));
        plays_ = false;
        reply(std::move(answer));
      });
    } catch (const BadRequest& error) {
      reply(refusal(400, error.what()));
    }
  }

 private:
  std::atomic<bool> plays_ = false;
  std::jthread thread_;
};

/// `reloads` is the budget of a widget for 24 hours; 0 means no limit.
void home(std::optional<std::uint16_t> port, int reloads) {
  const HostSettings& settings = phone();
  const platform::FileDescriptor held = lockTimelines(settings);
  std::unique_ptr<HomePage> page;
  auto server = listen(port, [&page](const HttpRequest& request, const HttpServer::Reply& reply) {
    page->answer(request, reply);
  });
  server->endOnSignals();
  RefreshBudget budget;
  budget.enforced = reloads > 0;
  budget.perDay = reloads > 0 ? reloads : budget.perDay;
  const auto api = serveLocalApi(settings);
  // Printed before the phone starts: requests wait until it has its first pictures.
  std::cout << "http://127.0.0.1:" << server->port() << '/' << std::endl;
  std::stop_source leaving;
  HomePhone phone(settings, budget, leaving.get_token());
  phone.start();
  HomeLoop loop(phone, [&](HomeView view) {
    server->post([&, view = std::make_shared<HomeView>(std::move(view))] {
      page->show(std::move(*view));
      server->wake();
    });
  });
  DrillPlayer player;
  page = std::make_unique<HomePage>(
      [&](std::string action, HttpServer::Reply reply) {
        loop.act(std::move(action), std::move(reply));
      },
      [&](const std::string& request, const HttpServer::Reply& reply) {
        player.play(request, reply);
      },
      drillsJSON(drills()));
  loop.start();
  server->serve();
  leaving.request_stop();
}

}  // namespace

platform::FileDescriptor lockTimelines(const HostSettings& settings) {
  const auto folder = timelineFolder(settings.container);
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  auto lock = platform::lockFolder(folder);
  if (!lock) {
    const bool held = lock.error() == std::errc::operation_would_block;
    throw CommandError(folder.string() +
                       (held ? " is used by another home screen: end that, or give "
                               "another --container"
                             : " can't be used: " + lock.error().message()));
  }
  return *std::move(lock);
}

// clang-format off
Command homeCommand() {
  static std::optional<std::uint16_t> port;
  static int reloads = RefreshBudget().perDay;
  const std::string usual = std::to_string(kDefaultPort);
  const std::string budget = std::to_string(RefreshBudget().perDay);
  return withDevice(DeviceUse::all, {
      .name = "home",
      .description = "Serves the live home screen on this machine, as a web page, until interrupted",
      .groups = {{"Home screen", {
          {"--port N", &port, "Port of 127.0.0.1; 0 for any (default: " + usual + ", or any free port if that is in use)"},
          {"--budget N", &reloads, "Reloads per widget in 24 hours; 0 for no limit (default: " + budget + ")", Range(0, 1000)}}}},
      .examples = {"home", "home --container /tmp/second-phone --budget 0"},
      .run = [] { home(port, reloads); }});
}
// clang-format on

}  // namespace host
