#pragma once

#include <concepts>

#include "platform/render/layout/layout_pass.h"
#include "platform/swiftui/archived_view.h"

// The layout rules: two functions for each element, as in the platform's layout protocol.
// `sizeThatFits` returns the size for a proposal. `placeSubviews` places the children, or shows an
// element without children. Each axis of a proposal is a length, infinite or absent.

namespace platform {

/// Where an element is placed.
struct Placement {
  /// Its size is `sizeThatFits(proposal)`.
  Rect bounds;
  ProposedSize proposal;

  Point origin() const { return {bounds.x, bounds.y}; }
  ProposedSize proposedBounds() const { return {bounds.width, bounds.height}; }
};

/// The length of a colour on an axis without a proposal, as on the platform.
inline constexpr double kUnspecifiedLength = 10;
/// The same for a geometry reader. Descriptions of the platform say 0 or 10. No product view
/// depends on it: `archiveView` accepts geometry readers only where the proposal is known.
inline constexpr double kUnspecifiedReaderLength = 0;
/// The gap between the children of a stack without a spacing. On the platform it also depends on
/// the fonts of neighbouring texts, by rules that are not published.
inline constexpr double kDefaultGap = 8;

// leaf_layout.cpp
Size sizeThatFits(const ArchivedText&, const Subviews&, ProposedSize);
void placeSubviews(const ArchivedText&, const Subviews&, const Placement&);
Size sizeThatFits(const ArchivedImage&, const Subviews&, ProposedSize);
void placeSubviews(const ArchivedImage&, const Subviews&, const Placement&);
Size sizeThatFits(const ArchivedFill&, const Subviews&, ProposedSize);
void placeSubviews(const ArchivedFill&, const Subviews&, const Placement&);

// stack_layout.cpp
Size sizeThatFits(const StackLayout&, const Subviews&, ProposedSize);
void placeSubviews(const StackLayout&, const Subviews&, const Placement&);
Size sizeThatFits(const OverlayStackLayout&, const Subviews&, ProposedSize);
void placeSubviews(const OverlayStackLayout&, const Subviews&, const Placement&);

// frame_layout.cpp
Size sizeThatFits(const PaddingModifier&, const Subviews&, ProposedSize);
void placeSubviews(const PaddingModifier&, const Subviews&, const Placement&);
Size sizeThatFits(const FixedFrame&, const Subviews&, ProposedSize);
void placeSubviews(const FixedFrame&, const Subviews&, const Placement&);
Size sizeThatFits(const FlexibleFrame&, const Subviews&, ProposedSize);
void placeSubviews(const FlexibleFrame&, const Subviews&, const Placement&);
Size sizeThatFits(const AspectRatioModifier&, const Subviews&, ProposedSize);
void placeSubviews(const AspectRatioModifier&, const Subviews&, const Placement&);

// modifier_layout.cpp
template <class Modifier>
concept KeepsContentSize =
    std::same_as<Modifier, IgnoresSafeAreaModifier> || std::same_as<Modifier, BackgroundModifier> ||
    std::same_as<Modifier, ContainerBackgroundModifier> || std::same_as<Modifier, ArchivedLink> ||
    std::same_as<Modifier, ArchivedWidgetURL>;
Size sizeThatFits(const KeepsContentSize auto&, const Subviews& subviews, ProposedSize proposal) {
  return subviews.content().sizeThatFits(proposal);
}
void placeSubviews(const IgnoresSafeAreaModifier&, const Subviews&, const Placement&);
void placeSubviews(const BackgroundModifier&, const Subviews&, const Placement&);
void placeSubviews(const ContainerBackgroundModifier&, const Subviews&, const Placement&);
Size sizeThatFits(const ArchivedGeometryReader&, const Subviews&, ProposedSize);
void placeSubviews(const ArchivedGeometryReader&, const Subviews&, const Placement&);
void placeSubviews(const ArchivedLink&, const Subviews&, const Placement&);
void placeSubviews(const ArchivedWidgetURL&, const Subviews&, const Placement&);

}  // namespace platform
