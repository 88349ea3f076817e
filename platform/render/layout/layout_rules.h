#pragma once

#include "platform/render/layout/layout_pass.h"
#include "platform/swiftui/archived_view.h"

// The rules of the layout, a pair of functions for each element, as the platform's layout protocol
// has them: `sizeThatFits` answers a proposal; `placeSubviews` puts the children into `bounds`,
// whose size is that answer to `proposal`, or shows what has no children. Any axis of a proposal
// may be a length, infinite or absent.

namespace platform {

/// What a colour takes where nothing is proposed: the platform's stand-in for an absent length.
inline constexpr double kUnspecifiedLength = 10;
/// The same for a geometry reader. Accounts of the platform differ between 0 and 10; no product
/// view depends on it, as the extension only lets geometry readers stand where a length is known.
inline constexpr double kUnspecifiedReaderLength = 0;
/// The gap between two children of a stack that was given none. The platform varies it next to
/// texts by their fonts, in a way it does not publish.
inline constexpr double kDefaultGap = 8;

// leaf_layout.cpp
Size sizeThatFits(const ArchivedText&, const Subviews&, ProposedSize);
void placeSubviews(const ArchivedText&, const Subviews&, const Rect& bounds, ProposedSize);
Size sizeThatFits(const ArchivedImage&, const Subviews&, ProposedSize);
void placeSubviews(const ArchivedImage&, const Subviews&, const Rect& bounds, ProposedSize);
Size sizeThatFits(const ArchivedFill&, const Subviews&, ProposedSize);
void placeSubviews(const ArchivedFill&, const Subviews&, const Rect& bounds, ProposedSize);

// stack_layout.cpp
Size sizeThatFits(const StackLayout&, const Subviews&, ProposedSize);
void placeSubviews(const StackLayout&, const Subviews&, const Rect& bounds, ProposedSize);
Size sizeThatFits(const OverlayStackLayout&, const Subviews&, ProposedSize);
void placeSubviews(const OverlayStackLayout&, const Subviews&, const Rect& bounds, ProposedSize);

// frame_layout.cpp
Size sizeThatFits(const PaddingModifier&, const Subviews&, ProposedSize);
void placeSubviews(const PaddingModifier&, const Subviews&, const Rect& bounds, ProposedSize);
Size sizeThatFits(const FixedFrame&, const Subviews&, ProposedSize);
void placeSubviews(const FixedFrame&, const Subviews&, const Rect& bounds, ProposedSize);
Size sizeThatFits(const FlexibleFrame&, const Subviews&, ProposedSize);
void placeSubviews(const FlexibleFrame&, const Subviews&, const Rect& bounds, ProposedSize);
Size sizeThatFits(const AspectRatioModifier&, const Subviews&, ProposedSize);
void placeSubviews(const AspectRatioModifier&, const Subviews&, const Rect& bounds, ProposedSize);

// modifier_layout.cpp
Size sizeThatFits(const IgnoresSafeAreaModifier&, const Subviews&, ProposedSize);
void placeSubviews(const IgnoresSafeAreaModifier&, const Subviews&, const Rect&, ProposedSize);
Size sizeThatFits(const BackgroundModifier&, const Subviews&, ProposedSize);
void placeSubviews(const BackgroundModifier&, const Subviews&, const Rect& bounds, ProposedSize);
Size sizeThatFits(const ContainerBackgroundModifier&, const Subviews&, ProposedSize);
void placeSubviews(const ContainerBackgroundModifier&, const Subviews&, const Rect&, ProposedSize);
Size sizeThatFits(const ArchivedGeometryReader&, const Subviews&, ProposedSize);
void placeSubviews(const ArchivedGeometryReader&, const Subviews&, const Rect&, ProposedSize);
Size sizeThatFits(const ArchivedLink&, const Subviews&, ProposedSize);
void placeSubviews(const ArchivedLink&, const Subviews&, const Rect& bounds, ProposedSize);
Size sizeThatFits(const ArchivedWidgetURL&, const Subviews&, ProposedSize);
void placeSubviews(const ArchivedWidgetURL&, const Subviews&, const Rect& bounds, ProposedSize);

}  // namespace platform
