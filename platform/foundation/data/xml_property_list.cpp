#include "platform/foundation/data/xml_property_list.h"

#include <expat.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/foundation/data/binary_property_list.h"
#include "platform/foundation/text/base64.h"
#include "platform/support/utf8.h"

namespace platform {

namespace {

constexpr std::size_t kMaxSize = std::size_t{64} << 20;
constexpr std::string_view kSpace = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const auto first = std::min(text.find_first_not_of(kSpace), text.size());
  return text.substr(first, text.find_last_not_of(kSpace) + 1 - first);
}

template <class Number, class... Base>
std::optional<Number> parsed(std::string_view text, Base... base) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number, base...);
  return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

bool removePrefix(std::string_view& text, std::string_view prefix) {
  const bool present = text.starts_with(prefix);
  text.remove_prefix(present ? prefix.size() : 0);
  return present;
}

// The value of a scalar's text without surrounding space; null if the text is not valid.

/// Decimal or, after "0x", hexadecimal.
Value integer(std::string_view text) {
  constexpr std::uint64_t kLimit = std::uint64_t{1} << 63;
  const bool negative = removePrefix(text, "-");
  if (!negative) {
    removePrefix(text, "+");
  }
  const int base = removePrefix(text, "0x") || removePrefix(text, "0X") ? 16 : 10;
  const auto magnitude = parsed<std::uint64_t>(text, base);
  if (!magnitude || (negative && *magnitude > kLimit)) {
    return Null();
  }
  if (!negative && *magnitude >= kLimit) {
    return static_cast<double>(*magnitude);
  }
  return static_cast<std::int64_t>(negative ? 0 - *magnitude : *magnitude);
}

Value real(std::string_view text) {
  removePrefix(text, "+");
  return parsed<double>(text);
}

Value date(std::string_view text) {
  const bool isPlain = text.size() == std::string_view("0000-00-00T00:00:00Z").size();
  return isPlain && text.ends_with('Z') ? Value(Date::fromISO8601(text)) : Null();
}

Value data(std::string_view text) {
  std::string digits(text);
  std::erase_if(digits, [](char c) { return kSpace.find(c) != kSpace.npos; });
  const auto bytes = decodeBase64(digits);
  return bytes ? Value(Data{*bytes}) : Null();
}

struct Scalar {
  std::string_view tag;
  /// Null if any text is valid and is the value.
  Value (*parse)(std::string_view text);
};
constexpr std::array kScalars = {
    Scalar{"string", nullptr},
    Scalar{"key", nullptr},
    Scalar{"integer", integer},
    Scalar{"real", real},
    Scalar{"date", date},
    Scalar{"data", data},
    Scalar{"true", [](std::string_view text) { return text.empty() ? Value(true) : Null(); }},
    Scalar{"false", [](std::string_view text) { return text.empty() ? Value(false) : Null(); }},
};

/// An element whose end has not been reached.
struct Element {
  std::string tag;
  /// Null for a container.
  const Scalar* scalar = nullptr;
  std::string text = {};
  /// The contained values; in a dictionary keys and values take turns.
  Array values = {};

  bool awaitsValue() const { return tag == "dict" && values.size() % 2 == 1; }
};

class Reader {
 public:
  std::expected<Value, std::string> read(std::string_view bytes) {
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(
        parser_.get(),
        [](void* reader, const char* tag, const char**) { self(reader).start(tag); },
        [](void* reader, const char*) { self(reader).end(); });
    XML_SetCharacterDataHandler(parser_.get(), [](void* reader, const char* text, int size) {
      self(reader).characters({text, static_cast<std::size_t>(size)});
    });
    XML_SetDefaultHandlerExpand(parser_.get(), [](void* reader, const char* text, int size) {
      self(reader).other({text, static_cast<std::size_t>(size)});
    });
    // Declared entities could expand a small list without bound.
    XML_SetEntityDeclHandler(
        parser_.get(),
        [](void* reader, const char* name, int, const char*, int, auto, auto, auto, auto) {
          self(reader).fail("the entity " + excerpt(name) + " is declared");
        });
    XML_SetSkippedEntityHandler(parser_.get(), [](void* reader, const char* name, int) {
      self(reader).fail("the entity " + excerpt(name) + " is unknown");
    });
    const auto size = static_cast<int>(bytes.size());
    if (XML_Parse(parser_.get(), bytes.data(), size, XML_TRUE) != XML_STATUS_OK && fault_.empty()) {
      fail(XML_ErrorString(XML_GetErrorCode(parser_.get())));
    }
    if (fault_.empty() && open_.front().values.empty()) {
      fail("there is no value");
    }
    if (!fault_.empty()) {
      return std::unexpected(fault_);
    }
    return std::move(open_.front().values.front());
  }

 private:
  static Reader& self(void* reader) { return *static_cast<Reader*>(reader); }

  void fail(const std::string& what) {
    if (fault_.empty()) {
      fault_ = "line " + std::to_string(XML_GetCurrentLineNumber(parser_.get())) + ": " + what;
      XML_StopParser(parser_.get(), XML_FALSE);
    }
  }

  void start(const std::string& tag) {
    if (!fault_.empty()) {
      return;
    }
    const auto* scalar = std::ranges::find(kScalars, tag, &Scalar::tag);
    const bool isContainer = tag == "dict" || tag == "array";
    const bool isOutermost = open_.size() == 1;
    if (unknown_ > 0 || (scalar == kScalars.end() && !isContainer && !isOutermost)) {
      ++unknown_;
      XML_DefaultCurrent(parser_.get());
      return;
    }
    if (isOutermost && tag != "plist" && scalar == kScalars.end() && !isContainer) {
      return fail("<" + excerpt(tag) + "> is not a property list");
    }
    if (isContainer && ++depth_ > kMaxPropertyListDepth) {
      return fail("nested deeper than " + std::to_string(kMaxPropertyListDepth) + " levels");
    }
    open_.push_back({.tag = tag, .scalar = scalar == kScalars.end() ? nullptr : scalar});
  }

  void characters(std::string_view text) {
    if (unknown_ > 0) {
      XML_DefaultCurrent(parser_.get());
    } else if (open_.back().scalar) {
      open_.back().text += text;
    } else if (!trimmed(text).empty()) {
      fail("text outside of a value: \"" + excerpt(text, 40) + "\"");
    }
  }

  /// Markup without another handler, and everything inside an unknown element.
  void other(std::string_view text) {
    if (unknown_ > 0) {
      unknownText_ += text;
    }
  }

  void end() {
    if (!fault_.empty()) {
      return;
    }
    if (unknown_ > 0) {
      XML_DefaultCurrent(parser_.get());
      if (--unknown_ == 0) {
        add("unknown element", std::exchange(unknownText_, {}));
      }
      return;
    }
    Element element = std::move(open_.back());
    open_.pop_back();
    if (element.awaitsValue()) {
      return failWithoutValue(element);
    }
    if (element.scalar) {
      const auto text = trimmed(element.text);
      Value value = element.scalar->parse ? element.scalar->parse(text) : element.text;
      if (value.isNull()) {
        return fail("not a valid " + element.tag + ": \"" + excerpt(text, 40) + "\"");
      }
      add(element.tag, std::move(value));
    } else if (element.tag == "plist") {
      if (!element.values.empty()) {
        add(element.tag, std::move(element.values.front()));
      }
    } else {
      --depth_;
      add(element.tag,
          element.tag == "array" ? Value(std::move(element.values)) : dictionary(element));
    }
  }

  static Value dictionary(Element& element) {
    std::vector<Dictionary::Member> members;
    for (std::size_t i = 0; i < element.values.size(); i += 2) {
      members.emplace_back(*element.values[i].as<std::string>(), std::move(element.values[i + 1]));
    }
    return Dictionary(std::move(members));
  }

  void add(const std::string& tag, Value value) {
    Element& parent = open_.back();
    const bool isKey = tag == "key";
    if (parent.scalar) {
      return fail("<" + parent.tag + "> holds an element");
    }
    if (isKey && parent.tag != "dict") {
      return fail("a key outside of a dictionary");
    }
    if (isKey && parent.awaitsValue()) {
      return failWithoutValue(parent);
    }
    if (!isKey && parent.tag == "dict" && !parent.awaitsValue()) {
      return fail("a value has no key");
    }
    if (parent.tag != "dict" && parent.tag != "array" && !parent.values.empty()) {
      return fail("a second value");
    }
    parent.values.push_back(std::move(value));
  }

  void failWithoutValue(const Element& dictionary) {
    fail("the key \"" + excerpt(*dictionary.values.back().as<std::string>()) + "\" has no value");
  }

  struct FreeParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };
  std::unique_ptr<XML_ParserStruct, FreeParser> parser_{XML_ParserCreate(nullptr)};
  /// The document and the elements around the current position.
  std::vector<Element> open_ = {{.tag = "document"}};
  /// How many containers are open.
  int depth_ = 0;
  /// How many elements are open from an unknown one on.
  int unknown_ = 0;
  std::string unknownText_;
  std::string fault_;
};

}  // namespace

std::expected<Value, std::string> readXMLPropertyList(std::string_view bytes) {
  if (bytes.size() > kMaxSize) {
    return std::unexpected("the file is too large");
  }
  return Reader().read(bytes);
}

}  // namespace platform
