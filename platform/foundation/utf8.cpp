#include "platform/foundation/utf8.h"

#include <algorithm>
#include <cstdint>

namespace platform {

namespace {

struct Form {
  std::size_t length;
  char32_t bits;
  char32_t smallest;
};

std::optional<Form> formOf(unsigned char lead) {
  if (lead < 0x80) {
    return Form{1, lead, 0};
  }
  if (lead >= 0xC0 && lead < 0xE0) {
    return Form{2, char32_t{lead} & 0x1F, 0x80};
  }
  if (lead >= 0xE0 && lead < 0xF0) {
    return Form{3, char32_t{lead} & 0x0F, 0x800};
  }
  if (lead >= 0xF0 && lead < 0xF8) {
    return Form{4, char32_t{lead} & 0x07, 0x10000};
  }
  return std::nullopt;
}

std::optional<char32_t> decode(std::string_view bytes, const Form& form) {
  if (bytes.size() < form.length) {
    return std::nullopt;
  }
  char32_t point = form.bits;
  for (std::size_t i = 1; i < form.length; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if ((byte & 0xC0) != 0x80) {
      return std::nullopt;
    }
    point = point << 6 | (byte & 0x3Fu);
  }
  const bool surrogate = point >= 0xD800 && point <= 0xDFFF;
  if (point < form.smallest || point > 0x10FFFF || surrogate) {
    return std::nullopt;
  }
  return point;
}

}  // namespace

std::optional<char32_t> nextCodePoint(std::string_view text, std::size_t& position) {
  const auto form = formOf(static_cast<unsigned char>(text[position]));
  const auto point = form ? decode(text.substr(position), *form) : std::nullopt;
  position += point ? form->length : 1;
  return point;
}

void appendCodePoint(std::string& text, char32_t point) {
  const auto append = [&text](char32_t byte) {
    text.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
  };
  if (point < 0x80) {
    append(point);
    return;
  }
  if (point < 0x800) {
    append(0xC0 | point >> 6);
  } else {
    if (point < 0x10000) {
      append(0xE0 | point >> 12);
    } else {
      append(0xF0 | point >> 18);
      append(0x80 | (point >> 12 & 0x3F));
    }
    append(0x80 | (point >> 6 & 0x3F));
  }
  append(0x80 | (point & 0x3F));
}

bool isValidUTF8(std::string_view text) {
  for (std::size_t position = 0; position < text.size();) {
    if (static_cast<unsigned char>(text[position]) < 0x80) {
      ++position;
    } else if (!nextCodePoint(text, position)) {
      return false;
    }
  }
  return true;
}

std::string excerpt(std::string_view text, std::size_t limit) {
  std::string out;
  for (std::size_t position = 0; position < text.size();) {
    if (position >= limit) {
      return out + "…";
    }
    appendCodePoint(out, nextCodePoint(text, position).value_or(U'\uFFFD'));
  }
  return out;
}

}  // namespace platform
