#pragma once

#include <string>

#include "host/phone/host_app.h"
#include "host/phone/host_settings.h"
#include "platform/foundation/data/value.h"

// What a timeline depends on besides the clock. A stored timeline is kept with these texts, so that
// the next home screen finds those that are out of date.

namespace host {

/// The host app's values in the shared suite. Throws a `HostError` if it can't be read.
platform::Dictionary readHostApp();

/// Whether widgets of this kind show the key's value.
bool concerns(const HostAppKey& key, const std::string& kind);

/// The device's settings that a timeline depends on.
std::string deviceText(const HostSettings& settings);

/// The values in the suite that a timeline shows. The affirmation is the extension's own; comparing
/// it as well finds one that was stored by an extension whose reload reached no home screen.
std::string suiteText(const std::string& kind);

}  // namespace host
