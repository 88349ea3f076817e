#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/intents/coder.h"

namespace platform {

/// The base of the classes that are generated from intent definitions. Shared by reference; not
/// thread safe.
class INIntent : public NSCoding {
 public:
  static constexpr std::string_view kClassName = "INIntent";

  INIntent() = default;
  static std::shared_ptr<INIntent> initWithCoder(NSCoder& coder);

  std::string_view className() const override { return kClassName; }
  void encodeWithCoder(NSCoder& coder) const override;

  /// The phrase that the app suggests for requests by voice.
  const std::optional<std::string>& suggestedInvocationPhrase() const { return phrase_; }
  void setSuggestedInvocationPhrase(std::optional<std::string> phrase) {
    phrase_ = std::move(phrase);
  }

 protected:
  /// Decodes the members of this class; false if that fails.
  bool decode(NSCoder& coder);

 private:
  std::optional<std::string> phrase_;
};

}  // namespace platform
