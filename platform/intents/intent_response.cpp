#include "platform/intents/intent_response.h"

namespace platform {

namespace {

constexpr const char* kActivityTypeKey = "userActivity.activityType";
constexpr const char* kUserInfoKey = "userActivity.userInfo";

}  // namespace

std::shared_ptr<INIntentResponse> INIntentResponse::initWithCoder(NSCoder& coder) {
  auto response = std::make_shared<INIntentResponse>();
  return response->decode(coder) ? response : nullptr;
}

void INIntentResponse::encodeWithCoder(NSCoder& coder) const {
  if (userActivity_) {
    coder.encodeObject(std::optional(userActivity_->activityType), kActivityTypeKey);
    coder.encodeObject(std::optional(userActivity_->userInfo), kUserInfoKey);
  }
}

bool INIntentResponse::decode(NSCoder& coder) {
  const auto type = coder.decodeObject<std::string>(kActivityTypeKey);
  const auto info = coder.decodeObject<Dictionary>(kUserInfoKey);
  if (coder.error()) {
    return false;
  }
  userActivity_ =
      type ? std::make_shared<NSUserActivity>(*type, info.value_or(Dictionary())) : nullptr;
  return true;
}

}  // namespace platform
