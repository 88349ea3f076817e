#pragma once

#include <filesystem>
#include <string>

#include "platform/widgetkit/extension_protocol.h"

namespace bench {

/// What was built.
inline const std::filesystem::path kBuild = GLANCERY_BUILD;
inline const std::filesystem::path kExtension = kBuild / "Glancery.appex";

/// A phone for measuring: a container of its own, in which the host app has recorded a streak whose
/// last day is today, and a clock that stands. From the second look on the widget only reads, as
/// most looks of a day do.
class DemoPhone {
 public:
  static constexpr const char* kNow = "2026-03-05T18:30:00Z";
  static constexpr const char* kTimeZone = "America/Mexico_City";
  static constexpr platform::Size kSmallWidget = {158, 158};
  static constexpr platform::EdgeInsets kContentMargins = {16, 16, 16, 16};

  DemoPhone();
  ~DemoPhone();
  DemoPhone(const DemoPhone&) = delete;
  DemoPhone& operator=(const DemoPhone&) = delete;

  const std::filesystem::path& container() const { return container_; }

  platform::ConfigureRequest configure() const;
  static platform::ProvideRequest streakTimeline();

 private:
  std::filesystem::path container_;
};

/// Stops the program: a figure of something that does not work is none.
[[noreturn]] void giveUp(const std::string& reason);

/// The value of an answer, or the end with its reason.
template <class Expected>
auto valueOf(Expected expected) {
  if (!expected) {
    if constexpr (requires { expected.error().reason; }) {
      giveUp(expected.error().reason);
    } else {
      giveUp(expected.error());
    }
  }
  return *std::move(expected);
}

}  // namespace bench
