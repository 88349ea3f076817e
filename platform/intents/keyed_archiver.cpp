#include "platform/intents/keyed_archiver.h"

#include "platform/foundation/data/property_list.h"
#include "platform/support/utf8.h"

namespace platform {

std::expected<Data, NSError> NSKeyedArchiver::archivedDataWithRootObject(const NSCoding& object) {
  NSCoder coder;
  object.encodeWithCoder(coder);
  auto bytes = NSPropertyListSerialization::dataWithPropertyList(Dictionary{
      {"$archiver", "NSKeyedArchiver"}, {"$class", object.className()}, {"root", coder.members()}});
  if (!bytes) {
    return std::unexpected(std::move(bytes).error());
  }
  return Data{*std::move(bytes)};
}

std::expected<NSCoder, NSError> NSKeyedUnarchiver::coderForObject(std::string_view className,
                                                                  const Data& data) {
  const auto list = NSPropertyListSerialization::propertyListWithData(data.bytes);
  if (!list) {
    return std::unexpected(list.error());
  }
  const Dictionary* archive = list->dictionary();
  const auto archived = archive ? archive->string("$class") : std::nullopt;
  const Value* root = archive ? archive->find("root") : nullptr;
  if (!archived || !root || !root->dictionary()) {
    return std::unexpected(readCorruptError("it is not a keyed archive"));
  }
  if (*archived != className) {
    return std::unexpected(readCorruptError("it holds an object of the class " +
                                            excerpt(*archived) + ", not " +
                                            std::string(className)));
  }
  return NSCoder(*root->dictionary());
}

}  // namespace platform
