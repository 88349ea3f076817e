#pragma once

#include <memory>
#include <string>
#include <unordered_map>

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
  };

  /// The text with all its lines.
  std::shared_ptr<const BrokenText> wholeText(const ArchivedText& text, int width);
  /// Null for a text that is not kept.
  std::shared_ptr<const BrokenText> find(const ArchivedText& text, Box box) const;
  std::shared_ptr<const BrokenText> keep(const ArchivedText& text,
                                         Box box,
                                         Handle<PangoLayout> layout);

  Typefaces& typefaces_;
  /// By `keyOf`; a text with all its lines has an unlimited height.
  std::unordered_map<std::string, std::shared_ptr<const BrokenText>> texts_;
};

}  // namespace platform
