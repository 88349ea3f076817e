#include "platform/widgetkit/extension_protocol.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace platform {
namespace {

const HostMessage kHostMessages[] = {
    {1,
     ConfigureRequest{.device = {.clock = Clock::frozenAt(Date::since1970(1700000000.25)),
                                 .timeZone = "America/Mexico_City",
                                 .locale = "es_MX",
                                 .languages = {"es-MX", "en"},
                                 .systemVersion = {16, 4, 1}},
                      .container = "/somewhere/añadida",
                      .infoOverrides = {{"ApiBaseUrl", "http://127.0.0.1:1"}}}},
    {2,
     ConfigureRequest{
         .device = {.clock = Clock::shiftedBy(-3.5)}, .container = "", .infoOverrides = {}}},
    {3, DescribeRequest()},
    {4,
     ProvideRequest{.what = ProvideRequest::What::snapshot,
                    .kind = "StreakWidget",
                    .context = {WidgetFamily::systemMedium, {306.5, 126}, true}}},
    {5, LocaleChanged()},
    {6, BackgroundEvents{"session"}},
    {7, FinishEvents{"session"}},
    {8, DeliverDownload{{.session = "s", .url = "http://a/", .file = "/tmp/b", .status = 503}}},
    {9,
     DeliverDownload{
         {.session = "s", .url = "http://a/", .error = NSError{NSURLErrorDomain, -1005, "lost"}}}},
    {10, DownloadStarted()},
    {11, DownloadStarted{NSError{NSURLErrorDomain, -1, "the disk is full"}}},
    {12, AwaitMainQueue()},
};

ArchivedEntry entry() {
  const ArchivedView light = {PaddingModifier{{1, 2, 3, 4}}, {{ArchivedText{.text = "Hola"}}}};
  return {.date = Date::since1970(1700000000.125),
          .fields = R"({"z":1,"a":null})",
          .light = light,
          .dark = light};
}

ArchivedEntry withDarkView() {
  ArchivedEntry changed = entry();
  changed.dark = {ArchivedFill{Color::black}};
  return changed;
}

ArchivedEntry rightToLeft() {
  ArchivedEntry changed = entry();
  changed.direction = LayoutDirection::rightToLeft;
  return changed;
}

const ExtensionMessage kExtensionMessages[] = {
    {1, Done()},
    {2, Failure{"no widget has the kind \"X\""}},
    {3,
     WidgetDescriptions{{{"K", "NAME", "DESC", {WidgetFamily::systemSmall}}, {"L", "", "", {}}}}},
    {4,
     ArchivedTimeline{{entry(), withDarkView(), rightToLeft()},
                      TimelineReloadPolicy::after(Date::since1970(5))}},
    {5, ArchivedTimeline{{}, TimelineReloadPolicy::never}},
    {6,
     StartDownload{.session = "s",
                   .url = "http://a/",
                   .method = "POST",
                   .headers = {{"X", "1"}, {"Y", ""}},
                   .body = Data{std::string("\0\xFF", 2)},
                   .timeout = 60}},
    {0, ReloadTimelines{"K"}},
};

TEST(ExtensionProtocol, MessagesArriveAsTheyWereSent) {
  for (const HostMessage& message : kHostMessages) {
    EXPECT_EQ(decodeHostMessage(encode(message).value()), message);
  }
  for (const ExtensionMessage& message : kExtensionMessages) {
    EXPECT_EQ(decodeExtensionMessage(encode(message).value()), message);
  }
}

/// Decodes every truncation of a message and every version with one changed byte. A refusal has a
/// reason; an accepted message survives another round trip. Returns the number of refusals.
int sweepDamage(const std::string& good, auto decode) {
  int refused = 0;
  const auto check = [&](const std::string& damaged) {
    if (const auto message = decode(damaged)) {
      EXPECT_EQ(decode(encode(*message).value()), *message);
    } else {
      EXPECT_FALSE(message.error().empty());
      ++refused;
    }
  };
  for (std::size_t at = 0; at < good.size(); ++at) {
    check(good.substr(0, at));
    for (const int change : {0x01, 0x04, 0x80, 0xFF}) {
      std::string damaged = good;
      damaged[at] = static_cast<char>(damaged[at] ^ change);
      check(damaged);
    }
  }
  return refused;
}

TEST(ExtensionProtocol, DamagedMessagesAreRefusedWithAReasonOrAreValid) {
  int refused = 0;
  for (const HostMessage& message : kHostMessages) {
    refused += sweepDamage(encode(message).value(), decodeHostMessage);
  }
  for (const ExtensionMessage& message : kExtensionMessages) {
    refused += sweepDamage(encode(message).value(), decodeExtensionMessage);
  }
  EXPECT_GT(refused, 1000);
}

const double nan = std::numeric_limits<double>::quiet_NaN();

ProvideRequest provide(ProvideRequest::What what, WidgetFamily family, double width) {
  return {what, "K", {.family = family, .displaySize = {width, 1}}};
}

TEST(ExtensionProtocol, ValuesOutOfRangeAreNamed) {
  using enum ProvideRequest::What;
  using enum WidgetFamily;
  const auto device = [](Device wrong) { return ConfigureRequest{.device = std::move(wrong)}; };
  const std::pair<HostMessage::Content, std::string> fromHost[] = {
      {provide(static_cast<ProvideRequest::What>(3), systemSmall, 1),
       "\"what\" must be an integer from 0 to 2"},
      {provide(snapshot, static_cast<WidgetFamily>(2), 1),
       "\"family\" must be an integer from 0 to 1"},
      {provide(snapshot, systemSmall, infinity), "\"width\" must be a finite number"},
      {device({.clock = {.kind = static_cast<Clock::Kind>(3)}}),
       "\"clock\" must be an integer from 0 to 2"},
      {device({.clock = Clock::shiftedBy(nan)}), "\"shift\" must be a finite number"},
      {device({.clock = Clock::frozenAt(Date::since1970(-infinity))}),
       "\"instant\" must be a finite number"},
      {device({.systemVersion = {16, -1, 0}}), "\"minor\" must be an integer from 0 to 1000000"},
      {DeliverDownload{{.session = "s", .url = "http://a/", .status = 1000}},
       "\"status\" must be an integer from 0 to 999"},
  };
  for (const auto& [content, fault] : fromHost) {
    EXPECT_EQ(decodeHostMessage(encode(HostMessage{1, content}).value()).error(), fault);
  }
  ArchivedEntry undated = entry();
  undated.date = Date::since1970(nan);
  ArchivedEntry undirected = entry();
  undirected.direction = static_cast<LayoutDirection>(2);
  const std::pair<ExtensionMessage::Content, std::string> fromExtension[] = {
      {ArchivedTimeline{{undated}, {}}, "\"date\" must be a finite number"},
      {ArchivedTimeline{{undirected}, {}}, "\"direction\" must be an integer from 0 to 1"},
      {ArchivedTimeline{{}, TimelineReloadPolicy::after(Date::since1970(nan))},
       "\"reloadAfter\" must be a finite number"},
      {StartDownload{.timeout = nan}, "\"timeout\" must be a finite number"},
  };
  for (const auto& [content, fault] : fromExtension) {
    EXPECT_EQ(decodeExtensionMessage(encode(ExtensionMessage{1, content}).value()).error(), fault);
  }
}

TEST(ExtensionProtocol, StringsAreUTF8InBothDirections) {
  const std::pair<ExtensionMessage::Content, std::string> cases[] = {
      {Failure{"\xFF"}, "\"reason\" must be valid UTF-8"},
      {StartDownload{.headers = {{"good", "\xC3"}}}, "\"value\" must be valid UTF-8"},
  };
  for (const auto& [content, fault] : cases) {
    EXPECT_EQ(encode(ExtensionMessage{1, content}).error(), fault);
  }
  EXPECT_EQ(encode(HostMessage{1, ConfigureRequest{.infoOverrides = {{"K", Data{"x"}}}}}).error(),
            "\"infoOverrides\" is not JSON: JSON can't hold data under \"K\"");
  std::string bytes = encode(ExtensionMessage{1, Failure{"Zoë"}}).value();
  bytes.at(bytes.find("ë") + 1) = 'x';
  EXPECT_EQ(decodeExtensionMessage(bytes).error(), "\"reason\" must be valid UTF-8");
  bytes = encode(HostMessage{1, ConfigureRequest{.infoOverrides = {{"K", "v"}}}}).value();
  bytes.at(bytes.find("{\"K\"")) = '[';
  EXPECT_EQ(decodeHostMessage(bytes).error(), "\"infoOverrides\" must be a JSON object of strings");
}

/// Makes every child of the stack with `count` children a reference to its first child.
std::string withChildrenLikeTheFirst(std::string bytes, std::uint32_t count) {
  const auto word = [&](std::size_t at) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
  };
  std::size_t list = 0;
  while (word(list) != count) {
    list += 4;
  }
  const std::uint32_t first = word(list + 4);
  for (std::uint32_t child = 1; child < count; ++child) {
    const std::uint32_t offset = first - 4 * child;
    std::memcpy(bytes.data() + list + 4 + 4 * child, &offset, sizeof offset);
  }
  return bytes;
}

std::string timelineOf(ArchivedView view) {
  return encode(ExtensionMessage{1, ArchivedTimeline{{{.light = view, .dark = view}}, {}}}).value();
}

TEST(ExtensionProtocol, SmallMessagesCannotBecomeLarge) {
  std::vector<ArchivedView> children(777, ArchivedView{ArchivedFill{}});
  children[0] = {ArchivedText{.text = std::string(1000, 'x')}};
  const std::string repeatedText = timelineOf({OverlayStackLayout(), children});
  EXPECT_TRUE(decodeExtensionMessage(repeatedText));
  EXPECT_THAT(decodeExtensionMessage(withChildrenLikeTheFirst(repeatedText, 777)).error(),
              ::testing::EndsWith("(text): \"text\" repeats text of the message"));
  children[0] = {OverlayStackLayout(), std::vector(500, ArchivedView{ArchivedFill{}})};
  const std::string repeatedViews = timelineOf({OverlayStackLayout(), children});
  EXPECT_TRUE(decodeExtensionMessage(repeatedViews));
  EXPECT_THAT(decodeExtensionMessage(withChildrenLikeTheFirst(repeatedViews, 777)).error(),
              ::testing::StartsWith("damaged message of "));
}

}  // namespace
}  // namespace platform
