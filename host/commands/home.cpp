#include <charconv>
#include <iostream>
#include <memory>
#include <optional>
#include <stop_token>
#include <thread>

#include <CLI/CLI.hpp>

#include "host/api/api_server.h"
#include "host/commands/commands.h"
#include "host/home/home_loop.h"
#include "host/home/home_page.h"
#include "host/phone/command_error.h"
#include "host/phone/device_options.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

constexpr std::uint16_t kUsualPort = 8787;

struct HomeOptions {
  DeviceOptions device = {};
  std::optional<std::uint16_t> port = {};
  int budget = RefreshBudget().perDay;
};

/// The API for development on a thread of its own.
class ApiBeside {
 public:
  explicit ApiBeside(std::unique_ptr<HttpServer> api) : api_(std::move(api)) {
    if (api_) {
      thread_ = std::jthread([this] { api_->serve(); });
    }
  }
  ~ApiBeside() {
    if (api_) {
      api_->stop();
    }
  }

 private:
  std::unique_ptr<HttpServer> api_;
  std::jthread thread_;
};

/// The port of 127.0.0.1 where the bundle expects the API; none if it expects it elsewhere.
std::optional<std::uint16_t> ownApiPort(const HostSettings& settings) {
  const auto info = NSBundle(settings.extension, settings.infoOverrides).infoDictionary();
  const std::string base = info ? info->string("ApiBaseUrl").value_or("") : "";
  constexpr std::string_view kHere = "http://127.0.0.1:";
  int port = 0;
  if (!base.starts_with(kHere)) {
    return std::nullopt;
  }
  const auto [rest, error] =
      std::from_chars(base.data() + kHere.size(), base.data() + base.size(), port);
  return error == std::errc() && *rest == '\0' && port > 0 && port < 65536
             ? std::optional(static_cast<std::uint16_t>(port))
             : std::nullopt;
}

/// Affirmations without a network: serves the API where the bundle looks for it, unless somebody
/// does so already.
std::unique_ptr<HttpServer> apiFor(const HostSettings& settings) {
  const auto port = ownApiPort(settings);
  if (!port) {
    return nullptr;
  }
  auto api = openApi({.port = *port}, [](const std::string&) {});
  return api ? *std::move(api) : nullptr;
}

/// At that port; without one at the usual port, or any if that is taken.
std::unique_ptr<HttpServer> listen(std::optional<std::uint16_t> port,
                                   const HttpServer::Handler& handler) {
  auto server = HttpServer::listen(port.value_or(kUsualPort), handler);
  if (!server && !port) {
    server = HttpServer::listen(0, handler);
  }
  if (!server) {
    throw CommandError(server.error());
  }
  return *std::move(server);
}

/// Two home screens of one container would overwrite what the other keeps of its widgets.
platform::FileDescriptor hold(const HostSettings& settings) {
  const auto folder = timelineFolder(settings.container);
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  auto lock = platform::lockFolder(folder);
  if (!lock) {
    const bool held = lock.error() == std::errc::operation_would_block;
    throw CommandError(folder.string() +
                       (held ? " belongs to a home screen that is running: end that, or "
                               "give another --container"
                             : " can't be used: " + lock.error().message()));
  }
  return *std::move(lock);
}

void home(const HomeOptions& options) {
  const HostSettings settings = settle(options.device);
  const platform::FileDescriptor held = hold(settings);
  std::unique_ptr<HomePage> page;
  auto server =
      listen(options.port, [&page](const HttpRequest& request, const HttpServer::Reply& reply) {
        page->answer(request, reply);
      });
  server->endOnSignals();
  RefreshBudget budget;
  budget.enforced = options.budget > 0;
  budget.perDay = options.budget > 0 ? options.budget : budget.perDay;
  const ApiBeside api(apiFor(settings));
  // Who asks from now on is answered as soon as the phone has its first pictures.
  std::cout << "http://127.0.0.1:" << server->port() << '/' << std::endl;
  std::stop_source leaving;
  HomePhone phone(options.device, budget, leaving.get_token());
  HomeLoop loop(phone, [&](HomeView view) {
    server->post([&, view = std::make_shared<HomeView>(std::move(view))] {
      page->show(std::move(*view));
      server->wake();
    });
  });
  page = std::make_unique<HomePage>(
      [&](std::string action, std::function<void(HomePage::Outcome)> done) {
        loop.act(std::move(action), std::move(done));
      },
      platform::programFolder() / "system" / "Fonts" / "Inter-roman.var.ttf");
  loop.start();
  server->serve();
  leaving.request_stop();
}

}  // namespace

void addHomeCommand(CLI::App& app) {
  auto options = std::make_shared<HomeOptions>();
  CLI::App* command = app.add_subcommand(
      "home", "Serves the live home screen on this machine, as a web page, until interrupted");
  command->add_option(
      "--port",
      options->port,
      "Port of 127.0.0.1; 0 for any (default: " + std::to_string(kUsualPort) + ", or any)");
  command
      ->add_option("--budget",
                   options->budget,
                   "Reloads that a widget may ask for in 24 hours; 0 for no limit")
      ->check(CLI::Range(0, 1000))
      ->capture_default_str();
  options->device.addTo(*command);
  command->callback([options] { home(*options); });
}

}  // namespace host
