#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/phone/widget_host.h"
#include "host/transfer/transfer_store.h"
#include "platform/widgetkit/extension_protocol.h"

// The output of --json, indented by two spaces. Dates are ISO 8601 strings, absent values null.

namespace host {

/// A value of the suite; data is {"data": base64}.
std::string valueJSON(const platform::Value& value);
/// The fields of an entry by name, in the entry's order; strings as they are, other values as JSON.
/// Throws CommandError if the extension sent no JSON object.
std::vector<std::pair<std::string, std::string>> fieldTexts(const platform::ArchivedEntry& entry);
/// {"kind", "entries", "policy", "log"}, the answer to a request for a timeline, or
/// {"kind", "entry", "log"}, the answer to another request. An entry's fields keep their order.
std::string answerJSON(platform::ProvideRequest::What what,
                       const std::string& kind,
                       const platform::ArchivedTimeline& answer,
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
std::string galleryJSON(const std::vector<GalleryItem>& gallery);
/// {"downloads", "damaged"}
std::string downloadsJSON(const TransferListing& listing);

const char* nameOf(TransferState state);
/// Longer URLs are cut.
inline constexpr std::size_t kLongestURL = 2000;

}  // namespace host
