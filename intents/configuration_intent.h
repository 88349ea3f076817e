#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>

#include "platform/intents/intent.h"
#include "platform/intents/intent_response.h"

// The shape that an intent definition without parameters generates: check-in and mood log take
// their configuration as such an intent, and there is nothing in it to configure.

namespace glancery {

class ConfigurationIntent : public platform::INIntent {
 public:
  static constexpr std::string_view kClassName = "ConfigurationIntent";

  static std::shared_ptr<ConfigurationIntent> initWithCoder(platform::NSCoder& coder);
  std::string_view className() const override { return kClassName; }
};

/// How a request for the intent went, as generated responses say it; apps and system exchange the
/// numbers.
enum class ConfigurationIntentResponseCode : std::int64_t {
  unspecified,
  ready,
  continueInApp,
  inProgress,
  success,
  failure,
  failureRequiringAppLaunch,
};

/// Nothing for a number that stands for no code.
std::optional<ConfigurationIntentResponseCode> configurationIntentResponseCode(
    std::int64_t rawValue);

class ConfigurationIntentResponse : public platform::INIntentResponse {
 public:
  using Code = ConfigurationIntentResponseCode;
  static constexpr std::string_view kClassName = "ConfigurationIntentResponse";

  ConfigurationIntentResponse() = default;
  ConfigurationIntentResponse(Code code, std::shared_ptr<platform::NSUserActivity> userActivity);
  /// An archive holds no code: the response comes back unspecified.
  static std::shared_ptr<ConfigurationIntentResponse> initWithCoder(platform::NSCoder& coder);
  std::string_view className() const override { return kClassName; }

  Code code() const { return code_; }
  void setCode(Code code) { code_ = code; }

 private:
  Code code_ = Code::unspecified;
};

/// Answers the intent. Both operations are optional: a handler overrides those that it offers, and
/// the others say that they are not offered.
class ConfigurationIntentHandling {
 public:
  using Response = std::shared_ptr<ConfigurationIntentResponse>;
  using Completion = std::function<void(Response)>;

  virtual ~ConfigurationIntentHandling() = default;

  /// Each calls `completion` once, at once or later; false, without a call, if it is not offered.
  virtual bool confirmConfiguration(const ConfigurationIntent& intent, Completion completion);
  virtual bool handleConfiguration(const ConfigurationIntent& intent, Completion completion);

  /// The same, with the response to wait for; nothing if it is not offered.
  std::optional<std::future<Response>> confirm(const ConfigurationIntent& intent);
  std::optional<std::future<Response>> handle(const ConfigurationIntent& intent);
};

}  // namespace glancery
