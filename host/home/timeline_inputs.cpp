#include "host/home/timeline_inputs.h"

#include <tuple>

#include "host/phone/host_error.h"
#include "platform/foundation/data/property_list.h"
#include "platform/support/fingerprint.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;

namespace {

/// The suite's values under the host app's keys that `which` accepts.
Dictionary hostAppValues(const Dictionary& suite, const auto& which) {
  Dictionary values;
  for (const HostAppKey& key : kHostAppKeys) {
    if (const Value* value = which(key) ? suite.find(key.key) : nullptr) {
      values.set(std::string(key.key), *value);
    }
  }
  return values;
}

}  // namespace

Dictionary readHostApp() {
  return hostAppValues(readSharedSuite(), [](const HostAppKey&) { return true; });
}

bool concerns(const HostAppKey& key, const std::string& kind) {
  return key.kind.empty() || key.kind == kind;
}

std::string deviceText(const HostSettings& settings) {
  const auto& [device, screen] = std::tie(settings.device, settings.screen);
  const auto& version = device.systemVersion;
  std::string text = device.locale + " " + device.timeZone;
  for (const int number : {version.major, version.minor, version.patch}) {
    text += " " + std::to_string(number);
  }
  for (const Size& size : {screen.small, screen.medium}) {
    text += " " + std::to_string(size.width) + " " + std::to_string(size.height);
  }
  return text;
}

std::string suiteText(const std::string& kind) {
  Dictionary values;
  try {
    const Dictionary suite = readSharedSuite();
    values = hostAppValues(suite, [&](const HostAppKey& key) { return concerns(key, kind); });
    const Value* affirmation = suite.find(glancery::kAffirmationDataKey);
    if (affirmation && kind == glancery::kAffirmationKind) {
      values.set(glancery::kAffirmationDataKey, *affirmation);
    }
  } catch (const HostError& unreadable) {
    // `suiteChanged` reports it. The text differs as soon as the suite can be read.
    return unreadable.what();
  }
  const auto bytes = NSPropertyListSerialization::dataWithPropertyList(values);
  return bytes ? platform::fingerprint(*bytes) : bytes.error().debugDescription;
}

}  // namespace host
