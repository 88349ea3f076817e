#include "platform/intents/intent.h"

namespace platform {

namespace {

constexpr const char* kPhraseKey = "suggestedInvocationPhrase";

}  // namespace

std::shared_ptr<INIntent> INIntent::initWithCoder(NSCoder& coder) {
  auto intent = std::make_shared<INIntent>();
  return intent->decode(coder) ? intent : nullptr;
}

void INIntent::encodeWithCoder(NSCoder& coder) const {
  coder.encodeObject(phrase_, kPhraseKey);
}

bool INIntent::decode(NSCoder& coder) {
  phrase_ = coder.decodeObject<std::string>(kPhraseKey);
  return !coder.error();
}

}  // namespace platform
