#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <string>
#include <variant>
#include <vector>

#include "platform/foundation/data/value.h"
#include "platform/swiftui/color.h"
#include "platform/swiftui/font.h"
#include "platform/swiftui/geometry.h"
#include "platform/swiftui/layout_modifiers.h"

namespace platform {

enum class TextAlignment : std::uint8_t { leading, center, trailing };

/// A text as it is shown: localised, in one style, in one colour.
struct ArchivedText {
  std::string text = {};
  Font font = {};
  /// Points added after each character cluster but a line's last.
  double tracking = 0;
  Color color = Color::black;
  /// Of the lines within the text's own box.
  TextAlignment alignment = TextAlignment::leading;
  friend bool operator==(const ArchivedText&, const ArchivedText&) = default;
};

/// A picture of the bundle's asset catalogue, by name.
struct ArchivedImage {
  std::string name = {};
  /// Takes whatever size it is proposed, stretched; otherwise its natural size.
  bool resizable = false;
  friend bool operator==(const ArchivedImage&, const ArchivedImage&) = default;
};

/// A colour as a view: it takes the whole proposal.
struct ArchivedFill {
  Color color = {};
  friend bool operator==(const ArchivedFill&, const ArchivedFill&) = default;
};

/// Takes the whole proposal and places its one child at the top left.
struct ArchivedGeometryReader {
  friend bool operator==(const ArchivedGeometryReader&, const ArchivedGeometryReader&) = default;
};

/// Its one child opens this address when tapped.
struct ArchivedLink {
  std::string url = {};
  friend bool operator==(const ArchivedLink&, const ArchivedLink&) = default;
};

/// Wherever no link is, the widget opens this address.
struct ArchivedWidgetURL {
  std::string url = {};
  friend bool operator==(const ArchivedWidgetURL&, const ArchivedWidgetURL&) = default;
};

/// What an extension hands its host instead of pixels: primitive views and modifiers, every
/// decision taken, texts localised and pictures by name.
///
/// A plain value. Texts, images and fills have no children; modifiers, links and geometry readers
/// have one, backgrounds two (the content, then what lies behind it), stacks any number. An empty
/// overlay stack shows nothing.
struct ArchivedView {
  using Element = std::variant<ArchivedText,
                               ArchivedImage,
                               ArchivedFill,
                               StackLayout,
                               OverlayStackLayout,
                               PaddingModifier,
                               FixedFrame,
                               FlexibleFrame,
                               AspectRatioModifier,
                               IgnoresSafeAreaModifier,
                               BackgroundModifier,
                               ContainerBackgroundModifier,
                               ArchivedGeometryReader,
                               ArchivedLink,
                               ArchivedWidgetURL>;

  Element element = OverlayStackLayout{};
  std::vector<ArchivedView> children = {};
  friend bool operator==(const ArchivedView&, const ArchivedView&) = default;
};

/// Views in one another, the outermost counted; deeper archives are refused when they are read.
inline constexpr std::size_t kMaxViewDepth = 128;

/// The archive as a value, for messages between processes. A view nested in another nests its value
/// by one level.
Value encodeView(const ArchivedView& view);
/// Reads it back from a value that nobody has checked. Afterwards counts of children are as
/// `ArchivedView` says, strings are UTF-8, colours lie in their range, sizes of type and ratios are
/// positive and all lengths finite, but for the infinity that a flexible frame's maximum may be.
///
/// The error names the element at fault by the way to it from the root, child by child, and its
/// kind: `view /0/2 (text): "size" must be a positive number`.
std::expected<ArchivedView, std::string> decodeView(const Value& value);

}  // namespace platform
