#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "platform/swiftui/color.h"
#include "platform/swiftui/font.h"
#include "platform/swiftui/geometry.h"
#include "platform/swiftui/layout_modifiers.h"

namespace platform {

enum class TextAlignment : std::uint8_t { leading, center, trailing };

/// A localised text in one style and one colour.
struct ArchivedText {
  std::string text = {};
  Font font = {};
  /// Points added after each character cluster except the last one of a line.
  double tracking = 0;
  Color color = Color::black;
  /// Of the lines within the text's frame.
  TextAlignment alignment = TextAlignment::leading;
  friend bool operator==(const ArchivedText&, const ArchivedText&) = default;
};

/// An image of the bundle's asset catalogue.
struct ArchivedImage {
  std::string name = {};
  /// Whether it is stretched to its proposal; otherwise it has its natural size.
  bool resizable = false;
  friend bool operator==(const ArchivedImage&, const ArchivedImage&) = default;
};

/// A colour that fills the proposal.
struct ArchivedFill {
  Color color = {};
  friend bool operator==(const ArchivedFill&, const ArchivedFill&) = default;
};

/// Takes the whole proposal and places its child at the top leading corner.
struct ArchivedGeometryReader {
  friend bool operator==(const ArchivedGeometryReader&, const ArchivedGeometryReader&) = default;
};

/// Opens a URL when its child is tapped.
struct ArchivedLink {
  std::string url = {};
  friend bool operator==(const ArchivedLink&, const ArchivedLink&) = default;
};

/// The URL that the widget opens where it has no link.
struct ArchivedWidgetURL {
  std::string url = {};
  friend bool operator==(const ArchivedWidgetURL&, const ArchivedWidgetURL&) = default;
};

/// What an extension sends to its host instead of pixels: primitive views and modifiers, with
/// bodies evaluated, texts localised and images by name.
///
/// Texts, images and fills have no children; modifiers, links and geometry readers have one,
/// backgrounds two (the content, then what is behind it), stacks any number. An empty overlay stack
/// shows nothing.
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

/// The most views that may be nested in each other, the outermost included.
inline constexpr std::size_t kMaxViewDepth = 128;

}  // namespace platform
