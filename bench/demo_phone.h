#pragma once

#include <filesystem>
#include <string>

#include "platform/support/scratch_folder.h"
#include "platform/widgetkit/extension_protocol.h"

namespace bench {

/// The build folder.
inline const std::filesystem::path kBuild = GLANCERY_BUILD;
inline const std::filesystem::path kExtension = kBuild / "Glancery.appex";

/// A phone with a frozen clock and a new container, in which the host app has recorded a streak
/// whose last day is today. After the first timeline the widget only reads, as it does most of the
/// day.
class DemoPhone {
 public:
  static constexpr const char* kNow = "2026-03-05T18:30:00Z";
  static constexpr const char* kTimeZone = "America/Mexico_City";
  static constexpr platform::Size kSmallWidget = {158, 158};
  static constexpr platform::EdgeInsets kContentMargins = {16, 16, 16, 16};

  DemoPhone();

  const std::filesystem::path& container() const { return container_.path(); }

  platform::ConfigureRequest configure() const;
  static platform::ProvideRequest streakTimeline();

 private:
  platform::ScratchFolder container_;
};

/// Ends the program with a message, so that a failure is never measured.
[[noreturn]] void giveUp(const std::string& reason);

/// The value of a result; ends the program if it is an error.
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
