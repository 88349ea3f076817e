#include "fuzz/fuzz.h"
#include "platform/foundation/bundle/string_catalog.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/support/utf8.h"

using namespace platform;

namespace {

/// The keys of the catalogue, as it was written.
Dictionary stringsOf(const Data& json) {
  const auto object = NSJSONSerialization::JSONObjectWithData(json).value_or(Value());
  const Value* strings = object.dictionary() ? object.dictionary()->find("strings") : nullptr;
  return strings && strings->dictionary() ? *strings->dictionary() : Dictionary();
}

}  // namespace

// The input is a string catalogue. Every text in every language can be read and filled.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Data json{std::string(fuzz::bytes(data, size))};
  const auto catalog = StringCatalog::parse(json);
  if (!fuzz::accepted(catalog)) {
    return 0;
  }
  for (const auto& [key, entry] : stringsOf(json)) {
    for (const std::string& language : catalog->languages()) {
      for (const auto& arguments : {std::vector<std::int64_t>(), {1}, {5, -1}}) {
        if (const auto text = catalog->text(key, language, arguments)) {
          fuzz::expect(isUTF8(formatArguments(*text, arguments)), "a filled text is UTF-8");
        }
      }
    }
  }
  return 0;
}
