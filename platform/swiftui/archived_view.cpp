#include "platform/swiftui/archived_view.h"

#include <optional>
#include <string_view>
#include <utility>

#include "platform/swiftui/member_coding.h"

namespace platform {
namespace {

// On the wire a view is an array: its kind's name, its members, then its children. So a level of
// views costs one level of nesting, and the deepest view still fits into a message.

using Element = ArchivedView::Element;

struct Kind {
  std::string_view name;
  /// Nothing where any number goes.
  std::optional<std::size_t> children;
};

// clang-format off
constexpr Kind kindOf(const ArchivedText&)                { return {"text", 0}; }
constexpr Kind kindOf(const ArchivedImage&)               { return {"image", 0}; }
constexpr Kind kindOf(const ArchivedFill&)                { return {"fill", 0}; }
constexpr Kind kindOf(const StackLayout&)                 { return {"stack", {}}; }
constexpr Kind kindOf(const OverlayStackLayout&)          { return {"overlayStack", {}}; }
constexpr Kind kindOf(const PaddingModifier&)             { return {"padding", 1}; }
constexpr Kind kindOf(const FixedFrame&)                  { return {"fixedFrame", 1}; }
constexpr Kind kindOf(const FlexibleFrame&)               { return {"flexibleFrame", 1}; }
constexpr Kind kindOf(const AspectRatioModifier&)         { return {"aspectRatio", 1}; }
constexpr Kind kindOf(const IgnoresSafeAreaModifier&)     { return {"ignoresSafeArea", 1}; }
constexpr Kind kindOf(const BackgroundModifier&)          { return {"background", 2}; }
constexpr Kind kindOf(const ContainerBackgroundModifier&) { return {"containerBackground", 2}; }
constexpr Kind kindOf(const ArchivedGeometryReader&)      { return {"geometryReader", 1}; }
constexpr Kind kindOf(const ArchivedLink&)                { return {"link", 1}; }
constexpr Kind kindOf(const ArchivedWidgetURL&)           { return {"widgetURL", 1}; }
// clang-format on

template <std::size_t... index>
std::optional<Element> elementNamed(std::string_view name, std::index_sequence<index...>) {
  std::optional<Element> element;
  const auto take = [&]<std::size_t i>() {
    using Candidate = std::variant_alternative_t<i, Element>;
    if (kindOf(Candidate{}).name == name) {
      element.emplace(Candidate{});
    }
  };
  (take.template operator()<index>(), ...);
  return element;
}

// Every element lists its members once, for the encoder and the decoder alike.

void members(auto& coder, Alignment& alignment) {
  coder.code("x", alignment.horizontal, HorizontalAlignment::trailing);
  coder.code("y", alignment.vertical, VerticalAlignment::bottom);
}

void members(auto& coder, ArchivedText& text) {
  coder.string("text", text.text);
  coder.string("family", text.font.family);
  coder.number("size", text.font.size, NumberRange::positive);
  coder.weight("weight", text.font.weight);
  coder.number("tracking", text.tracking, NumberRange::finite);
  coder.color("color", text.color);
  coder.code("alignment", text.alignment, TextAlignment::trailing);
}

void members(auto& coder, ArchivedImage& image) {
  coder.string("name", image.name);
  coder.boolean("resizable", image.resizable);
}

void members(auto& coder, ArchivedFill& fill) {
  coder.color("color", fill.color);
}

void members(auto& coder, StackLayout& stack) {
  coder.code("axis", stack.axis, Axis::vertical);
  members(coder, stack.alignment);
  coder.number("spacing", stack.spacing, NumberRange::finite);
}

void members(auto& coder, OverlayStackLayout& stack) {
  members(coder, stack.alignment);
}

void members(auto& coder, PaddingModifier& padding) {
  coder.number("top", padding.insets.top, NumberRange::finite);
  coder.number("leading", padding.insets.leading, NumberRange::finite);
  coder.number("bottom", padding.insets.bottom, NumberRange::finite);
  coder.number("trailing", padding.insets.trailing, NumberRange::finite);
}

void members(auto& coder, FixedFrame& frame) {
  coder.number("width", frame.width, NumberRange::finite);
  coder.number("height", frame.height, NumberRange::finite);
  members(coder, frame.alignment);
}

void members(auto& coder, FlexibleFrame& frame) {
  coder.number("minWidth", frame.minWidth, NumberRange::finite);
  coder.number("idealWidth", frame.idealWidth, NumberRange::finite);
  coder.number("maxWidth", frame.maxWidth, NumberRange::orInfinity);
  coder.number("minHeight", frame.minHeight, NumberRange::finite);
  coder.number("idealHeight", frame.idealHeight, NumberRange::finite);
  coder.number("maxHeight", frame.maxHeight, NumberRange::orInfinity);
  members(coder, frame.alignment);
}

void members(auto& coder, AspectRatioModifier& aspect) {
  coder.number("ratio", aspect.ratio, NumberRange::positive);
  coder.code("mode", aspect.contentMode, ContentMode::fill);
}

void members(auto& coder, IgnoresSafeAreaModifier& modifier) {
  coder.code("edges", modifier.edges, Edge::all);
}

void members(auto& coder, BackgroundModifier& background) {
  members(coder, background.alignment);
}

void members(auto& coder, ContainerBackgroundModifier& background) {
  members(coder, background.alignment);
}

void members(auto&, ArchivedGeometryReader&) {
}

void members(auto& coder, ArchivedLink& link) {
  coder.string("url", link.url);
}

void members(auto& coder, ArchivedWidgetURL& widget) {
  coder.string("url", widget.url);
}

class Decoder {
 public:
  std::expected<ArchivedView, std::string> view(const Value& value) {
    if (path_.size() >= kMaxViewDepth) {
      return fault("views lie deeper than " + std::to_string(kMaxViewDepth) + " in one another");
    }
    const Array* parts = value.array();
    if (!parts || parts->size() < 2) {
      return fault("a view must be an array of its kind, its members and its children");
    }
    const auto* name = (*parts)[0].as<std::string>();
    if (!name) {
      return fault("its kind must be a string");
    }
    auto element =
        elementNamed(*name, std::make_index_sequence<std::variant_size_v<ArchivedView::Element>>());
    if (!element) {
      return fault("no kind of view is called " + quotedForeignName(*name));
    }
    kind_ = *name;
    const Dictionary* attributes = (*parts)[1].dictionary();
    if (!attributes) {
      return fault("its members must be a dictionary");
    }
    MemberDecoder decoder(*attributes);
    std::visit([&](auto& target) { members(decoder, target); }, *element);
    if (const std::string what = decoder.fault(); !what.empty()) {
      return fault(what);
    }
    const std::size_t count = parts->size() - 2;
    const auto wanted = std::visit([](const auto& e) { return kindOf(e).children; }, *element);
    if (wanted && *wanted != count) {
      return fault("its children must number " + std::to_string(*wanted) + ", not " +
                   std::to_string(count));
    }
    ArchivedView view{.element = *std::move(element)};
    view.children.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      path_.push_back(i);
      kind_ = {};
      auto child = this->view((*parts)[i + 2]);
      if (!child) {
        return child;
      }
      path_.pop_back();
      view.children.push_back(*std::move(child));
    }
    return view;
  }

 private:
  /// "view /0/2 (text): ...": the way from the root by the indices of children.
  std::unexpected<std::string> fault(std::string_view what) const {
    std::string message = "view ";
    for (const std::size_t index : path_) {
      message.append("/").append(std::to_string(index));
    }
    message += path_.empty() ? "/" : "";
    if (!kind_.empty()) {
      message.append(" (").append(kind_).append(")");
    }
    return std::unexpected(message.append(": ").append(what));
  }

  std::vector<std::size_t> path_;
  /// Of the view that is being read, once it is known.
  std::string_view kind_;
};

}  // namespace

Value encodeView(const ArchivedView& view) {
  Array parts;
  parts.reserve(view.children.size() + 2);
  std::visit(
      [&](auto element) {
        MemberEncoder encoder;
        members(encoder, element);
        parts.emplace_back(kindOf(element).name);
        parts.emplace_back(encoder.take());
      },
      view.element);
  for (const ArchivedView& child : view.children) {
    parts.push_back(encodeView(child));
  }
  return parts;
}

std::expected<ArchivedView, std::string> decodeView(const Value& value) {
  return Decoder().view(value);
}

}  // namespace platform
