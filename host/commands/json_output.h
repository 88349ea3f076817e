#pragma once

#include <string>
#include <vector>

#include "host/phone/widget_host.h"
#include "platform/foundation/data/value.h"
#include "platform/widgetkit/extension_protocol.h"

// What commands print with --json: texts of two spaces a level. Dates are ISO 8601 texts, absent
// values null.

namespace host {

/// A value of the suite; data as {"data": base64}.
std::string valueJSON(const platform::Value& value);
/// A field of an entry; nested records keep the order of their members.
std::string fieldJSON(const platform::MirroredField& field);
/// {"kind", "entries", "policy", "log"}: a provider's whole answer, each entry's fields under their
/// own names and in their order.
std::string timelineJSON(const std::string& kind,
                         const platform::ArchivedTimeline& timeline,
                         const std::vector<std::string>& log);
/// One timeline of several, with the lines that were logged while it was asked for.
struct LoggedTimeline {
  platform::ArchivedTimeline timeline;
  std::vector<std::string> log;
};

/// {"timelines", "log"}: the answers in order, and every line from start to end.
std::string settledJSON(const std::string& kind,
                        const std::vector<LoggedTimeline>& timelines,
                        const std::vector<std::string>& log);
/// {"kind", "entry", "log"}: a placeholder or snapshot.
std::string entryJSON(const std::string& kind,
                      const platform::ArchivedEntry& entry,
                      const std::vector<std::string>& log);
/// The gallery, in order.
std::string galleryJSON(const std::vector<GalleryItem>& gallery);

}  // namespace host
