#include "host/home/bundle_faults.h"

#include "platform/foundation/bundle/string_catalog.h"
#include "platform/foundation/data/property_list.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

std::string bundleFault(const std::filesystem::path& folder) {
  const auto info = readFile(folder / "Info.plist");
  if (!info) {
    return "Info.plist: " + info.error().message();
  }
  const auto list = NSPropertyListSerialization::propertyListWithData(*info);
  if (!list) {
    return "Info.plist: " + list.error().debugDescription;
  }
  const auto texts = readFile(folder / "Localizable.xcstrings");
  if (!texts) {
    return "";  // A bundle may have none.
  }
  const auto catalog = StringCatalog::parse({*texts});
  return catalog ? "" : "Localizable.xcstrings: " + catalog.error();
}

}  // namespace host
