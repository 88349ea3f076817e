#include "platform/swiftui/view_archiver.h"

#include <algorithm>
#include <concepts>

#include "platform/support/require.h"

namespace platform {

namespace {

/// The size of a view's proposal, if it follows from the widget's size.
using KnownSize = std::optional<Size>;

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
    return Size{std::min(outer.width, frame.maxWidth.value_or(infinity)),
                std::min(outer.height, frame.maxHeight.value_or(infinity))};
  });
}

template <class T, class... Types>
concept OneOf = (std::same_as<T, Types> || ...);

KnownSize inside(const OneOf<ArchivedLink,
                             ArchivedWidgetURL,
                             IgnoresSafeAreaModifier,
                             BackgroundModifier,
                             ContainerBackgroundModifier> auto&,
                 KnownSize size) {
  return size;
}

/// Their proposals depend on the sizes of their children.
KnownSize inside(const OneOf<StackLayout, OverlayStackLayout, AspectRatioModifier> auto&,
                 KnownSize) {
  return std::nullopt;
}

}  // namespace

class ViewArchiver {
 public:
  explicit ViewArchiver(const NSBundle& bundle) : bundle_(bundle) {}

  ArchivedView archive(const View& view, KnownSize size, const EnvironmentValues& values) const {
    const Place place = {view.node_->children, size, values};
    return std::visit([&](const auto& element) { return archive(element, place); },
                      view.node_->element);
  }

 private:
  struct Place {
    const std::vector<View>& children;
    KnownSize size;
    const EnvironmentValues& values;
  };

  ArchivedView archive(const Text& text, const Place& place) const {
    const auto* key = std::get_if<LocalizedStringKey>(&text.content_);
    return {ArchivedText{
        .text = key ? bundle_.localizedString(key->key, key->arguments)
                    : std::get<std::string>(text.content_),
        .font = text.font_,
        .tracking = text.tracking_,
        .color = text.color_.resolved(place.values.colorScheme),
        .alignment = place.values.multilineTextAlignment,
    }};
  }

  ArchivedView archive(const Image& image, const Place&) const { return {image.archived_}; }

  ArchivedView archive(const Color& color, const Place& place) const {
    return {ArchivedFill{color.resolved(place.values.colorScheme)}};
  }

  ArchivedView archive(const View::Body& body, const Place& place) const {
    const EnvironmentScope scope(place.values);
    return archive(body(), place.size, place.values);
  }

  ArchivedView archive(const View::GeometryContent& content, const Place& place) const {
    if (!place.size) {
      fatalError("GeometryReader: its proposal does not follow from the widget's size alone");
    }
    const EnvironmentScope scope(place.values);
    return {ArchivedGeometryReader{},
            {archive(content(GeometryProxy{*place.size}), place.size, place.values)}};
  }

  ArchivedView archive(TextAlignment alignment, const Place& place) const {
    EnvironmentValues values = place.values;
    values.multilineTextAlignment = alignment;
    return archive(place.children.front(), place.size, values);
  }

  /// Layouts and modifiers. The second child is what lies behind the first: it is proposed a size
  /// that only the host knows.
  ArchivedView archive(const auto& modifier, const Place& place) const {
    ArchivedView archived{modifier};
    for (const View& child : place.children) {
      const bool isFirst = &child == &place.children.front();
      archived.children.push_back(
          archive(child, isFirst ? inside(modifier, place.size) : std::nullopt, place.values));
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
