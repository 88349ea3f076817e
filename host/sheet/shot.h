#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/phone/screens.h"
#include "platform/foundation/data/value.h"
#include "platform/foundation/time/date.h"
#include "platform/foundation/time/device.h"
#include "platform/swiftui/color_scheme.h"
#include "platform/widgetkit/extension_protocol.h"

// What a contact sheet shows: states of widgets, each on the phones that it may look different on.

namespace host {

/// The phones on which a state is shown: every combination of these.
struct Phones {
  std::span<const std::string_view> locales;
  std::span<const std::string_view> screens;
  std::span<const platform::ColorScheme> schemes;
  std::span<const std::string_view> systems;
};

/// Something that a widget can have to show.
struct SheetState {
  /// For people and file names: "yesterday-7-days.morning".
  std::string name;
  platform::Date now = platform::Date::since1970(0);
  /// What host app and extension have left in the shared suite by then, by the device that is
  /// current at the call: records know its calendar and its language.
  std::function<platform::Dictionary()> suite = [] { return platform::Dictionary(); };
  /// Each a combination of its own; a phone that lies in several is shown once.
  std::vector<Phones> phones;
  platform::ProvideRequest::What what = platform::ProvideRequest::What::timeline;
};

/// The widgets of the bundle in gallery order, and everything that each can have to show.
struct SheetWidget {
  std::string_view kind;
  std::vector<SheetState> states;
};
std::span<const SheetWidget> sheetWidgets();

/// One picture of the sheet.
struct Shot {
  const SheetWidget* widget = nullptr;
  const SheetState* state = nullptr;
  std::string_view locale;
  const ScreenClass* screen = nullptr;
  platform::ColorScheme scheme = platform::ColorScheme::light;
  std::string_view system;

  /// Its path in the sheet's folder without an ending:
  /// "StreakWidget/yesterday-7-days.morning.es_MX.390x844.dark.17.0".
  std::string name() const;
  std::string_view schemeName() const;
  /// Whether nothing but the state tells it apart: the phone is the usual one.
  bool isOfTheUsualPhone() const;
};

/// Every picture, in the order of widgets and states; pictures that need the same device, then
/// those of the same size, are neighbours.
std::vector<Shot> everyShot();

}  // namespace host
