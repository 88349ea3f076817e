#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/widget_host.h"
#include "platform/foundation/value.h"
#include "platform/widgetkit/extension_protocol.h"

namespace host {

using Json = nlohmann::ordered_json;

/// A value as JSON; dates as ISO 8601 texts, data as {"data": base64}.
Json toJson(const platform::Value& value);
/// An entry's fields under their own names and in their order.
Json toJson(const platform::ArchivedEntry& entry);
/// {"kind", "entries", "policy", "log"}: a provider's whole answer.
Json timelineJson(const std::string& kind,
                  const platform::ArchivedTimeline& timeline,
                  const std::vector<std::string>& log);
/// {"kind", "entry", "log"}: a placeholder or snapshot.
Json entryJson(const std::string& kind,
               const platform::ArchivedEntry& entry,
               const std::vector<std::string>& log);
/// The gallery, in order.
Json toJson(const std::vector<GalleryItem>& gallery);

/// Prints two spaces a level, then a line feed.
void print(const Json& json);

}  // namespace host
