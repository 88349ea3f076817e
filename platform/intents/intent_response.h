#pragma once

#include <memory>

#include "platform/intents/coder.h"
#include "platform/intents/user_activity.h"

namespace platform {

/// An app's answer to an intent: the base of the classes that intent definitions generate. Shared
/// by reference; not safe from several threads.
class INIntentResponse : public NSCoding {
 public:
  static constexpr std::string_view kClassName = "INIntentResponse";

  INIntentResponse() = default;
  static std::shared_ptr<INIntentResponse> initWithCoder(NSCoder& coder);

  std::string_view className() const override { return kClassName; }
  void encodeWithCoder(NSCoder& coder) const override;

  /// What the app goes on with if the answer leads into it; may be absent.
  const std::shared_ptr<NSUserActivity>& userActivity() const { return userActivity_; }
  void setUserActivity(std::shared_ptr<NSUserActivity> activity) {
    userActivity_ = std::move(activity);
  }

 protected:
  /// What every class of responses decodes; false if that fails.
  bool decode(NSCoder& coder);

 private:
  std::shared_ptr<NSUserActivity> userActivity_;
};

}  // namespace platform
