#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/intents/coder.h"

namespace platform {

/// A request that the system can make of an app: the base of the classes that intent definitions
/// generate. Shared by reference; not safe from several threads.
class INIntent : public NSCoding {
 public:
  static constexpr std::string_view kClassName = "INIntent";

  INIntent() = default;
  static std::shared_ptr<INIntent> initWithCoder(NSCoder& coder);

  std::string_view className() const override { return kClassName; }
  void encodeWithCoder(NSCoder& coder) const override;

  /// The words that the app proposes for asking by voice.
  const std::optional<std::string>& suggestedInvocationPhrase() const { return phrase_; }
  void setSuggestedInvocationPhrase(std::optional<std::string> phrase) {
    phrase_ = std::move(phrase);
  }

 protected:
  /// What every class of intents decodes; false if that fails.
  bool decode(NSCoder& coder);

 private:
  std::optional<std::string> phrase_;
};

}  // namespace platform
