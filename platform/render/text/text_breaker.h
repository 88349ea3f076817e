#pragma once

#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/render/layout/layout.h"
#include "platform/render/text/text_mask.h"
#include "platform/render/text/typefaces.h"

namespace platform {

/// Shapes texts with the bundle's typefaces and breaks them into lines.
///
/// Keeps what it has broken, so that a text is shaped once for measuring and drawing. A text broken
/// at its own size has the same lines again.
class TextBreaker : public TextMeasurer {
 public:
  explicit TextBreaker(Typefaces& typefaces) : typefaces_(typefaces) {}

  TextLines breakLines(const ArchivedText& text, ProposedSize proposal) override;

  /// The same, for drawing.
  std::shared_ptr<const BrokenText> broken(const ArchivedText& text, ProposedSize proposal);

 private:
  /// Lengths in Pango's units, so that widths that differ by a rounding error are equal.
  struct Box {
    int width;
    int height;
    friend auto operator<=>(const Box&, const Box&) = default;
  };

  /// A text with all its lines. They are the same at every width from that of the widest line to
  /// the proposed one: only a narrower box moves a word down, only a wider one moves a word up.
  struct WholeText {
    int proposed;
    int widest;
    int height;
    std::shared_ptr<const BrokenText> text;
  };

  struct Entry {
    std::vector<WholeText> whole = {};
    std::map<Box, std::shared_ptr<const BrokenText>> truncated = {};
  };

  WholeText wholeText(const ArchivedText& text, int width);
  std::shared_ptr<const BrokenText> truncated(const ArchivedText& text,
                                              Box box,
                                              const WholeText& whole);

  Typefaces& typefaces_;
  /// By `keyOf`.
  std::unordered_map<std::string, Entry> texts_;
};

}  // namespace platform
