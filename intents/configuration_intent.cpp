#include "intents/configuration_intent.h"

#include <utility>

namespace glancery {

using namespace platform;

namespace {

using Handling = ConfigurationIntentHandling;

std::optional<std::future<Handling::Response>> awaited(
    Handling& handler,
    bool (Handling::*operation)(const ConfigurationIntent&, Handling::Completion),
    const ConfigurationIntent& intent) {
  const auto promise = std::make_shared<std::promise<Handling::Response>>();
  auto future = promise->get_future();
  const bool offered = (handler.*operation)(
      intent, [promise](Handling::Response response) { promise->set_value(std::move(response)); });
  return offered ? std::optional(std::move(future)) : std::nullopt;
}

}  // namespace

std::shared_ptr<ConfigurationIntent> ConfigurationIntent::initWithCoder(NSCoder& coder) {
  auto intent = std::make_shared<ConfigurationIntent>();
  return intent->decode(coder) ? intent : nullptr;
}

std::optional<ConfigurationIntentResponseCode> configurationIntentResponseCode(
    std::int64_t rawValue) {
  using enum ConfigurationIntentResponseCode;
  if (rawValue < std::to_underlying(unspecified) ||
      rawValue > std::to_underlying(failureRequiringAppLaunch)) {
    return std::nullopt;
  }
  return static_cast<ConfigurationIntentResponseCode>(rawValue);
}

ConfigurationIntentResponse::ConfigurationIntentResponse(
    Code code, std::shared_ptr<NSUserActivity> userActivity)
    : code_(code) {
  setUserActivity(std::move(userActivity));
}

std::shared_ptr<ConfigurationIntentResponse> ConfigurationIntentResponse::initWithCoder(
    NSCoder& coder) {
  auto response = std::make_shared<ConfigurationIntentResponse>();
  return response->decode(coder) ? response : nullptr;
}

bool ConfigurationIntentHandling::confirmConfiguration(const ConfigurationIntent&, Completion) {
  return false;
}

bool ConfigurationIntentHandling::handleConfiguration(const ConfigurationIntent&, Completion) {
  return false;
}

std::optional<std::future<Handling::Response>> ConfigurationIntentHandling::confirm(
    const ConfigurationIntent& intent) {
  return awaited(*this, &Handling::confirmConfiguration, intent);
}

std::optional<std::future<Handling::Response>> ConfigurationIntentHandling::handle(
    const ConfigurationIntent& intent) {
  return awaited(*this, &Handling::handleConfiguration, intent);
}

}  // namespace glancery
