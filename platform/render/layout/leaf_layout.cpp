#include <utility>

#include "platform/render/layout/layout_rules.h"

namespace platform {

// A text is as large as its lines, broken for the proposal it is placed with.

Size sizeThatFits(const ArchivedText& text, const Subviews& subviews, ProposedSize proposal) {
  return subviews.pass().environment().text.breakLines(text, proposal).size;
}

void placeSubviews(const ArchivedText& text,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize proposal) {
  TextLines broken = subviews.pass().environment().text.breakLines(text, proposal);
  subviews.pass().show(TextItem{text, std::move(broken.lines)}, bounds);
}

// An image keeps its natural size, and a resizable one takes what it is proposed. One that the
// bundle lacks has no natural size; it is listed all the same, so that its name can be reported.

Size sizeThatFits(const ArchivedImage& image, const Subviews& subviews, ProposedSize proposal) {
  const Size natural = subviews.pass().environment().imageSize(image.name).value_or(Size{});
  if (!image.resizable) {
    return natural;
  }
  return {proposal.width.value_or(natural.width), proposal.height.value_or(natural.height)};
}

void placeSubviews(const ArchivedImage& image,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize) {
  subviews.pass().show(ImageItem{image.name}, bounds);
}

// A colour takes the whole proposal.

Size sizeThatFits(const ArchivedFill&, const Subviews&, ProposedSize proposal) {
  return {proposal.width.value_or(kUnspecifiedLength),
          proposal.height.value_or(kUnspecifiedLength)};
}

void placeSubviews(const ArchivedFill& fill,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize) {
  if (fill.color.opacity > 0 && bounds.width > 0 && bounds.height > 0) {
    subviews.pass().show(FillItem{fill.color}, bounds);
  }
}

}  // namespace platform
