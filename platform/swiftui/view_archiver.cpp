#include "platform/swiftui/view_archiver.h"

#include <algorithm>

#include "platform/support/require.h"

namespace platform {

namespace {

using KnownSize = std::optional<Size>;

double clampTo(double value, std::optional<double> low, std::optional<double> high) {
  value = high ? std::min(value, *high) : value;
  return low ? std::max(value, *low) : value;
}

KnownSize inside(const PaddingModifier& padding, KnownSize size) {
  return size.transform([&](Size outer) {
    const EdgeInsets& insets = padding.insets;
    return Size{std::max(0.0, outer.width - insets.leading - insets.trailing),
                std::max(0.0, outer.height - insets.top - insets.bottom)};
  });
}

KnownSize inside(const FixedFrame& frame, KnownSize size) {
  return size.transform([&](Size outer) {
    return Size{frame.width.value_or(outer.width), frame.height.value_or(outer.height)};
  });
}

KnownSize inside(const FlexibleFrame& frame, KnownSize size) {
  return size.transform([&](Size outer) {
    return Size{clampTo(outer.width, frame.minWidth, frame.maxWidth),
                clampTo(outer.height, frame.minHeight, frame.maxHeight)};
  });
}

}  // namespace

class ViewArchiver {
 public:
  explicit ViewArchiver(const NSBundle& bundle) : bundle_(bundle) {}

  ArchivedView archive(const View& view, KnownSize size, const EnvironmentValues& values) const {
    return std::visit(
        [&](const auto& element) { return archive(element, view.node_->children, size, values); },
        view.node_->element);
  }

 private:
  using Children = std::vector<View>;

  ArchivedView archive(const Text& text,
                       const Children&,
                       KnownSize,
                       const EnvironmentValues& values) const {
    const auto* key = std::get_if<LocalizedStringKey>(&text.content_);
    return {ArchivedText{
        .text = key ? bundle_.localizedString(key->key, key->arguments)
                    : std::get<std::string>(text.content_),
        .font = text.font_,
        .tracking = text.tracking_,
        .color = text.color_.resolved(values.colorScheme),
        .alignment = values.multilineTextAlignment,
    }};
  }

  ArchivedView archive(const Image& image,
                       const Children&,
                       KnownSize,
                       const EnvironmentValues&) const {
    return {image.archived_};
  }

  ArchivedView archive(const Color& color,
                       const Children&,
                       KnownSize,
                       const EnvironmentValues& values) const {
    return {ArchivedFill{color.resolved(values.colorScheme)}};
  }

  ArchivedView archive(const View::Body& body,
                       const Children&,
                       KnownSize size,
                       const EnvironmentValues& values) const {
    const EnvironmentScope scope(values);
    return archive(body(), size, values);
  }

  ArchivedView archive(const View::GeometryContent& content,
                       const Children&,
                       KnownSize size,
                       const EnvironmentValues& values) const {
    if (!size) {
      fatalError("GeometryReader: its proposal does not follow from the widget's size alone");
    }
    const EnvironmentScope scope(values);
    return {ArchivedGeometryReader{}, {archive(content(GeometryProxy{*size}), size, values)}};
  }

  ArchivedView archive(const ViewNode::MultilineTextAlignment& modifier,
                       const Children& children,
                       KnownSize size,
                       EnvironmentValues values) const {
    values.multilineTextAlignment = modifier.alignment;
    return archive(children.front(), size, values);
  }

  /// Modifiers whose child has a proposal of its own.
  template <class Modifier>
  requires requires(const Modifier& modifier) { inside(modifier, KnownSize()); }
  ArchivedView archive(const Modifier& modifier,
                       const Children& children,
                       KnownSize size,
                       const EnvironmentValues& values) const {
    return {modifier, {archive(children.front(), inside(modifier, size), values)}};
  }

  /// What lies behind a view takes that view's size, which only the host knows.
  ArchivedView archive(const BackgroundModifier& modifier,
                       const Children& children,
                       KnownSize size,
                       const EnvironmentValues& values) const {
    return {modifier,
            {archive(children[0], size, values), archive(children[1], std::nullopt, values)}};
  }
  ArchivedView archive(const ContainerBackgroundModifier& modifier,
                       const Children& children,
                       KnownSize size,
                       const EnvironmentValues& values) const {
    return {modifier,
            {archive(children[0], size, values), archive(children[1], std::nullopt, values)}};
  }

  /// Addresses and safe areas leave the proposal as it is.
  template <class Modifier>
  requires(std::same_as<Modifier, ArchivedLink> || std::same_as<Modifier, ArchivedWidgetURL> ||
           std::same_as<Modifier, IgnoresSafeAreaModifier>) ArchivedView
      archive(const Modifier& modifier,
              const Children& children,
              KnownSize size,
              const EnvironmentValues& values)
  const { return {modifier, {archive(children.front(), size, values)}}; }

  /// Stacks and aspect ratios propose what depends on their children's sizes.
  template <class Layout>
  requires(std::same_as<Layout, StackLayout> || std::same_as<Layout, OverlayStackLayout> ||
           std::same_as<Layout, AspectRatioModifier>) ArchivedView
      archive(const Layout& layout,
              const Children& children,
              KnownSize,
              const EnvironmentValues& values)
  const {
    ArchivedView archived{layout};
    for (const View& child : children) {
      archived.children.push_back(archive(child, std::nullopt, values));
    }
    return archived;
  }

  const NSBundle& bundle_;
};

ArchivedView archiveView(const View& view,
                         Size proposal,
                         const EnvironmentValues& environment,
                         const NSBundle& bundle) {
  return ViewArchiver(bundle).archive(view, proposal, environment);
}

}  // namespace platform
