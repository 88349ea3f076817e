#include <cmath>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "host/api/affirmation_api.h"
#include "host/api/api_server.h"
#include "host/commands/command_error.h"
#include "host/commands/commands.h"

namespace host {

namespace {

void check(const ApiSettings& settings) {
  if (settings.status && (*settings.status < 100 || *settings.status > 999)) {
    throw InvalidValue("--status", std::to_string(*settings.status), "give 100 to 999");
  }
  if (!(settings.delay >= 0 && settings.delay <= 86400)) {
    throw InvalidValue("--delay", std::to_string(settings.delay), "give seconds, up to a day");
  }
}

void serve(const ApiSettings& settings) {
  check(settings);
  const auto api =
      openApi(settings, [](const std::string& line) { std::cout << line << std::endl; });
  if (!api) {
    throw CommandError(api.error());
  }
  (*api)->endOnSignals();
  std::cout << "http://127.0.0.1:" << (*api)->port() << kApiPath << std::endl;
  (*api)->serve();
}

}  // namespace

void addApiCommand(CLI::App& app) {
  auto settings = std::make_shared<ApiSettings>();
  CLI::App* command = app.add_subcommand(
      "api", "Serves the affirmation web API on this machine, for development, until interrupted");
  command->add_option("--port", settings->port, "Port of 127.0.0.1; 0 for any")
      ->capture_default_str();
  command->add_option("--key", settings->key, "The only valid X-API-KEY (default: any)");
  command->add_option("--status", settings->status, "Status for valid requests instead of 200");
  command->add_option("--delay", settings->delay, "Seconds before every answer");
  command->add_flag("--cut", settings->cut, "Closes the connection mid-body");
  command->add_flag("--bad-json", settings->badJSON, "Omits the last bracket of the body");
  command->add_option(
      "--huge", settings->huge, "Length of the body in bytes, reached by a long text");
  command->callback([settings] { serve(*settings); });
}

}  // namespace host
