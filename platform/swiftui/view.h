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

/// Where `containerBackground` applies.
enum class ContainerBackgroundPlacement : std::uint8_t { widget };

/// The modifiers of every view; each returns the view wrapped in a new one.
template <class Self>
class ViewModifiers {
 public:
  /// The default is the platform's.
  auto padding(Edge edges, double length = 16) const {
    const auto inset = [&](Edge edge) { return contains(edges, edge) ? length : 0; };
    return wrapped(PaddingModifier{{.top = inset(Edge::top),
                                    .leading = inset(Edge::leading),
                                    .bottom = inset(Edge::bottom),
                                    .trailing = inset(Edge::trailing)}});
  }
  auto padding(double length) const { return padding(Edge::all, length); }
  auto frame(FixedFrame frame) const { return wrapped(frame); }
  auto frame(FlexibleFrame frame) const { return wrapped(frame); }
  auto aspectRatio(std::optional<double> ratio, ContentMode mode) const {
    return wrapped(AspectRatioModifier{ratio, mode});
  }
  auto ignoresSafeArea(Edge edges = Edge::all) const {
    return wrapped(IgnoresSafeAreaModifier{edges});
  }
  auto background(const View& background) const {
    return wrapped(BackgroundModifier(), background);
  }
  auto containerBackground(ContainerBackgroundPlacement, const View& background) const {
    return wrapped(ContainerBackgroundModifier(), background);
  }
  auto multilineTextAlignment(TextAlignment alignment) const { return wrapped(alignment); }
  /// Without a URL, returns the view itself.
  View widgetURL(const std::optional<URL>& url) const;

 private:
  View wrapped(auto element, const auto&... behind) const;
};

/// A text in one style.
class Text : public ViewModifiers<Text> {
 public:
  /// Looked up in the main bundle's string catalogue when the view is archived.
  explicit Text(LocalizedStringKey key) : content_(std::move(key)) {}
  /// Shown without a lookup.
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

/// An image of the main bundle's asset catalogue.
class Image : public ViewModifiers<Image> {
 public:
  explicit Image(std::string name) : archived_{.name = std::move(name)} {}

  /// Stretches the whole image: there are no cap insets and there is no tiling.
  Image resizable() const {
    Image image = *this;
    image.archived_.resizable = true;
    return image;
  }

 private:
  friend class ViewArchiver;

  ArchivedImage archived_;
};

/// What a geometry reader passes to its content.
struct GeometryProxy {
  Size size;
};

/// A type whose body is a view.
template <class T>
concept CompositeView = requires(const T& view) {
  { view.body() } -> std::convertible_to<View>;
};

/// Any view: an immutable handle to a tree, cheap to copy.
///
/// A body runs only when the tree is archived, in the environment in which it is shown.
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

/// Like the archived form of a view, but bodies have not run and texts are not looked up. A
/// TextAlignment applies to all texts within its child.
struct ViewNode {
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
                               TextAlignment,
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
View ViewModifiers<Self>::wrapped(auto element, const auto&... behind) const {
  return View(ViewNode{std::move(element), {static_cast<const Self&>(*this), behind...}});
}

template <class Self>
View ViewModifiers<Self>::widgetURL(const std::optional<URL>& url) const {
  return url ? wrapped(ArchivedWidgetURL{url->absoluteString()})
             : View(static_cast<const Self&>(*this));
}

}  // namespace platform
