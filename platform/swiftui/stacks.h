#pragma once

#include <algorithm>
#include <concepts>
#include <cstdio>
#include <functional>
#include <optional>
#include <ranges>
#include <utility>
#include <vector>

#include "platform/swiftui/view.h"

namespace platform {

/// The views of a collection's elements, in order. `id` identifies an element: a member, a function
/// of an element, or `std::identity`. Duplicate ids are reported on standard error; their elements
/// are shown nevertheless.
template <std::ranges::forward_range Range, class Identity, class Content>
std::vector<View> ForEach(const Range& elements, const Identity& id, const Content& content) {
  std::vector<View> views;
  for (auto element = std::ranges::begin(elements); element != std::ranges::end(elements);
       ++element) {
    const auto before = std::ranges::subrange(std::ranges::begin(elements), element);
    if (std::ranges::find(before, std::invoke(id, *element), id) != element) {
      std::fprintf(stderr, "ForEach: element %zu has the id of an earlier one.\n", views.size());
    }
    views.push_back(content(*element));
  }
  return views;
}

/// The base of the three stacks. Children are views of any type, optional views (an absent one
/// leaves no gap) and lists of views.
class Stack : public View {
 protected:
  template <class... Children>
  explicit Stack(ViewNode::Element layout, const Children&... children)
      : View(ViewNode{std::move(layout), collect(children...)}) {}

 private:
  template <class... Children>
  static std::vector<View> collect(const Children&... children) {
    std::vector<View> views;
    (append(views, children), ...);
    return views;
  }
  static void append(std::vector<View>& views, const std::convertible_to<View> auto& child) {
    views.push_back(child);
  }
  static void append(std::vector<View>& views, const std::optional<View>& child) {
    if (child) {
      views.push_back(*child);
    }
  }
  static void append(std::vector<View>& views, const std::vector<View>& children) {
    views.insert(views.end(), children.begin(), children.end());
  }
};

struct StackOptions {
  /// Without one the platform chooses the gaps.
  std::optional<double> spacing = {};
};

/// Children from left to right, centred vertically.
class HStack : public Stack {
 public:
  template <class... Children>
  explicit HStack(StackOptions options, const Children&... children)
      : Stack(StackLayout{.axis = Axis::horizontal, .spacing = options.spacing}, children...) {}
  template <class... Children>
  explicit HStack(const Children&... children) : HStack(StackOptions(), children...) {}
};

/// Children from top to bottom, centred horizontally.
class VStack : public Stack {
 public:
  template <class... Children>
  explicit VStack(StackOptions options, const Children&... children)
      : Stack(StackLayout{.axis = Axis::vertical, .spacing = options.spacing}, children...) {}
  template <class... Children>
  explicit VStack(const Children&... children) : VStack(StackOptions(), children...) {}
};

/// Children over each other, back to front, centred.
class ZStack : public Stack {
 public:
  template <class... Children>
  explicit ZStack(const Children&... children) : Stack(OverlayStackLayout{}, children...) {}
};

/// Shows the view that `content` returns for the proposed size. The proposal must follow from the
/// widget's size through paddings and frames alone: see `archiveView`.
class GeometryReader : public View {
 public:
  explicit GeometryReader(GeometryContent content) : View(ViewNode{std::move(content)}) {}
};

/// A view that opens a URL when tapped.
class Link : public View {
 public:
  Link(const URL& destination, const View& label)
      : View(ViewNode{ArchivedLink{destination.absoluteString()}, {label}}) {}
};

}  // namespace platform
