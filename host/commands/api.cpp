#include <iostream>

#include "host/api/affirmation_api.h"
#include "host/commands/commands.h"

namespace host {

namespace {

void serve(const ApiSettings& settings) {
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

// clang-format off
Command apiCommand() {
  static ApiSettings settings;
  const std::string usual = std::to_string(ApiSettings().port);
  return {
      .name = "api",
      .description = "Serves the affirmation web API on this machine, for development, until interrupted",
      .groups = {
          {"Server", {
              {"--port N", &settings.port, "Port of 127.0.0.1; 0 for any (default: " + usual + ")"},
              {"--key KEY", &settings.key, "The only valid X-API-KEY (default: any)"}}},
          {"Faults", {
              {"--status N", &settings.status, "Status for valid requests instead of 200", Range(100, 999)},
              {"--delay SECONDS", &settings.delay, "Seconds before every answer", Range(0, 86400)},
              {"--cut", &settings.cut, "Closes the connection mid-body"},
              {"--bad-json", &settings.badJSON, "Omits the last bracket of the body"},
              {"--huge BYTES", &settings.huge, "Length of the body, reached by a long text"}}}},
      .examples = {"api", "api --status 503 --delay 2  # fails after two seconds"},
      .run = [] { serve(settings); }};
}
// clang-format on

}  // namespace host
