#include "platform/foundation/data/json_serialization.h"

#include <array>
#include <charconv>
#include <cmath>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "platform/foundation/data/value_builder.h"
#include "platform/foundation/data/value_path.h"
#include "platform/support/utf8.h"

namespace platform {

namespace {

/// The offset of the bracket that opens one level too many. The parser has accepted everything
/// before it, so it is enough to look at quotes and brackets.
std::size_t offsetBeyondDepth(std::string_view text, int maxDepth) {
  bool quoted = false;
  int depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      quoted = c != '"';
      i += c == '\\' ? 1 : 0;
    } else if (c == '"') {
      quoted = true;
    } else if (c == '[' || c == '{') {
      if (depth++ == maxDepth) {
        return i;
      }
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
  return text.size();
}

/// Turns the parser's "parse error at line 1, column 6: syntax error while parsing value -
/// unexpected '}'; expected a literal" into "unexpected '}' at line 1, column 6". Other messages
/// stay as they are.
std::string inPlainWords(std::string_view message) {
  constexpr std::string_view kBeforePlace = "parse error at ";
  constexpr std::string_view kBeforeReason = " - ";
  const auto place = message.find(':');
  const auto reason = message.find(kBeforeReason);
  if (!message.starts_with(kBeforePlace) || reason == message.npos) {
    return std::string(message);
  }
  const auto rest = message.substr(reason + kBeforeReason.size());
  std::string text(rest.substr(0, rest.find(';')));
  constexpr std::string_view kToken = " literal";
  if (text == "invalid literal") {
    text = "unexpected text";
  } else if (text.ends_with(kToken)) {
    text.erase(text.size() - kToken.size());
  }
  return text + " at " +
         std::string(message.substr(kBeforePlace.size(), place - kBeforePlace.size()));
}

/// The shortest decimal text that reads back as the same double, as the platform writes numbers: a
/// whole number has no fraction, and only very large and very small ones have an exponent.
std::string shortestText(double value) {
  const double size = std::fabs(value);
  const bool plain = size == 0 || (size >= 1e-4 && size < 1e16);
  const auto format = plain ? std::chars_format::fixed : std::chars_format::scientific;
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.begin(), text.end(), value, format).ptr};
}

class Writer {
 public:
  using Written = std::expected<void, ValueFault>;

  Written write(const Value& value, int depth) {
    return std::visit([&](const auto& held) { return writeHeld(held, depth); }, value.storage());
  }
  std::string take() { return std::move(out_); }

 private:
  template <class T>
  Written writeHeld(const T& value, int depth) {
    if constexpr (std::is_same_v<T, Null>) {
      out_ += "null";
    } else if constexpr (std::is_same_v<T, bool>) {
      out_ += value ? "true" : "false";
    } else if constexpr (std::is_same_v<T, std::int64_t>) {
      out_ += std::to_string(value);
    } else if constexpr (std::is_same_v<T, double>) {
      if (!std::isfinite(value)) {
        return fault("the number " + shortestText(value));
      }
      out_ += shortestText(value);
    } else if constexpr (std::is_same_v<T, std::string>) {
      return writeText(value);
    } else if constexpr (std::is_same_v<T, Data>) {
      return fault("data");
    } else if constexpr (std::is_same_v<T, Date>) {
      return fault("a date");
    } else if constexpr (std::is_same_v<T, UnsupportedObject>) {
      return fault("an object of an unsupported type");
    } else if (depth == NSJSONSerialization::kMaxDepth) {
      return fault("nesting beyond " + std::to_string(depth) + " levels");
    } else if constexpr (std::is_same_v<T, Array>) {
      return writeArray(value, depth + 1);
    } else {
      return writeDictionary(value, depth + 1);
    }
    return {};
  }

  Written writeArray(const Array& array, int depth) {
    out_ += '[';
    for (std::size_t i = 0; i < array.size(); ++i) {
      out_ += i == 0 ? "" : ",";
      if (auto written = write(array[i], depth); !written) {
        return std::unexpected(std::move(written.error()).inElement(i));
      }
    }
    out_ += ']';
    return {};
  }

  Written writeDictionary(const Dictionary& dictionary, int depth) {
    out_ += '{';
    bool first = true;
    for (const auto& [key, value] : dictionary) {
      out_ += first ? "" : ",";
      first = false;
      if (!writeText(key)) {
        return fault("the key \"" + excerpt(key) + "\", which is not UTF-8");
      }
      out_ += ':';
      if (auto written = write(value, depth); !written) {
        return std::unexpected(std::move(written.error()).inMember(key));
      }
    }
    out_ += '}';
    return {};
  }

  Written writeText(std::string_view text) {
    if (!isUTF8(text)) {
      return fault("a string that is not UTF-8");
    }
    for (const char c : nlohmann::json(text).dump()) {
      out_ += c == '/' ? "\\/" : std::string_view(&c, 1);
    }
    return {};
  }

  static std::unexpected<ValueFault> fault(std::string what) {
    return std::unexpected(ValueFault{"JSON can't hold " + std::move(what)});
  }

  std::string out_;
};

}  // namespace

std::expected<Value, NSError> NSJSONSerialization::JSONObjectWithData(const Data& data) {
  // The parser takes a NUL for the end of the text and ignores what follows it.
  if (const auto nul = data.bytes.find('\0'); nul != std::string::npos) {
    return std::unexpected(readCorruptError("NUL at byte " + std::to_string(nul)));
  }
  ValueBuilder builder(kMaxDepth);
  if (!nlohmann::json::sax_parse(data.bytes, &builder)) {
    std::string why = inPlainWords(builder.failure());
    if (builder.isTooDeep()) {
      why += " at byte " + std::to_string(offsetBeyondDepth(data.bytes, kMaxDepth));
    }
    return std::unexpected(readCorruptError(std::move(why)));
  }
  return builder.take();
}

std::expected<Data, NSError> NSJSONSerialization::dataWithJSONObject(const Value& object) {
  Writer writer;
  if (const auto written = writer.write(object, 0); !written) {
    return std::unexpected(writeInvalidError(written.error().sentence()));
  }
  return Data{writer.take()};
}

}  // namespace platform
