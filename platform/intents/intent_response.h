#pragma once

#include <memory>
#include <string>

#include "platform/intents/coder.h"

namespace platform {

/// What a user was doing when one program passed control to another.
struct NSUserActivity {
  /// A reverse-DNS identifier.
  std::string activityType;
  Dictionary userInfo = {};
};

/// An app's answer to an intent: the base of the classes that are generated from intent
/// definitions. Shared by reference; not thread safe.
class INIntentResponse : public NSCoding {
 public:
  static constexpr std::string_view kClassName = "INIntentResponse";

  INIntentResponse() = default;
  static std::shared_ptr<INIntentResponse> initWithCoder(NSCoder& coder);

  std::string_view className() const override { return kClassName; }
  void encodeWithCoder(NSCoder& coder) const override;

  /// What the app continues with if the answer opens it; may be null.
  const std::shared_ptr<NSUserActivity>& userActivity() const { return userActivity_; }
  void setUserActivity(std::shared_ptr<NSUserActivity> activity) {
    userActivity_ = std::move(activity);
  }

 protected:
  /// Decodes the members of this class; false if that fails.
  bool decode(NSCoder& coder);

 private:
  std::shared_ptr<NSUserActivity> userActivity_;
};

}  // namespace platform
