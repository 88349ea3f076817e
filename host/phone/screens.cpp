#include "host/phone/screens.h"

#include <algorithm>
#include <array>

#include "platform/support/pattern.h"

namespace host {

namespace {

// The sizes of 402, 420 and 440 points of width are estimates by class: no published table has
// them.
// clang-format off
constexpr std::array kScreens = {
    //           screen     small       medium      scale
    ScreenClass{"440x956", {170, 170}, {364, 170}, 3},
    ScreenClass{"430x932", {170, 170}, {364, 170}, 3},
    ScreenClass{"428x926", {170, 170}, {364, 170}, 3},
    ScreenClass{"420x912", {170, 170}, {364, 170}, 3},
    ScreenClass{"414x896", {169, 169}, {360, 169}, 3},
    ScreenClass{"414x736", {159, 159}, {348, 157}, 3},
    ScreenClass{"402x874", {162, 162}, {344, 162}, 3},
    ScreenClass{"393x852", {158, 158}, {338, 158}, 3},
    ScreenClass{"390x844", {158, 158}, {338, 158}, 3},
    ScreenClass{"375x812", {155, 155}, {329, 155}, 3},
    ScreenClass{"375x667", {148, 148}, {321, 148}, 2},
    ScreenClass{"360x780", {155, 155}, {329, 155}, 3},
    ScreenClass{"320x568", {141, 141}, {292, 141}, 2},
};
// clang-format on

constexpr double kShortest = 20;
constexpr double kLongest = 1000;

}  // namespace

std::span<const ScreenClass> screenClasses() {
  return kScreens;
}

const ScreenClass* screenClassNamed(std::string_view name) {
  const auto* found = std::ranges::find(kScreens, name, &ScreenClass::name);
  return found == kScreens.end() ? nullptr : found;
}

std::optional<platform::Size> parseSize(std::string_view text) {
  static const platform::Pattern kSize("([0-9]+[.]?[0-9]*)x([0-9]+[.]?[0-9]*)");
  if (!kSize.matches(text)) {
    return std::nullopt;
  }
  const auto parts = *kSize.find<2>(text);
  const platform::Size size = {std::stod(std::string(parts[1])), std::stod(std::string(parts[2]))};
  const auto [least, most] = std::minmax({size.width, size.height});
  return least >= kShortest && most <= kLongest ? std::optional(size) : std::nullopt;
}

}  // namespace host
