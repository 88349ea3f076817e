#include "platform/foundation/text/character_set.h"

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/stringoptions.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>

#include "platform/support/require.h"
#include "platform/support/utf8.h"

// ICU's break rules and their dictionaries take time to load, so text that needs none is handled
// without them.

namespace platform {

namespace {

using BreakIteratorFactory = icu::BreakIterator*(const icu::Locale&, UErrorCode&);

// The first code point that may combine with its neighbours into one character.
constexpr char32_t kFirstCombining = 0x300;

/// ICU counts bytes in 32 bits.
std::int32_t checkedLength(std::string_view text) {
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    fatalError("a text of more than 2 GiB");
  }
  return static_cast<std::int32_t>(text.size());
}

template <class Predicate>
bool allCodePoints(std::string_view text, Predicate holds) {
  while (!text.empty()) {
    const auto c = takeFirstCodePoint(text);
    if (!c || !holds(*c)) {
      return false;
    }
  }
  return true;
}

bool isAlphanumeric(std::optional<char32_t> c) {
  return c &&
         (U_GET_GC_MASK(static_cast<UChar32>(*c)) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
}

/// An iterator over the characters or words of no particular language.
std::unique_ptr<icu::BreakIterator> makeBreakIterator(BreakIteratorFactory* factory) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::BreakIterator> iterator(factory(icu::Locale::getRoot(), status));
  if (U_FAILURE(status)) {
    fatalError(std::string("ICU has no break rules: ") + u_errorName(status));
  }
  return iterator;
}

/// The length of the front of a text that consists of whole characters.
struct Front {
  std::size_t characters = 0;
  std::size_t bytes = 0;
};

Front frontByBreakRules(std::string_view text, std::size_t limit) {
  thread_local const auto iterator = makeBreakIterator(icu::BreakIterator::createCharacterInstance);
  UErrorCode status = U_ZERO_ERROR;
  UText* opened = utext_openUTF8(nullptr, text.data(), checkedLength(text), &status);
  iterator->setText(opened, status);
  if (U_FAILURE(status)) {
    fatalError(std::string("a text can't be read: ") + u_errorName(status));
  }
  Front front;
  while (front.characters < limit) {
    const std::int32_t next = iterator->next();
    if (next == icu::BreakIterator::DONE) {
      break;
    }
    ++front.characters;
    front.bytes = static_cast<std::size_t>(next);
  }
  utext_close(opened);
  return front;
}

/// The first `limit` characters of `text`, or all of them.
Front frontOf(std::string_view text, std::size_t limit) {
  if (!allCodePoints(text, [](char32_t c) { return c < kFirstCombining; })) {
    return frontByBreakRules(text, limit);
  }
  Front front;
  while (front.characters < limit && front.bytes < text.size()) {
    const std::string_view rest = text.substr(front.bytes);
    front.bytes += rest.starts_with("\r\n") || static_cast<unsigned char>(rest[0]) >= 0x80 ? 2 : 1;
    ++front.characters;
  }
  return front;
}

bool hasNoCase(char32_t c) {
  return !u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_CHANGES_WHEN_CASEMAPPED);
}

/// Whether the text is letters without anything between them, as in "mié" and "sept.".
bool isOneWord(std::string_view text) {
  if (text.ends_with('.')) {
    text.remove_suffix(1);
  }
  return allCodePoints(text, [](char32_t c) {
    return u_getIntPropertyValue(static_cast<UChar32>(c), UCHAR_WORD_BREAK) == U_WB_ALETTER;
  });
}

}  // namespace

std::string trimmingNonAlphanumerics(std::string_view text) {
  std::size_t begin = text.size();
  std::size_t end = begin;
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t at = text.size() - rest.size();
    if (isAlphanumeric(takeFirstCodePoint(rest))) {
      begin = std::min(begin, at);
      end = text.size() - rest.size();
    }
  }
  return std::string(text.substr(begin, end - begin));
}

std::size_t characterCount(std::string_view text) {
  return frontOf(text, text.size()).characters;
}

std::string prefix(std::string_view text, std::size_t count) {
  return std::string(text.substr(0, frontOf(text, count).bytes));
}

std::string capitalized(std::string_view text) {
  if (allCodePoints(text, hasNoCase)) {
    return std::string(text);
  }
  std::uint32_t options = U_TITLECASE_ADJUST_TO_CASED;
  icu::BreakIterator* words = nullptr;
  if (isOneWord(text)) {
    options |= U_TITLECASE_WHOLE_STRING;
  } else {
    thread_local const auto iterator = makeBreakIterator(icu::BreakIterator::createWordInstance);
    words = iterator.get();
  }
  UErrorCode status = U_ZERO_ERROR;
  std::string result;
  icu::StringByteSink<std::string> sink(&result);
  icu::CaseMap::utf8ToTitle("",
                            options,
                            words,
                            icu::StringPiece(text.data(), checkedLength(text)),
                            sink,
                            nullptr,
                            status);
  if (U_FAILURE(status)) {
    fatalError(std::string("a text can't be capitalised: ") + u_errorName(status));
  }
  return result;
}

}  // namespace platform
