#include <utility>

#include "platform/render/layout/layout_rules.h"

namespace platform {

// Home-screen widgets have no safe-area insets (their margins are padding), so there is nothing to
// extend into.

void placeSubviews(const IgnoresSafeAreaModifier&, const Subviews& subviews, const Placement& in) {
  subviews.content().place(in.origin(), in.proposal);
}

// A background gets the content's size as its proposal and is drawn behind it.

void placeSubviews(const BackgroundModifier&, const Subviews& subviews, const Placement& in) {
  subviews.background().placeCentred(in.bounds, in.proposedBounds());
  subviews.content().place(in.origin(), in.proposal);
}

// A container background covers the widget, at whatever depth of the view it is set.

void placeSubviews(const ContainerBackgroundModifier&,
                   const Subviews& subviews,
                   const Placement& in) {
  subviews.background().placeContainerBackground();
  subviews.content().place(in.origin(), in.proposal);
}

// A geometry reader takes the whole proposal, proposes it to the content and places that at its top
// leading corner.

Size sizeThatFits(const ArchivedGeometryReader&, const Subviews&, ProposedSize proposal) {
  return {proposal.width.value_or(kUnspecifiedReaderLength),
          proposal.height.value_or(kUnspecifiedReaderLength)};
}

void placeSubviews(const ArchivedGeometryReader&, const Subviews& subviews, const Placement& in) {
  subviews.content().place(in.origin(), in.proposedBounds());
}

// The inner one of two nested links is used.

void placeSubviews(const ArchivedLink& link, const Subviews& subviews, const Placement& in) {
  auto outer = subviews.pass().exchangeLink(link.url);
  subviews.content().place(in.origin(), in.proposal);
  subviews.pass().exchangeLink(std::move(outer));
}

void placeSubviews(const ArchivedWidgetURL& widget, const Subviews& subviews, const Placement& in) {
  subviews.pass().setWidgetURL(widget.url);
  subviews.content().place(in.origin(), in.proposal);
}

}  // namespace platform
