#include <fstream>

#include "fuzz/shared_records.h"
#include "platform/foundation/data/property_list.h"
#include "platform/foundation/defaults/suite_file.h"

using namespace platform;

namespace {

void place(std::string_view bytes) {
  const auto file = SuiteFile::pathOf(fuzz::Phone::container(), glancery::kAppGroupIdentifier);
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace

// The input is the suite's file. Every record must read the same after our own writer has rewritten
// it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::Phone phone;
  const auto input = fuzz::bytes(data, size);
  place(input);
  const auto records = fuzz::readSharedRecords();

  const auto value = NSPropertyListSerialization::propertyListWithData(input);
  if (!value) {
    return 0;
  }
  const auto written = NSPropertyListSerialization::dataWithPropertyList(*value);
  fuzz::expect(written.has_value(), "a parsed list can be written");
  place(*written);
  fuzz::expect(records == fuzz::readSharedRecords(), "a rewritten suite reads the same");
  return 0;
}
