#include "platform/widgetkit/extension_protocol.h"

#include <gtest/gtest.h>

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
          .fields = {{"z", 1},
                     {"a", Value()},
                     {"list", Array{true, 2.5, "x"}},
                     {"records", std::vector{MirroredRecord{{"y", 1}, {"b", Value()}}, {}}}},
          .light = light,
          .dark = light};
}

ArchivedEntry twoFaced() {
  ArchivedEntry changed = entry();
  changed.dark = {ArchivedFill{Color::black}};
  return changed;
}

ArchivedEntry mirrored() {
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
     ArchivedTimeline{{entry(), twoFaced(), mirrored()},
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
    EXPECT_EQ(decodeHostMessage(encode(message)), message);
  }
  for (const ExtensionMessage& message : kExtensionMessages) {
    EXPECT_EQ(decodeExtensionMessage(encode(message)), message);
  }
}

/// Calls `check` for every value that differs from `value` in one member, missing or of another
/// type.
void forEachDamage(const Value& value, const std::function<void(const Value&)>& check) {
  const Value wrong[] = {Value(), Value(-1), Value(1e300), Value("?"), Value(Array{Value()})};
  if (const Dictionary* dictionary = value.dictionary()) {
    for (const auto& [key, member] : *dictionary) {
      Dictionary without = *dictionary;
      without.remove(key);
      check(without);
      for (const Value& other : wrong) {
        Dictionary changed = *dictionary;
        changed.set(key, other);
        check(changed);
      }
      forEachDamage(member, [&](const Value& damaged) {
        Dictionary changed = *dictionary;
        changed.set(key, damaged);
        check(changed);
      });
    }
  } else if (const Array* array = value.array()) {
    for (std::size_t index = 0; index < array->size(); ++index) {
      forEachDamage((*array)[index], [&](const Value& damaged) {
        Array changed = *array;
        changed[index] = damaged;
        check(changed);
      });
    }
  }
}

TEST(ExtensionProtocol, DamagedMessagesAreRefusedWithAReasonOrStillMakeSense) {
  int refused = 0;
  const auto check = [&](const auto& decoded) {
    if (!decoded) {
      EXPECT_FALSE(decoded.error().empty());
      ++refused;
    }
  };
  for (const HostMessage& message : kHostMessages) {
    forEachDamage(encode(message), [&](const Value& damaged) {
      const auto decoded = decodeHostMessage(damaged);
      check(decoded);
      // What is accepted says the same when it is said again.
      if (decoded) {
        EXPECT_EQ(decodeHostMessage(encode(*decoded)), *decoded);
      }
    });
  }
  for (const ExtensionMessage& message : kExtensionMessages) {
    forEachDamage(encode(message), [&](const Value& damaged) {
      const auto decoded = decodeExtensionMessage(damaged);
      check(decoded);
      if (decoded) {
        EXPECT_EQ(decodeExtensionMessage(encode(*decoded)), *decoded);
      }
    });
  }
  EXPECT_GT(refused, 400);
  check(decodeHostMessage(Value(5)));
  check(decodeExtensionMessage(Array{}));
}

TEST(ExtensionProtocol, ReasonsNameTheMember) {
  const auto without = [](const HostMessage& message, std::string_view member) {
    Dictionary damaged = *encode(message).dictionary();
    damaged.remove(member);
    return decodeHostMessage(damaged).error();
  };
  EXPECT_EQ(without(kHostMessages[0], "container"),
            "the member \"container\" is missing or malformed");
  EXPECT_EQ(without(kHostMessages[3], "family"), "the member \"family\" is missing or malformed");
}

}  // namespace
}  // namespace platform
