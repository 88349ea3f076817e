#include <algorithm>

#include "fuzz/shared_records.h"
#include "platform/foundation/data/json_serialization.h"

using namespace platform;

namespace {

void store(const Data& json) {
  auto suite = require(NSUserDefaults::initWithSuiteName(glancery::kAppGroupIdentifier));
  for (const char* key :
       {glancery::kStreakDataKey, glancery::kAffirmationDataKey, glancery::kMoodsDataKey}) {
    suite.setObject(json, key);
  }
}

/// Equal but for the kind of number: 5.0 is written as 5, and -0.0 is read as 0.
bool sameJSON(const Value& left, const Value& right) {
  if (left.array() && right.array()) {
    return std::ranges::equal(*left.array(), *right.array(), sameJSON);
  }
  if (left.dictionary() && right.dictionary()) {
    return std::ranges::equal(*left.dictionary(), *right.dictionary(), [](auto& one, auto& other) {
      return one.first == other.first && sameJSON(one.second, other.second);
    });
  }
  const bool isNumber = !left.as<bool>() && !right.as<bool>() && left.number() && right.number();
  return left == right || (isNumber && left.number() == right.number());
}

}  // namespace

// The input is the record of each of the three widgets, as JSON. They must read the same from it
// after our own writer has rewritten it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::Phone phone;
  const Data input{std::string(fuzz::bytes(data, size))};
  store(input);
  const auto records = fuzz::readSharedRecords();

  const auto object = NSJSONSerialization::JSONObjectWithData(input);
  if (!object) {
    fuzz::expect(!object.error().debugDescription.empty(), "JSON is refused with a reason");
    store(Data{});
    fuzz::expect(records == fuzz::readSharedRecords(), "a missing record reads like a damaged one");
    return 0;
  }
  const auto rewritten = NSJSONSerialization::dataWithJSONObject(*object);
  fuzz::expect(rewritten.has_value(), "parsed JSON can be written");
  store(*rewritten);
  fuzz::expect(records == fuzz::readSharedRecords(), "rewritten JSON reads the same");
  const auto reread = NSJSONSerialization::JSONObjectWithData(*rewritten);
  fuzz::expect(reread && sameJSON(*reread, *object), "JSON survives a round trip");
  return 0;
}
