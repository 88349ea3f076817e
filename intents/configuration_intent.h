#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>

#include "platform/intents/intent.h"
#include "platform/intents/intent_response.h"

// The types that are generated for an intent definition without parameters. The check-in and the
// mood log have it as their configuration, so there is nothing to configure.

namespace glancery {

class ConfigurationIntent : public platform::INIntent {
 public:
  static constexpr std::string_view kClassName = "ConfigurationIntent";

  static std::shared_ptr<ConfigurationIntent> initWithCoder(platform::NSCoder& coder);
  std::string_view className() const override { return kClassName; }
};

/// The result of an intent. Apps and system exchange the numbers.
enum class ConfigurationIntentResponseCode : std::int64_t {
  unspecified,
  ready,
  continueInApp,
  inProgress,
  success,
  failure,
  failureRequiringAppLaunch,
};

/// Nothing for a number that is not a code.
std::optional<ConfigurationIntentResponseCode> configurationIntentResponseCode(
    std::int64_t rawValue);

class ConfigurationIntentResponse : public platform::INIntentResponse {
 public:
  using Code = ConfigurationIntentResponseCode;
  static constexpr std::string_view kClassName = "ConfigurationIntentResponse";

  ConfigurationIntentResponse() = default;
  ConfigurationIntentResponse(Code code, std::shared_ptr<platform::NSUserActivity> userActivity);
  /// An archive does not contain the code, which is then `unspecified`.
  static std::shared_ptr<ConfigurationIntentResponse> initWithCoder(platform::NSCoder& coder);
  std::string_view className() const override { return kClassName; }

  Code code() const { return code_; }
  void setCode(Code code) { code_ = code; }

 private:
  Code code_ = Code::unspecified;
};

/// Handles the intent. Both operations are optional: a handler overrides those that it offers.
class ConfigurationIntentHandling {
 public:
  using Response = std::shared_ptr<ConfigurationIntentResponse>;
  using Completion = std::function<void(Response)>;

  virtual ~ConfigurationIntentHandling() = default;

  /// Each calls `completion` once, now or later; returns false, without a call, if not offered.
  virtual bool confirmConfiguration(const ConfigurationIntent& intent, Completion completion);
  virtual bool handleConfiguration(const ConfigurationIntent& intent, Completion completion);

  /// The same with a future response; nothing if not offered.
  std::optional<std::future<Response>> confirm(const ConfigurationIntent& intent);
  std::optional<std::future<Response>> handle(const ConfigurationIntent& intent);
};

}  // namespace glancery
