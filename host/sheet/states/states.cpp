#include "host/sheet/states/states.h"

#include "platform/foundation/data/json_serialization.h"
#include "platform/support/require.h"

namespace host {

using namespace platform;

Date at(std::string_view time) {
  return at("2026-03-05", time);
}

Date at(std::string_view day, std::string_view time) {
  return require(Date::fromISO8601(std::string(day) + "T" + std::string(time) + "Z"),
                 "an instant of the sheet");
}

Data record(const Dictionary& members) {
  const auto data = NSJSONSerialization::dataWithJSONObject(members);
  return require(data ? std::optional(*data) : std::nullopt, "a record of the sheet");
}

}  // namespace host
