#pragma once

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/drill/drill.h"
#include "host/phone/widget_host.h"
#include "host/transfer/transfer_store.h"
#include "platform/foundation/data/raw_representable.h"
#include "platform/widgetkit/extension_protocol.h"

/// The names of the three requests on the command line.
template <>
inline constexpr std::array<std::string_view, 3>
    platform::kRawValues<platform::ProvideRequest::What> = {"placeholder", "snapshot", "timeline"};

// The output of --json, indented by two spaces. Dates are ISO 8601 strings, absent values null.

namespace host {

/// A value of the suite; data is {"data": base64}.
std::string valueJSON(const platform::Value& value);
/// The fields of an entry by name, in the entry's order; strings as they are, other values as JSON.
/// Throws CommandError if the extension sent no JSON object.
std::vector<std::pair<std::string, std::string>> fieldTexts(const platform::ArchivedEntry& entry);

/// An answer of a provider, and the lines that were logged during its request.
struct Answer {
  platform::ProvideRequest::What what;
  std::string kind;
  platform::ArchivedTimeline timeline;
  std::vector<std::string> log;
};
/// {"kind", "entries", "policy", "log"} for a timeline, {"kind", "entry", "log"} for another
/// request. An entry's fields keep their order.
std::string answerJSON(const Answer& answer);
/// {"timelines", "log"}: the answers in order, and all lines.
std::string settledJSON(const std::vector<Answer>& answers, const std::vector<std::string>& log);
std::string galleryJSON(const std::vector<GalleryItem>& gallery);
/// {"downloads", "damaged"}
std::string downloadsJSON(const TransferListing& listing);
/// [{"name", "fault", "promise", "held", "seen"}]; the last two if there are results.
std::string drillsJSON(const std::vector<Drill>& drills,
                       const std::vector<DrillResult>& results = {});

const char* nameOf(TransferState state);
/// Longer URLs are cut.
inline constexpr std::size_t kLongestURL = 2000;

}  // namespace host
