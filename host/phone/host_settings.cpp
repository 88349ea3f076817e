#include "host/phone/host_settings.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "host/phone/host_error.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/locale/locale.h"
#include "platform/foundation/time/time_zone.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

namespace fs = std::filesystem;

struct Setting {
  /// What to write instead of an invalid text.
  std::string valid;
  /// False if the text is not valid; the settings may be changed then.
  bool (*set)(HostSettings& settings, const std::string& text);
};

/// In the order of `kTextSettings`.
const std::array<Setting, kTextSettings.size()>& settingTable() {
  static const std::array<Setting, kTextSettings.size()> kTable = {{
      {"give light or dark",
       [](HostSettings& settings, const std::string& text) {
         const auto scheme = withRawValue<ColorScheme>(text);
         settings.scheme = scheme.value_or(settings.scheme);
         return scheme.has_value();
       }},
      {"give a locale such as es_MX or en_US",
       [](HostSettings& settings, const std::string& text) {
         settings.device.locale = text;
         settings.device.languages = {text};
         return Locale::withIdentifier(text).has_value();
       }},
      {"give a name of the tz database such as America/Mexico_City",
       [](HostSettings& settings, const std::string& text) {
         settings.device.timeZone = text;
         settings.followsMachineZone = false;
         return TimeZone::withIdentifier(text).has_value();
       }},
      {"give a version such as 17.0 or 16.4",
       [](HostSettings& settings, const std::string& text) {
         constexpr int kLargest = 999;
         const auto version = parseOperatingSystemVersion(text);
         settings.device.systemVersion = version.value_or(OperatingSystemVersion());
         return version && std::max({version->major, version->minor, version->patch}) <= kLargest;
       }},
      {"give one of " + listOf(screenClasses(), &ScreenClass::name),
       [](HostSettings& settings, const std::string& text) {
         const ScreenClass* const screen = screenClassNamed(text);
         settings.screen = screen ? *screen : settings.screen;
         return screen != nullptr;
       }},
  }};
  return kTable;
}

}  // namespace

EdgeInsets HostSettings::contentMargins() const {
  constexpr double kMargin = 16;
  return device.systemVersion >= OperatingSystemVersion{17, 0}
             ? EdgeInsets{kMargin, kMargin, kMargin, kMargin}
             : EdgeInsets{};
}

PictureOptions HostSettings::pictureOptions() const {
  return {.scale = screen.scale, .scheme = scheme, .cornerRadius = kWidgetCornerRadius};
}

fs::path systemFonts() {
  return programFolder() / "system" / "Fonts";
}

void change(HostSettings& settings,
            std::string_view name,
            const std::string& text,
            std::string_view shownName) {
  const auto index = std::ranges::find(kTextSettings, name) - kTextSettings.begin();
  const Setting& setting = settingTable().at(static_cast<std::size_t>(index));
  HostSettings changed = settings;
  if (!setting.set(changed, text)) {
    throw InvalidValue(std::string(shownName), text, setting.valid);
  }
  settings = std::move(changed);
}

fs::path requireExtension(const fs::path& folder) {
  const fs::path extension = fs::absolute(folder);
  if (!fs::is_directory(extension)) {
    throw HostError("no extension at " + extension.string() + ": it is not a folder");
  }
  if (!fs::is_regular_file(extension / "Glancery")) {
    throw HostError(extension.string() + " is not an extension: it has no program \"Glancery\"");
  }
  return fs::canonical(extension);
}

void makeCurrent(const HostSettings& settings) {
  setCurrentDevice(settings.device);
  setSharedContainer(settings.container);
}

std::string machineTimeZone() {
  const char* const variable = std::getenv("TZ");
  std::error_code error;
  const std::string link = fs::read_symlink("/etc/localtime", error).string();
  const std::string folder = "zoneinfo/";
  const std::size_t start = link.find(folder);
  for (const std::string& zone :
       {std::string(variable ? variable : ""),
        start == std::string::npos ? "" : link.substr(start + folder.size())}) {
    if (TimeZone::withIdentifier(zone)) {
      return zone;
    }
  }
  return "UTC";
}

}  // namespace host
