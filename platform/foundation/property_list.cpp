#include "platform/foundation/property_list.h"

#include <plist/plist.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>

#include "platform/foundation/binary_property_list.h"
#include "platform/foundation/utf8.h"

namespace platform {

namespace {

/// libplist frees nested containers by recursion, so their depth must stay far below what a stack
/// holds. Counting all of them bounds it without parsing.
constexpr std::size_t kMaxXMLContainers = 10'000;
constexpr std::size_t kMaxXMLSize = std::size_t{64} << 20;

struct FreeNode {
  void operator()(void* node) const { plist_free(node); }
};

struct FreeBinary {
  void operator()(char* bytes) const { plist_to_bin_free(bytes); }
};

constexpr std::string_view kSpace = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const auto first = std::min(text.find_first_not_of(kSpace), text.size());
  return text.substr(first, text.find_last_not_of(kSpace) + 1 - first);
}

std::size_t occurrences(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != text.npos; at = text.find(part, at + part.size())) {
    ++count;
  }
  return count;
}

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

bool isInteger(std::string_view text) {
  if (text.starts_with('-') || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  // Nineteen digits and a bit more: what is longer fits no 64 bits.
  return isDigits(text) && text.size() <= 20;
}

bool isReal(std::string_view text) {
  return !text.empty() && text.find_first_not_of("+-.0123456789eE") == text.npos &&
         text.find_first_of("0123456789") != text.npos;
}

bool isDate(std::string_view text) {
  constexpr std::string_view form = "0000-00-00T00:00:00Z";
  return std::equal(text.begin(), text.end(), form.begin(), form.end(), [](char c, char wanted) {
    return wanted == '0' ? c >= '0' && c <= '9' : c == wanted;
  });
}

bool isBase64(std::string_view text) {
  return text.find_first_not_of(
             "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/= \t\r\n") ==
         text.npos;
}

struct Scalar {
  std::string_view tag;
  bool (*isValid)(std::string_view text);
};
constexpr std::array kScalars = {
    Scalar{"integer", isInteger},
    Scalar{"real", isReal},
    Scalar{"date", isDate},
    Scalar{"data", isBase64},
};

/// The first value whose text is none of its type. libplist reads such a one as zero or as 1970.
std::optional<std::string> malformedScalar(std::string_view xml) {
  for (const Scalar& scalar : kScalars) {
    const std::string open = "<" + std::string(scalar.tag) + ">";
    for (auto at = xml.find(open); at != xml.npos; at = xml.find(open, at + 1)) {
      const auto rest = xml.substr(at + open.size());
      const auto text = trimmed(rest.substr(0, rest.find('<')));
      if (!scalar.isValid(text)) {
        return "no " + std::string(scalar.tag) + " at byte " + std::to_string(at) + ": \"" +
               excerpt(text, 40) + "\"";
      }
    }
  }
  return std::nullopt;
}

std::expected<Value, std::string> readXML(std::string_view xml) {
  if (xml.size() > kMaxXMLSize) {
    return std::unexpected("the file is too large");
  }
  if (!isUTF8(xml)) {
    return std::unexpected("the text is not UTF-8");
  }
  if (occurrences(xml, "<array") + occurrences(xml, "<dict") > kMaxXMLContainers) {
    return std::unexpected("there are too many containers");
  }
  if (auto malformed = malformedScalar(xml)) {
    return std::unexpected(*std::move(malformed));
  }
  plist_t parsed = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &parsed);
  const std::unique_ptr<void, FreeNode> node(parsed);
  if (!node) {
    return std::unexpected("the XML is no property list");
  }
  // By way of the binary form: libplist's own readers stop the process on odd strings and squeeze
  // dates into 32 bits, its writer does neither.
  char* written = nullptr;
  std::uint32_t size = 0;
  plist_to_bin(node.get(), &written, &size);
  const std::unique_ptr<char, FreeBinary> binary(written);
  if (!binary) {
    return std::unexpected("the XML is no property list");
  }
  return readBinaryPropertyList({binary.get(), size});
}

std::expected<Value, std::string> read(std::string_view bytes) {
  if (bytes.starts_with(kBinaryPropertyListMagic)) {
    return readBinaryPropertyList(bytes);
  }
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(byteOrderMark)) {
    bytes.remove_prefix(byteOrderMark.size());
  }
  if (trimmed(bytes).starts_with('<')) {
    return readXML(bytes);
  }
  return std::unexpected(bytes.empty() ? "there are no bytes"
                                       : "it starts neither as a binary nor as an XML list");
}

}  // namespace

std::expected<Value, NSError> NSPropertyListSerialization::propertyListWithData(
    std::string_view bytes) {
  auto value = read(bytes);
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
