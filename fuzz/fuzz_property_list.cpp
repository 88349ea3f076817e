#include "fuzz/fuzz.h"
#include "platform/foundation/data/property_list.h"

using platform::NSPropertyListSerialization;

// The input is a property list of either form. What is read must be the same after it was written.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto value = NSPropertyListSerialization::propertyListWithData(fuzz::bytes(data, size));
  if (!value) {
    fuzz::expect(!value.error().debugDescription.empty(), "a list is refused with a reason");
    return 0;
  }
  const auto written = NSPropertyListSerialization::dataWithPropertyList(*value);
  fuzz::expect(written.has_value(), "a parsed list can be written");
  const auto again = NSPropertyListSerialization::propertyListWithData(*written);
  // Compared as bytes: as a value, NaN differs from itself.
  fuzz::expect(again && NSPropertyListSerialization::dataWithPropertyList(*again) == written,
               "a list survives a round trip");
  return 0;
}
