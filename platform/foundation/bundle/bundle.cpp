#include "platform/foundation/bundle/bundle.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <mutex>
#include <utility>

#include "platform/foundation/bundle/string_catalog.h"
#include "platform/foundation/data/property_list.h"
#include "platform/foundation/time/device.h"
#include "platform/support/files.h"

namespace platform {

struct NSBundle::Contents {
  std::filesystem::path folder;
  Dictionary infoOverrides;
  std::once_flag infoOnce;
  std::optional<Dictionary> info;
  std::once_flag stringsOnce;
  std::shared_ptr<const StringCatalog> strings;
};

namespace {

std::mutex mainBundleMutex;
std::optional<NSBundle> mainBundleValue;

std::optional<Dictionary> readInfo(const std::filesystem::path& file, const Dictionary& overrides) {
  const auto bytes = readFile(file);
  if (!bytes) {
    return std::nullopt;
  }
  const auto list = NSPropertyListSerialization::propertyListWithData(*bytes);
  if (!list || !list->dictionary()) {
    return std::nullopt;
  }
  Dictionary info = *list->dictionary();
  for (const auto& [key, value] : overrides) {
    info.set(key, value);
  }
  return info;
}

/// The catalogue that this process last read from a file.
struct KnownCatalog {
  std::shared_ptr<const StringCatalog> lastGood = std::make_shared<StringCatalog>();
  /// Why the file can't be read now; empty if it can.
  std::string error;
};

std::expected<StringCatalog, std::string> parseCatalog(const std::filesystem::path& file) {
  const auto bytes = readFile(file);
  if (!bytes && bytes.error() == std::errc::no_such_file_or_directory) {
    return StringCatalog();
  }
  return bytes ? StringCatalog::parse(Data{*bytes}) : std::unexpected(bytes.error().message());
}

std::shared_ptr<const StringCatalog> readStrings(const std::filesystem::path& file) {
  static std::mutex mutex;
  static std::map<std::filesystem::path, KnownCatalog> known;
  auto catalog = parseCatalog(file);
  const std::scoped_lock lock(mutex);
  KnownCatalog& entry = known[file];
  if (catalog) {
    entry = {std::make_shared<StringCatalog>(*std::move(catalog)), {}};
  } else if (std::exchange(entry.error, catalog.error()) != catalog.error()) {
    std::fprintf(stderr, "%s can't be read: %s\n", file.c_str(), catalog.error().c_str());
  }
  return entry.lastGood;
}

}  // namespace

NSBundle::NSBundle(std::filesystem::path folder, Dictionary infoOverrides)
    : contents_(std::make_shared<Contents>()) {
  contents_->folder = std::move(folder);
  contents_->infoOverrides = std::move(infoOverrides);
}

NSBundle NSBundle::mainBundle() {
  const std::scoped_lock lock(mainBundleMutex);
  if (!mainBundleValue) {
    mainBundleValue.emplace(programFolder());
  }
  return *mainBundleValue;
}

void NSBundle::setMainBundle(NSBundle bundle) {
  const std::scoped_lock lock(mainBundleMutex);
  mainBundleValue = std::move(bundle);
}

const std::filesystem::path& NSBundle::bundlePath() const {
  return contents_->folder;
}

const Dictionary& NSBundle::infoOverrides() const {
  return contents_->infoOverrides;
}

std::optional<Dictionary> NSBundle::infoDictionary() const {
  std::call_once(contents_->infoOnce, [this] {
    contents_->info = readInfo(contents_->folder / "Info.plist", contents_->infoOverrides);
  });
  return contents_->info;
}

const StringCatalog& NSBundle::strings() const {
  std::call_once(contents_->stringsOnce, [this] {
    contents_->strings = readStrings(contents_->folder / "Localizable.xcstrings");
  });
  return *contents_->strings;
}

std::string NSBundle::localization() const {
  const Device device = currentDevice();
  const auto& preferred = device.languages.empty() ? std::vector{device.locale} : device.languages;
  auto match = preferredLocalization(strings().languages(), preferred, {});
  if (!match.empty()) {
    return match;
  }
  const auto info = infoDictionary();
  const auto region = info ? info->string("CFBundleDevelopmentRegion") : std::nullopt;
  return region.value_or(strings().sourceLanguage());
}

std::string NSBundle::localizedString(std::string_view key,
                                      const std::vector<std::int64_t>& arguments) const {
  const auto text = strings().text(key, localization(), arguments);
  return formatArguments(text ? *text : key, arguments);
}

std::string preferredLocalization(const std::vector<std::string>& available,
                                  const std::vector<std::string>& preferred,
                                  std::string_view developmentRegion) {
  const auto has = [&](std::string_view language) {
    return std::ranges::find(available, language) != available.end();
  };
  for (std::string tag : preferred) {
    tag.resize(std::min(tag.find('@'), tag.size()));
    std::ranges::replace(tag, '_', '-');
    // Tries "zh-Hant-TW", "zh-Hant" and "zh".
    while (!tag.empty()) {
      if (has(tag)) {
        return tag;
      }
      const auto dash = tag.rfind('-');
      tag.resize(dash == std::string::npos ? 0 : dash);
    }
  }
  return std::string(developmentRegion);
}

}  // namespace platform
