#include <nlohmann/json.hpp>

#include "fuzz/fuzz.h"
#include "host/simulate/script.h"

// The input is a script for `simulate`. A script is valid JSON, and each of its events happens on
// its first day, at a time of day; a refusal names a line and a column.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view json = fuzz::bytes(data, size);
  const auto script = host::readScript(json);
  if (!fuzz::accepted(script)) {
    fuzz::expect(script.error().starts_with("line ") && script.error().contains(", column "),
                 "a refusal names its place");
    return 0;
  }
  const auto events = nlohmann::json::parse(json, nullptr, false);
  fuzz::expect(events.is_object() && events["events"].size() == script->size(),
               "a script has the events of its JSON");
  for (const host::ScriptEvent& event : *script) {
    fuzz::expect(event.happensOn(event.day) && event.minute >= 0 && event.minute < 24 * 60,
                 "an event happens on its first day");
  }
  return 0;
}
