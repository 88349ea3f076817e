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

// ICU's break rules and their dictionaries take time to load. ASCII, and wherever it is easy to
// tell other text too, goes without them.

namespace platform {

namespace {

using BreakIteratorFactory = icu::BreakIterator*(const icu::Locale&, UErrorCode&);

constexpr char32_t kEndOfASCII = 0x80;
// From here on code points may combine with their neighbours into one character.
constexpr char32_t kFirstCombining = 0x300;

bool isASCIILower(char c) {
  return c >= 'a' && c <= 'z';
}

bool isASCIIUpper(char c) {
  return c >= 'A' && c <= 'Z';
}

bool isASCIILetter(char c) {
  return isASCIILower(c) || isASCIIUpper(c);
}

bool isASCIIDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isASCII(char c) {
  return static_cast<unsigned char>(c) < kEndOfASCII;
}

/// ICU counts bytes in 32 bits. No text of ours comes near; one that does must not be cut short.
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
  if (!c || *c < kEndOfASCII) {
    return c && (isASCIILetter(static_cast<char>(*c)) || isASCIIDigit(static_cast<char>(*c)));
  }
  return (U_GET_GC_MASK(static_cast<UChar32>(*c)) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
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

/// The front of a text, in whole characters.
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

/// The first characters of `text`, at most `limit`.
Front frontOf(std::string_view text, std::size_t limit) {
  if (!allCodePoints(text, [](char32_t c) { return c < kFirstCombining; })) {
    return frontByBreakRules(text, limit);
  }
  Front front;
  while (front.characters < limit && front.bytes < text.size()) {
    const std::string_view rest = text.substr(front.bytes);
    front.bytes += rest.starts_with("\r\n") || !isASCII(rest[0]) ? 2 : 1;
    ++front.characters;
  }
  return front;
}

// ICU's word rules, as far as they tell ASCII apart. They count the at sign among the letters, for
// the sake of addresses, and the low line among what links words to longer ones.

bool isWordLetter(char c) {
  return isASCIILetter(c) || c == '@';
}

/// Whether a sign between two characters leaves them one word: the point in "e.g", the apostrophe
/// in "o'neill", the comma in "1,5".
bool joinsWord(char before, char sign, char after) {
  constexpr std::string_view betweenLetters = ".'";
  constexpr std::string_view betweenDigits = ".',;";
  return (isWordLetter(before) && isWordLetter(after) &&
          betweenLetters.find(sign) != std::string_view::npos) ||
         (isASCIIDigit(before) && isASCIIDigit(after) &&
          betweenDigits.find(sign) != std::string_view::npos);
}

std::string capitalizedASCII(std::string text) {
  bool awaitsLetter = true;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char& c = text[i];
    if (isASCIILetter(c)) {
      if (awaitsLetter ? isASCIILower(c) : isASCIIUpper(c)) {
        c ^= 'a' ^ 'A';
      }
      awaitsLetter = false;
    } else if (!isWordLetter(c) && !isASCIIDigit(c) && c != '_') {
      const bool inside = i > 0 && i + 1 < text.size();
      awaitsLetter = awaitsLetter || !inside || !joinsWord(text[i - 1], c, text[i + 1]);
    }
  }
  return text;
}

bool hasNoCase(char32_t c) {
  return !u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_CHANGES_WHEN_CASEMAPPED);
}

/// Letters and nothing between them, as in "mié" and "sept.".
bool isOneWord(std::string_view text) {
  if (text.ends_with('.')) {
    text.remove_suffix(1);
  }
  return allCodePoints(text, [](char32_t c) {
    return u_getIntPropertyValue(static_cast<UChar32>(c), UCHAR_WORD_BREAK) == U_WB_ALETTER;
  });
}

std::string capitalizedByCaseMap(std::string_view text) {
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

}  // namespace

std::string trimmingNonAlphanumerics(std::string_view text) {
  for (auto shorter = text; !shorter.empty() && !isAlphanumeric(takeFirstCodePoint(shorter));) {
    text = shorter;
  }
  for (auto shorter = text; !shorter.empty() && !isAlphanumeric(takeLastCodePoint(shorter));) {
    text = shorter;
  }
  return std::string(text);
}

std::size_t characterCount(std::string_view text) {
  return frontOf(text, text.size()).characters;
}

std::string prefix(std::string_view text, std::size_t count) {
  return std::string(text.substr(0, frontOf(text, count).bytes));
}

std::string capitalized(std::string_view text) {
  if (std::ranges::all_of(text, isASCII)) {
    return capitalizedASCII(std::string(text));
  }
  if (allCodePoints(text, hasNoCase)) {
    return std::string(text);
  }
  return capitalizedByCaseMap(text);
}

}  // namespace platform
