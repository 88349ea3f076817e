#include "platform/foundation/data/plain_strings.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/foundation/text/plain_text.h"
#include "platform/support/utf8.h"

namespace platform {

namespace {

/// Takes a text apart from the front.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  /// Whether that sign comes next, behind any space; takes it then.
  bool accept(char sign) {
    skipSpace();
    return acceptNow(sign);
  }

  std::optional<std::string_view> string() {
    if (!accept('"')) {
      return std::nullopt;
    }
    const std::string_view content = rest_.substr(0, plainLength(rest_));
    rest_.remove_prefix(content.size());
    return acceptNow('"') ? std::optional(content) : std::nullopt;
  }

  bool atEnd() {
    skipSpace();
    return rest_.empty();
  }

 private:
  static bool isSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
  bool acceptNow(char sign) {
    const bool accepted = rest_.starts_with(sign);
    rest_.remove_prefix(accepted ? 1 : 0);
    return accepted;
  }
  void skipSpace() {
    while (!rest_.empty() && isSpace(rest_.front())) {
      rest_.remove_prefix(1);
    }
  }

  std::string_view rest_;
};

}  // namespace

std::optional<Dictionary> parsePlainStrings(std::string_view json) {
  Reader in(json);
  if (!in.accept('{')) {
    return std::nullopt;
  }
  std::vector<Dictionary::Member> members;
  if (!in.accept('}')) {
    // Quotes that belong to no member must not take memory without end.
    constexpr std::ptrdiff_t kQuotesOfMember = 4;
    constexpr std::ptrdiff_t kMostReserved = 1 << 14;
    const auto expected = std::ranges::count(json, '"') / kQuotesOfMember;
    members.reserve(static_cast<std::size_t>(std::min(expected, kMostReserved)));
    do {
      const auto key = in.string();
      const auto value = key && in.accept(':') ? in.string() : std::nullopt;
      if (!value) {
        return std::nullopt;
      }
      members.emplace_back(*key, *value);
    } while (in.accept(','));
    if (!in.accept('}')) {
      return std::nullopt;
    }
  }
  if (!in.atEnd() || !isUTF8(json)) {
    return std::nullopt;
  }
  return Dictionary(std::move(members));
}

}  // namespace platform
