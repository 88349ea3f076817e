#pragma once

#include <array>
#include <string_view>

#include "host/sheet/shot.h"

// The phones of the sheet. Of each list the first is the usual one, on which every state is shown.

namespace host {

/// The languages of the bundle's texts, then one that it has no texts in: dates are written in the
/// locale's own words and digits all the same.
inline constexpr std::array<std::string_view, 5> kLocales = {
    "es_MX", "en_US", "pt_BR", "fr_FR", "ar_EG"};

/// Views turn compact below 300 points of width, which from system 17 on leaves 32 of the widget's
/// for margins. So there are phones with room on both systems, the usual and the largest, phones
/// that turn compact with the margins alone, at either scale, and the smallest, which is always
/// compact. The sizes between differ by a few points and cross no threshold.
inline constexpr std::array<std::string_view, 5> kScreens = {
    "390x844", "430x932", "375x812", "375x667", "320x568"};

inline constexpr std::array kSchemes = {platform::ColorScheme::light, platform::ColorScheme::dark};

/// From 17.0 on the system adds margins and takes the background from the view.
inline constexpr std::array<std::string_view, 2> kSystems = {"17.0", "16.4"};

inline constexpr std::span<const std::string_view> kEveryLocale(kLocales);
inline constexpr std::span<const std::string_view> kTranslations = kEveryLocale.first(4);
inline constexpr std::span<const std::string_view> kEveryScreen(kScreens);
inline constexpr std::span<const std::string_view> kEverySystem(kSystems);
inline constexpr std::span<const platform::ColorScheme> kEveryScheme(kSchemes);

inline constexpr Phones kUsual = {
    kEveryLocale.first(1), kEveryScreen.first(1), kEveryScheme.first(1), kEverySystem.first(1)};

/// The usual screen and the smallest.
inline constexpr std::array<std::string_view, 2> kFarScreens = {kScreens.front(), kScreens.back()};

}  // namespace host
