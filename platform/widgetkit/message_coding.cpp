#include <messages_generated.h>

#include <algorithm>
#include <array>
#include <tuple>

#include "platform/widgetkit/extension_protocol.h"
#include "platform/widgetkit/wire_copier.h"

// One overload of `members` for each table of messages.fbs: see WireCopier.

namespace platform {
namespace wire {

constexpr NumberRange kPositive = {
    std::numeric_limits<double>::denorm_min(), kFinite.high, "a positive number"};
constexpr NumberRange kUpToInfinity = {kFinite.low, infinity, "a finite number or infinity"};
constexpr NumberRange kComponent = {0, 1, "a number from 0 to 1"};
constexpr NumberRange kWeight = {100, 900};

void color(auto& copier, auto& wire, auto& color) {
  copier.number("red", wire.red, color.red, kComponent);
  copier.number("green", wire.green, color.green, kComponent);
  copier.number("blue", wire.blue, color.blue, kComponent);
  copier.number("opacity", wire.opacity, color.opacity, kComponent);
}

void members(auto& copier, TextT& wire, auto& text) {
  copier.text("text", wire.text, text.text);
  copier.text("family", wire.family, text.font.family);
  copier.number("size", wire.size, text.font.size, kPositive);
  copier.number("weight", wire.weight, text.font.weight, kWeight);
  copier.check(wire.weight % 100 == 0, "weight", "must be a multiple of 100");
  copier.number("tracking", wire.tracking, text.tracking);
  color(copier, wire, text.color);
  copier.code("alignment", wire.alignment, text.alignment, TextAlignment::trailing);
}

void members(auto& copier, ImageT& wire, auto& image) {
  copier.text("name", wire.name, image.name);
  copier.any(wire.resizable, image.resizable);
}

void members(auto& copier, FillT& wire, auto& fill) {
  color(copier, wire, fill.color);
}

void members(auto& copier, StackT& wire, auto& stack) {
  copier.code("axis", wire.axis, stack.axis, Axis::vertical);
  copier.number("spacing", wire.spacing, stack.spacing);
}

void members(auto& copier, PaddingT& wire, auto& padding) {
  copier.number("top", wire.top, padding.insets.top);
  copier.number("leading", wire.leading, padding.insets.leading);
  copier.number("bottom", wire.bottom, padding.insets.bottom);
  copier.number("trailing", wire.trailing, padding.insets.trailing);
}

void members(auto& copier, FixedFrameT& wire, auto& frame) {
  copier.number("width", wire.width, frame.width);
  copier.number("height", wire.height, frame.height);
}

void members(auto& copier, FlexibleFrameT& wire, auto& frame) {
  copier.number("maxWidth", wire.max_width, frame.maxWidth, kUpToInfinity);
  copier.number("maxHeight", wire.max_height, frame.maxHeight, kUpToInfinity);
}

void members(auto& copier, AspectRatioT& wire, auto& aspect) {
  copier.number("ratio", wire.ratio, aspect.ratio, kPositive);
  copier.code("mode", wire.mode, aspect.contentMode, ContentMode::fill);
}

void members(auto& copier, IgnoresSafeAreaT& wire, auto& modifier) {
  copier.code("edges", wire.edges, modifier.edges, Edge::all);
}

void members(auto& copier, LinkT& wire, auto& link) {
  copier.text("url", wire.url, link.url);
}

void members(auto& copier, WidgetURLT& wire, auto& widget) {
  copier.text("url", wire.url, widget.url);
}

/// A table without members.
template <class Empty>
requires std::is_empty_v<std::remove_const_t<Empty>>
void members(auto&, flatbuffers::NativeTable&, Empty&) {
}

using Elements = std::tuple<TextT,
                            ImageT,
                            FillT,
                            StackT,
                            OverlayStackT,
                            PaddingT,
                            FixedFrameT,
                            FlexibleFrameT,
                            AspectRatioT,
                            IgnoresSafeAreaT,
                            BackgroundT,
                            ContainerBackgroundT,
                            GeometryReaderT,
                            LinkT,
                            WidgetURLT>;

// How many children an element has, in the same order; -1 for any number.
constexpr std::array kChildren = {0, 0, 0, -1, -1, 1, 1, 1, 1, 1, 2, 2, 1, 1, 1};
static_assert(kChildren.size() == std::tuple_size_v<Elements>);

template <bool kReading>
void copyView(WireCopier<kReading>& copier, ViewT& wire, auto& view, std::size_t depth) {
  const auto kind = [&] { return " (" + std::string(EnumNameElement(wire.element.type)) + "): "; };
  copier.at(kind, [&] {
    copier.variant("element", static_cast<Elements*>(nullptr), wire.element, view.element);
    const int count = kChildren[view.element.index()];
    if (kReading && count >= 0 && wire.children.size() != static_cast<std::size_t>(count)) {
      copier.check(false, "children", "must number " + std::to_string(count));
    }
    const bool isLeaf = kReading ? wire.children.empty() : view.children.empty();
    copier.check(isLeaf || depth < kMaxViewDepth, "children", "are nested too deeply");
  });
  if (!copier.fault().empty()) {
    return;
  }
  if constexpr (kReading) {
    view.children.resize(wire.children.size());
  }
  for (std::size_t i = 0; i < view.children.size(); ++i) {
    if constexpr (!kReading) {
      wire.children.push_back(std::make_unique<ViewT>());
    }
    copier.at([&] { return "/" + std::to_string(i); },
              [&] { copyView(copier, *wire.children[i], view.children[i], depth + 1); });
  }
}

void members(auto& copier, ViewT& wire, auto& view) {
  copier.at([] { return "view"; }, [&] { copyView(copier, wire, view, 1); });
}

// From the host

void members(auto& copier, ErrorT& wire, auto& error) {
  copier.text("domain", wire.domain, error.domain);
  copier.number("code", wire.code, error.code);
  copier.text("description", wire.description, error.localizedDescription);
}

void members(auto& copier, DeviceT& wire, auto& device) {
  constexpr int kLast = 1'000'000;
  copier.code("clock", wire.clock, device.clock.kind, Clock::Kind::frozen);
  copier.number("shift", wire.shift, device.clock.shift);
  copier.number("instant", wire.instant, device.clock.instant);
  copier.text("timeZone", wire.time_zone, device.timeZone);
  copier.text("locale", wire.locale, device.locale);
  copier.list("languages", wire.languages, device.languages);
  copier.code("major", wire.major, device.systemVersion.major, kLast);
  copier.code("minor", wire.minor, device.systemVersion.minor, kLast);
  copier.code("patch", wire.patch, device.systemVersion.patch, kLast);
}

void members(auto& copier, ConfigureT& wire, auto& request) {
  copier.table("device", wire.device, request.device);
  copier.text("container", wire.container, request.container);
  copier.json("infoOverrides", wire.info_overrides, request.infoOverrides);
}

void members(auto& copier, ProvideT& wire, auto& request) {
  copier.code("what", wire.what, request.what, ProvideRequest::What::timeline);
  copier.text("kind", wire.kind, request.kind);
  copier.code("family", wire.family, request.context.family, WidgetFamily::systemMedium);
  copier.number("width", wire.width, request.context.displaySize.width);
  copier.number("height", wire.height, request.context.displaySize.height);
  copier.any(wire.is_preview, request.context.isPreview);
}

void members(auto& copier, BackgroundEventsT& wire, auto& events) {
  copier.text("session", wire.session, events.session);
}

void members(auto& copier, DeliverDownloadT& wire, auto& deliver) {
  copier.text("session", wire.session, deliver.download.session);
  copier.text("url", wire.url, deliver.download.url);
  copier.text("file", wire.file, deliver.download.file);
  copier.code("status", wire.status, deliver.download.status, 999);
  copier.table("error", wire.error, deliver.download.error);
}

void members(auto& copier, FinishEventsT& wire, auto& events) {
  copier.text("session", wire.session, events.session);
}

void members(auto& copier, DownloadStartedT& wire, auto& started) {
  copier.table("refusal", wire.refusal, started.refusal);
}

void members(auto& copier, HostMessageT& wire, auto& message) {
  using Contents = std::tuple<ConfigureT,
                              DescribeT,
                              ProvideT,
                              LocaleChangedT,
                              BackgroundEventsT,
                              DeliverDownloadT,
                              FinishEventsT,
                              AwaitMainQueueT,
                              DownloadStartedT>;
  copier.any(wire.id, message.id);
  copier.variant("content", static_cast<Contents*>(nullptr), wire.content, message.content);
}

// From the extension

template <bool kReading>
void members(WireCopier<kReading>& copier, WidgetT& wire, auto& widget) {
  copier.text("kind", wire.kind, widget.kind);
  copier.text("name", wire.name, widget.displayNameKey);
  copier.text("description", wire.description, widget.descriptionKey);
  for (std::size_t i = 0; i < kWidgetFamilyNames.size(); ++i) {
    const auto family = static_cast<WidgetFamily>(i);
    const unsigned bit = 1U << i;
    if constexpr (kReading) {
      if ((wire.families & bit) != 0) {
        widget.families.push_back(family);
      }
    } else if (std::ranges::find(widget.families, family) != widget.families.end()) {
      wire.families = static_cast<std::uint8_t>(wire.families | bit);
    }
  }
}

template <bool kReading>
void members(WireCopier<kReading>& copier, EntryT& wire, auto& entry) {
  copier.number("date", wire.date, entry.date);
  copier.text("fields", wire.fields, entry.fields);
  copier.code("direction", wire.direction, entry.direction, LayoutDirection::rightToLeft);
  copier.table("light", wire.light, entry.light);
  // Most views are the same in both schemes.
  if (kReading ? wire.dark != nullptr : entry.dark != entry.light) {
    copier.table("dark", wire.dark, entry.dark);
  } else if constexpr (kReading) {
    entry.dark = entry.light;
  }
}

void members(auto& copier, HeaderT& wire, auto& header) {
  copier.text("name", wire.name, header.first);
  copier.text("value", wire.value, header.second);
}

void members(auto& copier, WidgetsT& wire, auto& descriptions) {
  copier.list("widgets", wire.widgets, descriptions.widgets);
}

void members(auto& copier, TimelineT& wire, auto& timeline) {
  copier.list("entries", wire.entries, timeline.entries);
  copier.number("reloadAfter", wire.reload_after, timeline.policy.date);
}

void members(auto& copier, FailureT& wire, auto& failure) {
  copier.text("reason", wire.reason, failure.reason);
}

void members(auto& copier, StartDownloadT& wire, auto& start) {
  copier.text("session", wire.session, start.session);
  copier.text("url", wire.url, start.url);
  copier.text("method", wire.method, start.method);
  copier.list("headers", wire.headers, start.headers);
  copier.any(wire.body, start.body.bytes);
  copier.number("timeout", wire.timeout, start.timeout);
}

void members(auto& copier, ReloadTimelinesT& wire, auto& reload) {
  copier.text("kind", wire.kind, reload.kind);
}

void members(auto& copier, ExtensionMessageT& wire, auto& message) {
  using Contents =
      std::tuple<DoneT, WidgetsT, TimelineT, FailureT, StartDownloadT, ReloadTimelinesT>;
  copier.any(wire.id, message.id);
  copier.variant("content", static_cast<Contents*>(nullptr), wire.content, message.content);
}

}  // namespace wire

namespace {

template <class Wire>
EncodedMessage encodeAs(const auto& message) {
  WireCopier<false> copier;
  Wire copy;
  members(copier, copy, message);
  if (!copier.fault().empty()) {
    return std::unexpected(copier.fault());
  }
  flatbuffers::FlatBufferBuilder builder;
  builder.Finish(Wire::TableType::Pack(builder, &copy));
  return std::string(reinterpret_cast<const char*>(builder.GetBufferPointer()), builder.GetSize());
}

template <class Message, class Wire>
std::expected<Message, std::string> decodeAs(std::string_view bytes) {
  using Table = typename Wire::TableType;
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  // Views that are nested a little too deeply pass, so that the copier can name their place. A
  // table takes at least four bytes: more tables than that are one table that is referred to
  // repeatedly.
  flatbuffers::Verifier verifier(
      data, bytes.size(), 2 * kMaxViewDepth, static_cast<flatbuffers::uoffset_t>(bytes.size() / 4));
  if (!verifier.VerifyBuffer<Table>(nullptr)) {
    return std::unexpected("damaged message of " + std::to_string(bytes.size()) + " bytes");
  }
  Wire copy;
  flatbuffers::GetRoot<Table>(data)->UnPackTo(&copy);
  WireCopier<true> copier(bytes.size());
  Message message;
  members(copier, copy, message);
  if (!copier.fault().empty()) {
    return std::unexpected(copier.fault());
  }
  return message;
}

}  // namespace

EncodedMessage encode(const HostMessage& message) {
  return encodeAs<wire::HostMessageT>(message);
}

EncodedMessage encode(const ExtensionMessage& message) {
  return encodeAs<wire::ExtensionMessageT>(message);
}

std::expected<HostMessage, std::string> decodeHostMessage(std::string_view bytes) {
  return decodeAs<HostMessage, wire::HostMessageT>(bytes);
}

std::expected<ExtensionMessage, std::string> decodeExtensionMessage(std::string_view bytes) {
  return decodeAs<ExtensionMessage, wire::ExtensionMessageT>(bytes);
}

}  // namespace platform
