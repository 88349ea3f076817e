#include "host/home/placed_counts.h"

#include "host/phone/host_error.h"
#include "host/schedule/timeline_file.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

std::filesystem::path fileOf(const std::filesystem::path& container) {
  return timelineFolder(container) / "placed.json";
}

}  // namespace

std::expected<Dictionary, std::string> loadPlacedCounts(const std::filesystem::path& container) {
  std::string file = fileOf(container);
  const auto bytes = readFile(file);
  if (!bytes && bytes.error() == std::errc::no_such_file_or_directory) {
    return Dictionary();
  }
  if (!bytes) {
    return std::unexpected(file + " can't be read: " + bytes.error().message());
  }
  const auto counts = NSJSONSerialization::JSONObjectWithData({*bytes});
  if (!counts || !counts->dictionary()) {
    return std::unexpected(file + " is not a JSON object: every widget is placed once");
  }
  for (const auto& [kind, value] : *counts->dictionary()) {
    const auto count = value.integer();
    if (!count || *count < 0 || *count > kMostPlaced) {
      return std::unexpected(file.append(": the count of ")
                                 .append(kind)
                                 .append(" is not valid: every widget is placed once"));
    }
  }
  return *counts->dictionary();
}

void storePlacedCounts(const std::filesystem::path& container, const Dictionary& counts) {
  const auto file = fileOf(container);
  const auto bytes = NSJSONSerialization::dataWithJSONObject(counts);
  if (!bytes) {
    throw HostError(file.string() + " can't be written: " + bytes.error().debugDescription);
  }
  if (const auto error = replaceFile(file, bytes->bytes, 0600)) {
    throw HostError(file.string() + " can't be written: " + error.message());
  }
}

}  // namespace host
