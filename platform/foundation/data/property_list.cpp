#include "platform/foundation/data/property_list.h"

#include <algorithm>

#include "platform/foundation/data/binary_property_list.h"
#include "platform/foundation/data/xml_property_list.h"

namespace platform {

std::expected<Value, std::string> readPropertyList(std::string_view bytes) {
  if (bytes.starts_with(kBinaryPropertyListMagic)) {
    return readBinaryPropertyList(bytes);
  }
  bytes.remove_prefix(std::min(bytes.find_first_not_of(" \t\r\n"), bytes.size()));
  constexpr std::string_view kBeginnings[] = {
      "<", "\xEF\xBB\xBF", "\xFE\xFF", "\xFF\xFE", {"\0<", 2}};
  if (std::ranges::any_of(kBeginnings, [&](auto begin) { return bytes.starts_with(begin); })) {
    return readXMLPropertyList(bytes);
  }
  return std::unexpected(bytes.empty() ? "there are no bytes"
                                       : "it starts neither as a binary nor as an XML list");
}

std::expected<Value, NSError> NSPropertyListSerialization::propertyListWithData(
    std::string_view bytes) {
  auto value = readPropertyList(bytes);
  if (!value) {
    return std::unexpected(readCorruptError("No property list: " + value.error()));
  }
  return *std::move(value);
}

std::expected<std::string, NSError> NSPropertyListSerialization::dataWithPropertyList(
    const Value& value) {
  auto bytes = writeBinaryPropertyList(value);
  if (!bytes) {
    return std::unexpected(writeInvalidError(bytes.error().sentence()));
  }
  return *std::move(bytes);
}

}  // namespace platform
