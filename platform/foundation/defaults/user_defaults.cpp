#include "platform/foundation/defaults/user_defaults.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "platform/foundation/defaults/suite_file.h"

namespace platform {

namespace {

std::filesystem::path& container() {
  static std::filesystem::path folder;
  return folder;
}

/// The platform's functions can't return an error.
void report(const std::expected<void, std::string>& done, std::string_view what) {
  if (!done) {
    std::fprintf(stderr,
                 "NSUserDefaults: %.*s: %s\n",
                 static_cast<int>(what.size()),
                 what.data(),
                 done.error().c_str());
  }
}

std::int64_t cutTowardZero(double value) {
  if (std::isnan(value)) {
    return 0;
  }
  if (value >= 0x1p63) {
    return INT64_MAX;
  }
  return value <= -0x1p63 ? INT64_MIN : static_cast<std::int64_t>(value);
}

}  // namespace

void setSharedContainer(std::filesystem::path folder) {
  container() = std::move(folder);
}

const std::filesystem::path& sharedContainer() {
  return container();
}

std::optional<NSUserDefaults> NSUserDefaults::initWithSuiteName(std::string_view suiteName) {
  auto file = SuiteFile::pathOf(sharedContainer(), suiteName);
  if (!SuiteFile(file).canBeOpened()) {
    return std::nullopt;
  }
  return NSUserDefaults(std::move(file));
}

std::optional<Value> NSUserDefaults::objectForKey(std::string_view key) const {
  const auto contents = SuiteFile(file_).read();
  const Value* value = contents.dictionary().find(key);
  return value ? std::optional(*value) : std::nullopt;
}

std::optional<Data> NSUserDefaults::dataForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  const auto* data = value ? value->as<Data>() : nullptr;
  return data ? std::optional(*data) : std::nullopt;
}

std::int64_t NSUserDefaults::integerForKey(std::string_view key) const {
  const auto value = objectForKey(key);
  if (!value) {
    return 0;
  }
  if (const auto* integer = value->as<std::int64_t>()) {
    return *integer;
  }
  if (const auto* real = value->as<double>()) {
    return cutTowardZero(*real);
  }
  if (const auto* boolean = value->as<bool>()) {
    return *boolean ? 1 : 0;
  }
  if (const auto* text = value->as<std::string>()) {
    return std::strtoll(text->c_str(), nullptr, 10);
  }
  return 0;
}

Dictionary NSUserDefaults::dictionaryRepresentation() const {
  return SuiteFile(file_).read().dictionary();
}

void NSUserDefaults::setObject(const Value& value, std::string_view key) {
  const auto edit = [&](Dictionary& suite) {
    suite.set(std::string(key), value);
    return true;
  };
  report(SuiteFile(file_).change(edit), "\"" + std::string(key) + "\" is not written");
}

void NSUserDefaults::setInteger(std::int64_t value, std::string_view key) {
  setObject(value, key);
}

void NSUserDefaults::removeObjectForKey(std::string_view key) {
  const auto edit = [key](Dictionary& suite) { return suite.remove(key); };
  report(SuiteFile(file_).change(edit), "\"" + std::string(key) + "\" is not removed");
}

bool NSUserDefaults::synchronize() {
  const auto done = SuiteFile(file_).synchronize();
  report(done, "not synchronized");
  return done.has_value();
}

}  // namespace platform
