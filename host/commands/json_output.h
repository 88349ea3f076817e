#pragma once

#include <string>
#include <vector>

#include "host/phone/widget_host.h"
#include "host/transfer/transfer_store.h"
#include "platform/foundation/data/value.h"
#include "platform/widgetkit/extension_protocol.h"

// The output of --json, indented by two spaces. Dates are ISO 8601 strings, absent values null.

namespace host {

/// A value of the suite; data is {"data": base64}.
std::string valueJSON(const platform::Value& value);
/// A field of an entry; nested records keep the order of their members.
std::string fieldJSON(const platform::MirroredField& field);
/// {"kind", "entries", "policy", "log"}: the answer of a provider. An entry's fields keep their
/// names and order.
std::string timelineJSON(const std::string& kind,
                         const platform::ArchivedTimeline& timeline,
                         const std::vector<std::string>& log);
/// A timeline and the lines that were logged during its request.
struct LoggedTimeline {
  platform::ArchivedTimeline timeline;
  std::vector<std::string> log;
};

/// {"timelines", "log"}: the answers in order, and all lines.
std::string settledJSON(const std::string& kind,
                        const std::vector<LoggedTimeline>& timelines,
                        const std::vector<std::string>& log);
/// {"kind", "entry", "log"}: a placeholder or snapshot.
std::string entryJSON(const std::string& kind,
                      const platform::ArchivedEntry& entry,
                      const std::vector<std::string>& log);
std::string galleryJSON(const std::vector<GalleryItem>& gallery);
/// {"downloads", "damaged"}
std::string downloadsJSON(const TransferListing& listing);

const char* nameOf(TransferState state);
/// Longer URLs are cut.
inline constexpr std::size_t kLongestURL = 2000;

}  // namespace host
