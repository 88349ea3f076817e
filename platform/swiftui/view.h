#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "platform/foundation/network/url.h"
#include "platform/swiftui/archived_view.h"
#include "platform/swiftui/color.h"
#include "platform/swiftui/geometry.h"
#include "platform/swiftui/layout_modifiers.h"
#include "platform/swiftui/localized_string_key.h"

namespace platform {

class View;
struct ViewNode;

/// The placement that `containerBackground` is for.
enum class ContainerBackgroundPlacement : std::uint8_t { widget };

/// The modifiers that every view takes; each wraps the view in a new one.
template <class Self>
class ViewModifiers {
 public:
  /// The platform's own length where none is given: 16 points.
  View padding(Edge edges, double length = 16) const;
  View padding(double length) const;
  View frame(FixedFrame frame) const;
  View frame(FlexibleFrame frame) const;
  View aspectRatio(std::optional<double> ratio, ContentMode mode) const;
  View scaledToFill() const;
  View scaledToFit() const;
  View ignoresSafeArea(Edge edges = Edge::all) const;
  View background(const View& background, Alignment alignment = {}) const;
  View containerBackground(ContainerBackgroundPlacement placement,
                           const View& background,
                           Alignment alignment = {}) const;
  View multilineTextAlignment(TextAlignment alignment) const;
  /// Without an address the view stays as it is.
  View widgetURL(const std::optional<URL>& url) const;

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }
};

/// A text in one style.
class Text : public ViewModifiers<Text> {
 public:
  /// Looked up in the main bundle's string catalogue when the view is archived.
  explicit Text(LocalizedStringKey key) : content_(std::move(key)) {}
  /// Shown as it is.
  static Text verbatim(std::string text) { return Text(std::move(text), Verbatim()); }

  Text font(Font font) const {
    return with([&](Text& text) { text.font_ = std::move(font); });
  }
  Text tracking(double points) const {
    return with([&](Text& text) { text.tracking_ = points; });
  }
  Text foregroundColor(Color color) const {
    return with([&](Text& text) { text.color_ = color; });
  }

 private:
  friend class ViewArchiver;
  struct Verbatim {};

  Text(std::string text, Verbatim) : content_(std::move(text)) {}

  Text with(auto change) const {
    Text changed = *this;
    change(changed);
    return changed;
  }

  std::variant<LocalizedStringKey, std::string> content_;
  Font font_ = {};
  double tracking_ = 0;
  Color color_ = Color::primary;
};

enum class ResizingMode : std::uint8_t { stretch };

/// A picture of the main bundle's asset catalogue.
class Image : public ViewModifiers<Image> {
 public:
  explicit Image(std::string name) : archived_{.name = std::move(name)} {}

  /// Cap insets other than zero and tiling are not implemented and have no parameter.
  Image resizable() const {
    Image image = *this;
    image.archived_.resizable = true;
    return image;
  }

 private:
  friend class ViewArchiver;

  ArchivedImage archived_;
};

/// What a geometry reader's content learns.
struct GeometryProxy {
  Size size;
};

/// A type whose body is a view.
template <class T>
concept CompositeView = requires(const T& view) {
  { view.body() } -> std::convertible_to<View>;
};

/// Any view: a cheap, immutable handle to a tree.
///
/// A body runs only when the tree is archived, so that it sees the environment it is shown in.
class View : public ViewModifiers<View> {
 public:
  View(const Text& text);
  View(const Image& image);
  View(const Color& color);
  template <class T>
  requires(!std::derived_from<T, View> && CompositeView<T>) View(T view)
      : View(Body([view = std::move(view)] { return View(view.body()); })) {}

  using Body = std::function<View()>;
  using GeometryContent = std::function<View(const GeometryProxy&)>;

 private:
  friend class ViewArchiver;
  friend struct ViewNode;
  template <class Self>
  friend class ViewModifiers;
  friend class Stack;
  friend class GeometryReader;
  friend class Link;

  explicit View(Body body);
  explicit View(ViewNode node);

  std::shared_ptr<const ViewNode> node_;
};

/// A view in the making: like its archived form, with bodies and texts still to be resolved.
struct ViewNode {
  struct MultilineTextAlignment {
    TextAlignment alignment;
  };
  using Element = std::variant<Text,
                               Image,
                               Color,
                               StackLayout,
                               OverlayStackLayout,
                               PaddingModifier,
                               FixedFrame,
                               FlexibleFrame,
                               AspectRatioModifier,
                               IgnoresSafeAreaModifier,
                               BackgroundModifier,
                               ContainerBackgroundModifier,
                               MultilineTextAlignment,
                               ArchivedLink,
                               ArchivedWidgetURL,
                               View::GeometryContent,
                               View::Body>;
  Element element;
  std::vector<View> children = {};
};

inline View::View(const Text& text) : View(ViewNode{text}) {
}
inline View::View(const Image& image) : View(ViewNode{image}) {
}
inline View::View(const Color& color) : View(ViewNode{color}) {
}
inline View::View(Body body) : View(ViewNode{std::move(body)}) {
}
inline View::View(ViewNode node) : node_(std::make_shared<const ViewNode>(std::move(node))) {
}

template <class Self>
View ViewModifiers<Self>::padding(Edge edges, double length) const {
  const auto inset = [&](Edge edge) { return contains(edges, edge) ? length : 0; };
  const EdgeInsets insets = {.top = inset(Edge::top),
                             .leading = inset(Edge::leading),
                             .bottom = inset(Edge::bottom),
                             .trailing = inset(Edge::trailing)};
  return View(ViewNode{PaddingModifier{insets}, {self()}});
}

template <class Self>
View ViewModifiers<Self>::padding(double length) const {
  return padding(Edge::all, length);
}

template <class Self>
View ViewModifiers<Self>::frame(FixedFrame frame) const {
  return View(ViewNode{frame, {self()}});
}

template <class Self>
View ViewModifiers<Self>::frame(FlexibleFrame frame) const {
  return View(ViewNode{frame, {self()}});
}

template <class Self>
View ViewModifiers<Self>::aspectRatio(std::optional<double> ratio, ContentMode mode) const {
  return View(ViewNode{AspectRatioModifier{ratio, mode}, {self()}});
}

template <class Self>
View ViewModifiers<Self>::scaledToFill() const {
  return aspectRatio(std::nullopt, ContentMode::fill);
}

template <class Self>
View ViewModifiers<Self>::scaledToFit() const {
  return aspectRatio(std::nullopt, ContentMode::fit);
}

template <class Self>
View ViewModifiers<Self>::ignoresSafeArea(Edge edges) const {
  return View(ViewNode{IgnoresSafeAreaModifier{edges}, {self()}});
}

template <class Self>
View ViewModifiers<Self>::background(const View& background, Alignment alignment) const {
  return View(ViewNode{BackgroundModifier{alignment}, {self(), background}});
}

template <class Self>
View ViewModifiers<Self>::containerBackground(ContainerBackgroundPlacement,
                                              const View& background,
                                              Alignment alignment) const {
  return View(ViewNode{ContainerBackgroundModifier{alignment}, {self(), background}});
}

template <class Self>
View ViewModifiers<Self>::multilineTextAlignment(TextAlignment alignment) const {
  return View(ViewNode{ViewNode::MultilineTextAlignment{alignment}, {self()}});
}

template <class Self>
View ViewModifiers<Self>::widgetURL(const std::optional<URL>& url) const {
  return url ? View(ViewNode{ArchivedWidgetURL{url->absoluteString()}, {self()}}) : View(self());
}

}  // namespace platform
