#include "host/sheet/accepted_findings.h"

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/phone/command_error.h"
#include "platform/support/files.h"

namespace host {

namespace {

using Json = nlohmann::json;

struct Acceptance {
  std::string widget, check, reason, state, says;

  bool covers(const SheetPicture& picture, const Finding& finding) const {
    return picture.shot.widget->kind == widget && nameOf(finding.check) == check &&
           (state.empty() || picture.shot.state->name == state) &&
           finding.says.find(says) != std::string::npos;
  }
};

std::vector<Acceptance> acceptancesIn(const std::filesystem::path& file) {
  const auto bytes = platform::readFile(file);
  if (!bytes) {
    throw CommandError(file.string() + " can't be read: " + bytes.error().message());
  }
  std::vector<Acceptance> all;
  try {
    for (const Json& json : Json::parse(*bytes)) {
      all.push_back({json.at("widget"),
                     json.at("check"),
                     json.at("reason"),
                     json.value("state", ""),
                     json.value("says", "")});
      if (all.back().reason.empty()) {
        throw CommandError(file.string() + ": entry " + std::to_string(all.size()) +
                           " gives no reason");
      }
    }
  } catch (const Json::exception& error) {
    throw CommandError(file.string() + ": entry " + std::to_string(all.size() + 1) +
                       " is no accepted finding: " + error.what());
  }
  return all;
}

}  // namespace

void markAccepted(const std::filesystem::path& file, std::span<SheetPicture> pictures) {
  const std::vector<Acceptance> acceptances = acceptancesIn(file);
  for (SheetPicture& picture : pictures) {
    for (Finding& finding : picture.findings) {
      for (const Acceptance& acceptance : acceptances) {
        if (acceptance.covers(picture, finding)) {
          finding.accepted = acceptance.reason;
          break;
        }
      }
    }
  }
}

}  // namespace host
