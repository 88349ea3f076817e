#include <utility>

#include "platform/render/layout/layout_rules.h"

namespace platform {

// Home-screen widgets have no safe-area insets (their margins are padding), so there is nothing to
// reach into.

Size sizeThatFits(const IgnoresSafeAreaModifier&, const Subviews& subviews, ProposedSize proposal) {
  return subviews.content().sizeThatFits(proposal);
}

void placeSubviews(const IgnoresSafeAreaModifier&,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize proposal) {
  subviews.content().place({bounds.x, bounds.y}, proposal);
}

// A background is proposed the content's size, aligned on it and drawn first; it never changes the
// size.

Size sizeThatFits(const BackgroundModifier&, const Subviews& subviews, ProposedSize proposal) {
  return subviews.content().sizeThatFits(proposal);
}

void placeSubviews(const BackgroundModifier& background,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize proposal) {
  subviews.background().place(bounds, background.alignment, {bounds.width, bounds.height});
  subviews.content().place({bounds.x, bounds.y}, proposal);
}

// A container background belongs to the widget, wherever in the view it was given.

Size sizeThatFits(const ContainerBackgroundModifier&,
                  const Subviews& subviews,
                  ProposedSize proposal) {
  return subviews.content().sizeThatFits(proposal);
}

void placeSubviews(const ContainerBackgroundModifier& background,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize proposal) {
  subviews.background().placeContainerBackground(background.alignment);
  subviews.content().place({bounds.x, bounds.y}, proposal);
}

// A geometry reader takes the whole proposal and offers its size to the content at its top leading
// corner.

Size sizeThatFits(const ArchivedGeometryReader&, const Subviews&, ProposedSize proposal) {
  return {proposal.width.value_or(kUnspecifiedReaderLength),
          proposal.height.value_or(kUnspecifiedReaderLength)};
}

void placeSubviews(const ArchivedGeometryReader&,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize) {
  subviews.content().place({bounds.x, bounds.y}, {bounds.width, bounds.height});
}

// Links and the widget's address say what taps open and leave the layout alone. The inner one of
// two nested links wins.

Size sizeThatFits(const ArchivedLink&, const Subviews& subviews, ProposedSize proposal) {
  return subviews.content().sizeThatFits(proposal);
}

void placeSubviews(const ArchivedLink& link,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize proposal) {
  auto outer = subviews.pass().exchangeLink(link.url);
  subviews.content().place({bounds.x, bounds.y}, proposal);
  subviews.pass().exchangeLink(std::move(outer));
}

Size sizeThatFits(const ArchivedWidgetURL&, const Subviews& subviews, ProposedSize proposal) {
  return subviews.content().sizeThatFits(proposal);
}

void placeSubviews(const ArchivedWidgetURL& widget,
                   const Subviews& subviews,
                   const Rect& bounds,
                   ProposedSize proposal) {
  subviews.pass().openWherever(widget.url);
  subviews.content().place({bounds.x, bounds.y}, proposal);
}

}  // namespace platform
