#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/foundation/data/binary_property_list.h"
#include "platform/support/utf8.h"

namespace platform {

namespace {

using namespace binary_property_list;

/// The largest sum of all strings and data, counted once for each reference to them.
constexpr std::size_t kMaxUnfoldedBytes = std::size_t{64} << 20;

/// Counting from 1970 instead of 2001 may cost a date its last binary digits. A date within that
/// error of a whole millisecond is rounded to it, so that it equals the date that was written.
Date dateFromReference(double seconds) {
  const double since1970 = seconds + kReferenceDate;
  const double toMillisecond = std::round(since1970 * 1e3) / 1e3;
  const double lastDigits = (std::fabs(seconds) + std::fabs(since1970)) * 0x1p-52;
  const bool isWhole = std::fabs(toMillisecond - since1970) <= lastDigits;
  return Date::since1970(isWhole ? toMillisecond : since1970);
}

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char byte : bytes) {
    value = value << 8 | static_cast<unsigned char>(byte);
  }
  return value;
}

/// Some writers choose sizes that are not a power of two.
bool isIntegerSize(std::uint64_t size) {
  return size >= 1 && size <= 8;
}

std::optional<std::string> utf8FromUTF16(std::string_view bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    auto point = static_cast<char32_t>(bigEndian(bytes.substr(i, 2)));
    if (point >= 0xD800 && point < 0xE000) {
      i += 2;
      const auto low = static_cast<char32_t>(bigEndian(bytes.substr(std::min(i, bytes.size()), 2)));
      if (point >= 0xDC00 || low < 0xDC00 || low >= 0xE000) {
        return std::nullopt;
      }
      point = 0x10000 + ((point & 0x3FF) << 10 | (low & 0x3FF));
    }
    appendCodePoint(text, point);
  }
  return text;
}

class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  std::expected<Value, std::string> read() {
    if (!bytes_.starts_with(kBinaryPropertyListMagic) ||
        bytes_.size() < kBinaryPropertyListMagic.size() + kTrailerSize) {
      return std::unexpected("the file is cut short");
    }
    const auto trailer = bytes_.substr(bytes_.size() - kTrailerSize);
    offsetSize_ = bigEndian(trailer.substr(6, 1));
    referenceSize_ = bigEndian(trailer.substr(7, 1));
    count_ = bigEndian(trailer.substr(8, 8));
    const auto top = bigEndian(trailer.substr(16, 8));
    const auto table = bigEndian(trailer.substr(24, 8));
    heapEnd_ = bytes_.size() - kTrailerSize;
    if (!isIntegerSize(offsetSize_) || !isIntegerSize(referenceSize_) || table > heapEnd_ ||
        count_ > (heapEnd_ - table) / offsetSize_) {
      return std::unexpected("the trailer does not fit the file");
    }
    offsets_ = bytes_.substr(table, count_ * offsetSize_);
    heapEnd_ = table;
    return object(top, 0);
  }

 private:
  using Read = std::expected<Value, std::string>;

  /// The parts of an object's first byte, and what follows it.
  struct Header {
    Kind kind;
    unsigned low;
    /// Elements of a container, characters of a string, bytes of data.
    std::uint64_t length;
    std::string_view rest;
    /// Where the object begins.
    const char* start;

    /// The object's own bytes; `size` of them are in `rest`.
    UnsupportedObject unsupported(std::size_t size) const {
      return {std::string(start, rest.data() + size)};
    }
  };

  static std::unexpected<std::string> fault(std::uint64_t number, std::string_view what) {
    return std::unexpected("object " + std::to_string(number) + " " + std::string(what));
  }

  static Header headerAt(std::string_view bytes) {
    const unsigned first = static_cast<unsigned char>(bytes[0]);
    return {Kind{first >> 4}, first & 0xF, first & 0xF, bytes.substr(1), bytes.data()};
  }

  std::optional<Header> header(std::uint64_t number) const {
    const auto offset = bigEndian(offsets_.substr(number * offsetSize_, offsetSize_));
    if (offset < kBinaryPropertyListMagic.size() || offset >= heapEnd_) {
      return std::nullopt;
    }
    Header header = headerAt(bytes_.substr(offset, heapEnd_ - offset));
    const bool counted = header.kind >= Kind::data && header.kind != Kind::uid;
    if (counted && header.low == kLongLength) {
      if (header.rest.empty()) {
        return std::nullopt;
      }
      const Header length = headerAt(header.rest);
      const auto size = std::size_t{1} << length.low;
      if (length.kind != Kind::integer || !isIntegerSize(size) || length.rest.size() < size) {
        return std::nullopt;
      }
      header.length = bigEndian(length.rest.substr(0, size));
      header.rest = length.rest.substr(size);
    }
    return header;
  }

  /// `length` items of `size` bytes, if the file has them.
  static std::optional<std::string_view> items(const Header& header, std::uint64_t size) {
    if (header.length > header.rest.size() / size) {
      return std::nullopt;
    }
    return header.rest.substr(0, header.length * size);
  }

  Read object(std::uint64_t number, int depth) {
    // In a tree each reference has a byte of its own. More visits than bytes mean that containers
    // are shared, and those let a small file unfold without bound.
    if (++visits_ > bytes_.size()) {
      return std::unexpected("its containers refer to each other too often");
    }
    if (number >= count_) {
      return fault(number, "does not exist");
    }
    const auto header = this->header(number);
    if (!header) {
      return fault(number, "lies outside the file");
    }
    switch (header->kind) {
      case Kind::constant:
        if (header->low == kNull) {
          return header->unsupported(0);
        }
        if (header->low == kFalse || header->low == kTrue) {
          return header->low == kTrue;
        }
        break;
      case Kind::integer:
        return integer(number, *header);
      case Kind::real:
      case Kind::date:
        return real(number, *header);
      case Kind::data:
      case Kind::ascii:
      case Kind::utf16:
        return text(number, *header);
      case Kind::uid:
        return header->rest.size() > header->low ? Read(header->unsupported(header->low + 1))
                                                 : fault(number, "is a UID cut short");
      case Kind::array:
      case Kind::dictionary:
        if (depth == kMaxPropertyListDepth) {
          return fault(number, "is nested deeper than " + std::to_string(depth) + " levels");
        }
        return header->kind == Kind::array ? array(number, *header, depth + 1)
                                           : dictionary(number, *header, depth + 1);
    }
    return fault(number, "is of no known type");
  }

  /// Up to four bytes are unsigned, eight and sixteen are signed.
  static Read integer(std::uint64_t number, const Header& header) {
    const auto size = std::size_t{1} << header.low;
    if (size > 16 || header.rest.size() < size) {
      return fault(number, "is an integer cut short");
    }
    if (size < 16) {
      return static_cast<std::int64_t>(bigEndian(header.rest.substr(0, size)));
    }
    const auto high = static_cast<std::int64_t>(bigEndian(header.rest.substr(0, 8)));
    const auto low = bigEndian(header.rest.substr(8, 8));
    if (high == (static_cast<std::int64_t>(low) < 0 ? -1 : 0)) {
      return static_cast<std::int64_t>(low);
    }
    return static_cast<double>(high) * 0x1p64 + static_cast<double>(low);
  }

  static Read real(std::uint64_t number, const Header& header) {
    const bool single = header.kind == Kind::real && header.low == 2;
    const std::size_t size = single ? 4 : 8;
    if ((!single && header.low != 3) || header.rest.size() < size) {
      return fault(number, "is a number cut short");
    }
    const auto bits = bigEndian(header.rest.substr(0, size));
    if (single) {
      return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    }
    const auto value = std::bit_cast<double>(bits);
    if (header.kind == Kind::real) {
      return value;
    }
    if (!std::isfinite(value)) {
      return header.unsupported(size);
    }
    return dateFromReference(value);
  }

  Read text(std::uint64_t number, const Header& header) {
    const auto bytes = items(header, header.kind == Kind::utf16 ? 2 : 1);
    if (!bytes) {
      return fault(number, "is cut short");
    }
    unfolded_ += bytes->size();
    if (unfolded_ > kMaxUnfoldedBytes) {
      return std::unexpected("its strings and data are too large");
    }
    if (header.kind == Kind::data) {
      return Data{std::string(*bytes)};
    }
    auto text = header.kind == Kind::utf16 ? utf8FromUTF16(*bytes)
                : isUTF8(*bytes)           ? std::optional(std::string(*bytes))
                                           : std::nullopt;
    return text ? Read(*std::move(text)) : header.unsupported(bytes->size());
  }

  std::uint64_t reference(std::string_view references, std::uint64_t index) const {
    return bigEndian(references.substr(index * referenceSize_, referenceSize_));
  }

  Read array(std::uint64_t number, const Header& header, int depth) {
    const auto references = items(header, referenceSize_);
    if (!references) {
      return fault(number, "is an array cut short");
    }
    Array array;
    for (std::uint64_t i = 0; i < header.length; ++i) {
      auto element = object(reference(*references, i), depth);
      if (!element) {
        return element;
      }
      array.push_back(*std::move(element));
    }
    return array;
  }

  /// All keys lie before all values.
  Read dictionary(std::uint64_t number, const Header& header, int depth) {
    const auto references = items(header, 2 * referenceSize_);
    if (!references) {
      return fault(number, "is a dictionary cut short");
    }
    std::vector<Dictionary::Member> members;
    for (std::uint64_t i = 0; i < header.length; ++i) {
      const auto key = object(reference(*references, i), depth);
      if (!key) {
        return key;
      }
      const auto* name = key->as<std::string>();
      if (!name) {
        return fault(number, "is a dictionary with a key that is not a string");
      }
      auto value = object(reference(*references, header.length + i), depth);
      if (!value) {
        return value;
      }
      members.emplace_back(*name, *std::move(value));
    }
    return Dictionary(std::move(members));
  }

  std::string_view bytes_;
  std::string_view offsets_;
  std::size_t heapEnd_ = 0;
  std::uint64_t offsetSize_ = 0;
  std::uint64_t referenceSize_ = 0;
  std::uint64_t count_ = 0;
  std::size_t visits_ = 0;
  std::size_t unfolded_ = 0;
};

}  // namespace

std::expected<Value, std::string> readBinaryPropertyList(std::string_view bytes) {
  return Reader(bytes).read();
}

}  // namespace platform
