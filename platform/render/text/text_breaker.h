#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/render/layout/layout.h"
#include "platform/render/pixels/handles.h"
#include "platform/render/text/text_shaping.h"
#include "platform/render/text/typefaces.h"

namespace platform {

struct TextMask;

/// One line of a broken text, in points from the text's top left.
struct BrokenLine {
  std::string text = {};
  double width = 0;
  double baseline = 0;
};

/// A text shaped and broken, ready to be drawn as often as needed.
struct BrokenText {
  BrokenText();
  ~BrokenText();

  /// As drawn: the text up to the ellipsis, if lines were dropped.
  Handle<PangoLayout> layout;
  Size size;
  std::vector<BrokenLine> lines;
  /// The pictures of it that have been drawn so far.
  mutable std::vector<TextMask> masks;
};

/// Shapes texts with the bundle's typefaces and breaks them into lines.
///
/// Keeps what it has broken, so that measuring and drawing a text cost once. A text broken at its
/// own size has the same lines again.
class TextBreaker : public TextMeasurer {
 public:
  explicit TextBreaker(Typefaces& typefaces) : typefaces_(typefaces) {}

  TextLines breakLines(const ArchivedText& text, ProposedSize proposal) override;

  /// The same with what it takes to draw it.
  std::shared_ptr<const BrokenText> broken(const ArchivedText& text, ProposedSize proposal);

 private:
  /// What a text's shapes depend on, apart from its box.
  struct Key {
    std::string text;
    std::string family;
    double size;
    Weight weight;
    double tracking;
    friend bool operator==(const Key&, const Key&) = default;
  };
  struct KeyHash {
    std::size_t operator()(const Key& key) const;
  };

  /// Lengths in Pango's units, so that rounding on the way through a layout does not tell two equal
  /// widths apart.
  struct Box {
    int width;
    int height;
    friend auto operator<=>(const Box&, const Box&) = default;
  };

  /// A text with all its lines, which are the same at every width from that of the widest line to
  /// the proposed one: only a narrower box moves a word down, only a wider one pulls a word up.
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

  WholeText wholeText(const Key& key, int width);
  std::shared_ptr<const BrokenText> truncated(const Key& key, Box box, const WholeText& whole);
  TextStyle styleOf(const Key& key) const;

  Typefaces& typefaces_;
  std::unordered_map<Key, Entry, KeyHash> texts_;
};

}  // namespace platform
