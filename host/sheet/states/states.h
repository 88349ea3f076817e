#pragma once

#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/phone/screens.h"
#include "platform/foundation/data/value.h"
#include "platform/foundation/time/date.h"
#include "platform/swiftui/color_scheme.h"
#include "platform/widgetkit/extension_protocol.h"

// What the sheet shows: the states of each widget, and the devices that each state is rendered for.

namespace host {

// The first value of each list is the default one: every state is rendered with all four defaults.

/// The languages of the bundle's texts, then a locale for which the bundle has no texts: its dates
/// still use its own words and digits.
inline constexpr std::array<std::string_view, 5> kLocales = {
    "es_MX", "en_US", "pt_BR", "fr_FR", "ar_EG"};
inline constexpr std::span<const std::string_view> kTranslations = std::span(kLocales).first(4);

/// Views turn compact below 300 points of width, of which content margins take 32 from system 17
/// on. The default screen and the largest have room on both systems. The two screens after them
/// turn compact only with the margins, at 3x and at 2x. The smallest is always compact. The sizes
/// left out differ from these by a few points and cross no threshold.
inline constexpr std::array<std::string_view, 5> kScreens = {
    "390x844", "430x932", "375x812", "375x667", "320x568"};
inline constexpr std::array<std::string_view, 2> kExtremeScreens = {kScreens.front(),
                                                                    kScreens.back()};

inline constexpr std::array kSchemes = {platform::ColorScheme::light, platform::ColorScheme::dark};

/// From 17.0 on the system adds margins and draws the background of the view itself.
inline constexpr std::array<std::string_view, 2> kSystems = {"17.0", "16.4"};

/// Devices: every combination of these values.
struct DeviceMatrix {
  std::span<const std::string_view> locales = std::span(kLocales).first(1);
  std::span<const std::string_view> screens = std::span(kScreens).first(1);
  std::span<const platform::ColorScheme> schemes = std::span(kSchemes).first(1);
  std::span<const std::string_view> systems = std::span(kSystems).first(1);
};

/// What the shared suite holds. Called with the job's device as the current one, because records
/// depend on its calendar and language.
using Suite = std::function<platform::Dictionary()>;

/// Something that a widget can show.
struct SheetState {
  /// Unique within the widget, and part of file names: "yesterday-7-days.morning".
  std::string name;
  platform::Date now = platform::Date::since1970(0);
  Suite suite = [] { return platform::Dictionary(); };
  /// A device that several of these contain is rendered once.
  std::vector<DeviceMatrix> devices = {{}};
  platform::ProvideRequest::What what = platform::ProvideRequest::What::timeline;
};

/// A widget and everything that it can show.
struct SheetWidget {
  std::string_view kind;
  std::vector<SheetState> states;
};

/// The widgets of the bundle in gallery order.
std::span<const SheetWidget> sheetWidgets();

/// One image of the sheet: a state on one device. Points into `sheetWidgets()`.
struct RenderJob {
  const SheetWidget* widget = nullptr;
  const SheetState* state = nullptr;
  std::string_view locale;
  const ScreenClass* screen = nullptr;
  platform::ColorScheme scheme = platform::ColorScheme::light;
  std::string_view system;

  /// The image's path in the sheet's folder, without the extension:
  /// "StreakWidget/yesterday-7-days.morning.es_MX.390x844.dark.17.0".
  std::string name() const;
  /// "light" or "dark"
  std::string_view schemeName() const;
  bool hasDefaultDevice() const;
};

/// All jobs, in the order of widgets and states. Jobs with the same locale and system are
/// neighbours, and among them jobs with the same screen.
std::vector<RenderJob> allRenderJobs();

std::vector<SheetState> checkinStates();
std::vector<SheetState> streakStates();
std::vector<SheetState> affirmationStates();
std::vector<SheetState> moodLogStates();

/// The time of day in UTC, the zone of every job, on Thursday 2026-03-05 or the given day.
platform::Date at(std::string_view time, std::string_view day = "2026-03-05");

/// A JSON object as the host app stores it.
platform::Data record(const platform::Dictionary& members);

/// A suite that holds a signed-in user and `more`.
Suite signedIn(platform::Dictionary more = {});

}  // namespace host
