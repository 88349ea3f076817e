#pragma once

#include <cstdint>
#include <optional>

#include "platform/swiftui/geometry.h"

// What stacks, frames and modifiers carry; a view and its archived form hold the same values.

namespace platform {

/// Children beside or below one another. Without a spacing the platform picks each gap.
struct StackLayout {
  Axis axis = Axis::vertical;
  /// Across the axis; the other half is not used.
  Alignment alignment = {};
  std::optional<double> spacing = {};
  friend bool operator==(const StackLayout&, const StackLayout&) = default;
};

/// Children over one another, back to front.
struct OverlayStackLayout {
  Alignment alignment = {};
  friend bool operator==(const OverlayStackLayout&, const OverlayStackLayout&) = default;
};

struct PaddingModifier {
  EdgeInsets insets = {};
  friend bool operator==(const PaddingModifier&, const PaddingModifier&) = default;
};

/// Fixes one or both axes; an absent one passes through.
struct FixedFrame {
  std::optional<double> width = {};
  std::optional<double> height = {};
  Alignment alignment = {};
  friend bool operator==(const FixedFrame&, const FixedFrame&) = default;
};

/// Bounds either axis from below and above; absent bounds follow the child.
struct FlexibleFrame {
  std::optional<double> minWidth = {};
  std::optional<double> idealWidth = {};
  std::optional<double> maxWidth = {};
  std::optional<double> minHeight = {};
  std::optional<double> idealHeight = {};
  std::optional<double> maxHeight = {};
  Alignment alignment = {};
  friend bool operator==(const FlexibleFrame&, const FlexibleFrame&) = default;
};

enum class ContentMode : std::uint8_t { fit, fill };

/// Keeps width over height; without a ratio, that of the child's ideal size.
struct AspectRatioModifier {
  std::optional<double> ratio = {};
  ContentMode contentMode = ContentMode::fit;
  friend bool operator==(const AspectRatioModifier&, const AspectRatioModifier&) = default;
};

struct IgnoresSafeAreaModifier {
  Edge edges = Edge::all;
  friend bool operator==(const IgnoresSafeAreaModifier&, const IgnoresSafeAreaModifier&) = default;
};

/// Draws the second child behind the first, proposed the first one's size.
struct BackgroundModifier {
  Alignment alignment = {};
  friend bool operator==(const BackgroundModifier&, const BackgroundModifier&) = default;
};

/// Draws the second child behind the whole widget, under its content margins.
struct ContainerBackgroundModifier {
  Alignment alignment = {};
  friend bool operator==(const ContainerBackgroundModifier&,
                         const ContainerBackgroundModifier&) = default;
};

}  // namespace platform
