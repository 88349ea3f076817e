#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>

#include "host/phone/screens.h"
#include "platform/foundation/data/raw_representable.h"
#include "platform/foundation/data/value.h"
#include "platform/foundation/time/device.h"
#include "platform/render/images/picture_options.h"
#include "platform/swiftui/color_scheme.h"
#include "platform/swiftui/geometry.h"

namespace platform {

template <>
inline constexpr std::array<std::string_view, 2> kRawValues<ColorScheme> = {"light", "dark"};

}  // namespace platform

namespace host {

/// The phone that the host plays.
struct HostSettings {
  /// The bundle's folder and the folder of the app group, both absolute.
  std::filesystem::path extension = {};
  std::filesystem::path container = {};
  platform::Device device = {};
  /// Whether the device's time zone is the machine's, and changes with it.
  bool followsMachineZone = false;
  platform::ColorScheme scheme = platform::ColorScheme::light;
  ScreenClass screen = *screenClassNamed("390x844");
  /// Whether downloads are retried by the device's clock instead of the machine's, and pictures are
  /// drawn but not encoded.
  bool simulated = false;
  /// Values that replace those of the bundle's Info dictionary.
  platform::Dictionary infoOverrides = {};

  /// The system's margins around a widget's content: 16 points on every edge from iOS 17 on.
  platform::EdgeInsets contentMargins() const;
  /// How a widget is drawn on this phone.
  platform::PictureOptions pictureOptions() const;
};

/// The folder of the system's typefaces.
std::filesystem::path systemFonts();

/// The settings that are chosen by a text.
inline constexpr std::array<std::string_view, 5> kTextSettings = {
    "scheme", "locale", "timeZone", "os", "screen"};

/// Changes the setting of that name; an `InvalidValue` names it `shownName`.
void change(HostSettings& settings,
            std::string_view name,
            const std::string& text,
            std::string_view shownName);

/// The path of an extension's folder, absolute and without symbolic links; throws a `HostError` if
/// the folder holds no program "Glancery".
std::filesystem::path requireExtension(const std::filesystem::path& folder);

/// Makes the device and the container of these settings those of this process.
void makeCurrent(const HostSettings& settings);

/// The time zone of the machine; UTC if it is unknown.
std::string machineTimeZone();

}  // namespace host
