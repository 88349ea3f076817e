#include "platform/swiftui/archived_view.h"

#include <cmath>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

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

enum class Range { finite, positive, orInfinity };

// Every element lists its members once, for the encoder and the decoder alike.

void members(auto& coder, Alignment& alignment) {
  coder.code("x", alignment.horizontal, HorizontalAlignment::trailing);
  coder.code("y", alignment.vertical, VerticalAlignment::bottom);
}

void members(auto& coder, ArchivedText& text) {
  coder.string("text", text.text);
  coder.string("family", text.font.family);
  coder.number("size", text.font.size, Range::positive);
  coder.weight("weight", text.font.weight);
  coder.number("tracking", text.tracking, Range::finite);
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
  coder.number("spacing", stack.spacing, Range::finite);
}

void members(auto& coder, OverlayStackLayout& stack) {
  members(coder, stack.alignment);
}

void members(auto& coder, PaddingModifier& padding) {
  coder.number("top", padding.insets.top, Range::finite);
  coder.number("leading", padding.insets.leading, Range::finite);
  coder.number("bottom", padding.insets.bottom, Range::finite);
  coder.number("trailing", padding.insets.trailing, Range::finite);
}

void members(auto& coder, FixedFrame& frame) {
  coder.number("width", frame.width, Range::finite);
  coder.number("height", frame.height, Range::finite);
  members(coder, frame.alignment);
}

void members(auto& coder, FlexibleFrame& frame) {
  coder.number("minWidth", frame.minWidth, Range::finite);
  coder.number("idealWidth", frame.idealWidth, Range::finite);
  coder.number("maxWidth", frame.maxWidth, Range::orInfinity);
  coder.number("minHeight", frame.minHeight, Range::finite);
  coder.number("idealHeight", frame.idealHeight, Range::finite);
  coder.number("maxHeight", frame.maxHeight, Range::orInfinity);
  members(coder, frame.alignment);
}

void members(auto& coder, AspectRatioModifier& aspect) {
  coder.number("ratio", aspect.ratio, Range::positive);
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

class MemberEncoder {
 public:
  void string(const char* key, const std::string& value) { members_.set(key, value); }
  void boolean(const char* key, bool value) { members_.set(key, value); }
  void number(const char* key, double value, Range) { members_.set(key, value); }
  void number(const char* key, const std::optional<double>& value, Range) {
    if (value) {
      members_.set(key, *value);
    }
  }
  template <class Code>
  void code(const char* key, Code value, Code) {
    members_.set(key, static_cast<int>(value));
  }
  void weight(const char* key, Weight value) { members_.set(key, static_cast<int>(value)); }
  void color(const char* key, const Color& value) {
    members_.set(key, Array{value.red, value.green, value.blue, value.opacity});
  }

  Dictionary take() { return std::move(members_); }

 private:
  Dictionary members_;
};

/// By the table of well-formed sequences: no overlong forms, no surrogates, nothing past U+10FFFF.
bool isUTF8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = [&](std::size_t offset) -> unsigned {
      return i + offset < text.size() ? static_cast<unsigned char>(text[i + offset]) : 0u;
    };
    const unsigned lead = byte(0);
    const std::size_t length = lead < 0x80                    ? 1
                               : lead >= 0xC2 && lead <= 0xDF ? 2
                               : lead >= 0xE0 && lead <= 0xEF ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    if (length == 0) {
      return false;
    }
    for (std::size_t offset = 1; offset < length; ++offset) {
      if ((byte(offset) & 0xC0) != 0x80) {
        return false;
      }
    }
    const unsigned second = byte(1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
      return false;
    }
    i += length;
  }
  return true;
}

/// A foreign name for an error message, unless it is too long or no text.
std::string quoted(std::string_view name) {
  return name.size() <= 40 && isUTF8(name) ? "\"" + std::string(name) + "\"" : "(unprintable)";
}

/// The number that the value is; a boolean is none.
std::optional<double> strictNumber(const Value& value) {
  return value.as<bool>() ? std::nullopt : value.number();
}

/// Fills an element's members from a dictionary and keeps the first fault that it meets.
class MemberDecoder {
 public:
  explicit MemberDecoder(const Dictionary& members) : members_(members) {}

  void string(const char* key, std::string& target) {
    if (const Value* value = required(key)) {
      const auto* text = value->as<std::string>();
      if (check(text && isUTF8(*text), key, "must be a string of valid UTF-8")) {
        target = *text;
      }
    }
  }

  void boolean(const char* key, bool& target) {
    if (const Value* value = required(key)) {
      if (const auto* flag = value->as<bool>(); check(flag, key, "must be a boolean")) {
        target = *flag;
      }
    }
  }

  void number(const char* key, double& target, Range range) {
    if (const Value* value = required(key)) {
      take(key, *value, target, range);
    }
  }

  void number(const char* key, std::optional<double>& target, Range range) {
    if (const Value* value = find(key)) {
      take(key, *value, target.emplace(), range);
    }
  }

  template <class Code>
  void code(const char* key, Code& target, Code last) {
    if (const Value* value = required(key)) {
      const auto* code = value->as<std::int64_t>();
      if (check(code && *code >= 0 && *code <= static_cast<int>(last),
                key,
                "must be an integer from 0 to " + std::to_string(static_cast<int>(last)))) {
        target = static_cast<Code>(*code);
      }
    }
  }

  void weight(const char* key, Weight& target) {
    if (const Value* value = required(key)) {
      const auto* weight = value->as<std::int64_t>();
      if (check(weight && *weight >= 100 && *weight <= 900 && *weight % 100 == 0,
                key,
                "must be a weight: 100, 200, and so on to 900")) {
        target = static_cast<Weight>(*weight);
      }
    }
  }

  void color(const char* key, Color& target) {
    const Value* value = required(key);
    if (!value) {
      return;
    }
    constexpr const char* rule = "must be four numbers from 0 to 1";
    const Array* components = value->array();
    if (!check(components && components->size() == 4, key, rule)) {
      return;
    }
    double* const targets[] = {&target.red, &target.green, &target.blue, &target.opacity};
    for (std::size_t i = 0; i < 4; ++i) {
      const auto component = strictNumber((*components)[i]);
      if (check(component && *component >= 0 && *component <= 1, key, rule)) {
        *targets[i] = *component;
      }
    }
  }

  /// What is wrong with the members, or empty.
  std::string fault() {
    for (const auto& [key, value] : members_) {
      check(read_.contains(key), key, "is no member of it");
    }
    return fault_;
  }

 private:
  const Value* find(std::string_view key) {
    read_.insert(key);
    return members_.find(key);
  }

  const Value* required(std::string_view key) {
    const Value* value = find(key);
    check(value, key, "is missing");
    return value;
  }

  void take(const char* key, const Value& value, double& target, Range range) {
    const auto number = strictNumber(value);
    switch (range) {
      case Range::finite:
        check(number && std::isfinite(*number), key, "must be a finite number");
        break;
      case Range::positive:
        check(number && std::isfinite(*number) && *number > 0, key, "must be a positive number");
        break;
      case Range::orInfinity:
        check(number && (std::isfinite(*number) || *number == infinity),
              key,
              "must be a finite number or infinity");
        break;
    }
    target = number.value_or(0);
  }

  bool check(bool holds, std::string_view key, std::string_view rule) {
    if (!holds && fault_.empty()) {
      fault_ = quoted(key) + " " + std::string(rule);
    }
    return holds;
  }

  const Dictionary& members_;
  std::set<std::string_view> read_;
  std::string fault_;
};

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
      return fault("no kind of view is called " + quoted(*name));
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
      return fault("it must have " + std::to_string(*wanted) + " children and has " +
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
      message += "/" + std::to_string(index);
    }
    message += path_.empty() ? "/" : "";
    if (!kind_.empty()) {
      message += " (" + std::string(kind_) + ")";
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
