#include <utility>

#include "platform/render/layout/layout_rules.h"

namespace platform {

// A text has the size of its lines, which are broken for the proposal.

Size sizeThatFits(const ArchivedText& text, const Subviews& subviews, ProposedSize proposal) {
  return subviews.pass().environment().text.breakLines(text, proposal).size;
}

void placeSubviews(const ArchivedText& text, const Subviews& subviews, const Placement& in) {
  TextLines broken = subviews.pass().environment().text.breakLines(text, in.proposal);
  subviews.pass().show(TextItem{text, std::move(broken.lines)}, in.bounds);
}

// An image has its natural size; a resizable one takes the proposal. An image that the bundle lacks
// has no natural size. It is listed anyway, so that its name can be reported.

Size sizeThatFits(const ArchivedImage& image, const Subviews& subviews, ProposedSize proposal) {
  const Size natural = subviews.pass().environment().imageSize(image.name).value_or(Size{});
  if (!image.resizable) {
    return natural;
  }
  return {proposal.width.value_or(natural.width), proposal.height.value_or(natural.height)};
}

void placeSubviews(const ArchivedImage& image, const Subviews& subviews, const Placement& in) {
  subviews.pass().show(ImageItem{image.name}, in.bounds);
}

// A colour takes the whole proposal.

Size sizeThatFits(const ArchivedFill&, const Subviews&, ProposedSize proposal) {
  return {proposal.width.value_or(kUnspecifiedLength),
          proposal.height.value_or(kUnspecifiedLength)};
}

void placeSubviews(const ArchivedFill& fill, const Subviews& subviews, const Placement& in) {
  if (fill.color.opacity > 0 && in.bounds.width > 0 && in.bounds.height > 0) {
    subviews.pass().show(FillItem{fill.color}, in.bounds);
  }
}

}  // namespace platform
