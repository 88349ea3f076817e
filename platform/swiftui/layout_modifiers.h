#pragma once

#include <cstdint>
#include <optional>

#include "platform/swiftui/geometry.h"

// Layouts and modifiers; a view and its archived form hold the same values. Everything is centred.

namespace platform {

/// Children beside or below each other. Without `spacing` the platform chooses the gaps.
struct StackLayout {
  Axis axis = Axis::vertical;
  std::optional<double> spacing = {};
  friend bool operator==(const StackLayout&, const StackLayout&) = default;
};

/// Children over each other, back to front.
struct OverlayStackLayout {
  friend bool operator==(OverlayStackLayout, OverlayStackLayout) = default;
};

struct PaddingModifier {
  EdgeInsets insets = {};
  friend bool operator==(const PaddingModifier&, const PaddingModifier&) = default;
};

/// Sets the length of one axis or both; the child decides an absent one.
struct FixedFrame {
  std::optional<double> width = {};
  std::optional<double> height = {};
  friend bool operator==(const FixedFrame&, const FixedFrame&) = default;
};

/// Takes the proposal up to a maximum, which may be infinite; the child decides an axis without
/// one.
struct FlexibleFrame {
  std::optional<double> maxWidth = {};
  std::optional<double> maxHeight = {};
  friend bool operator==(const FlexibleFrame&, const FlexibleFrame&) = default;
};

enum class ContentMode : std::uint8_t { fit, fill };

/// Keeps `ratio`, the width divided by the height; without one, that of the child's ideal size.
struct AspectRatioModifier {
  std::optional<double> ratio = {};
  ContentMode contentMode = ContentMode::fit;
  friend bool operator==(const AspectRatioModifier&, const AspectRatioModifier&) = default;
};

struct IgnoresSafeAreaModifier {
  Edge edges = Edge::all;
  friend bool operator==(const IgnoresSafeAreaModifier&, const IgnoresSafeAreaModifier&) = default;
};

/// Draws the second child behind the first and proposes the first one's size to it.
struct BackgroundModifier {
  friend bool operator==(BackgroundModifier, BackgroundModifier) = default;
};

/// Draws the second child behind the whole widget, under its content margins.
struct ContainerBackgroundModifier {
  friend bool operator==(ContainerBackgroundModifier, ContainerBackgroundModifier) = default;
};

}  // namespace platform
