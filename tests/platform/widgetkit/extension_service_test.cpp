#include "platform/widgetkit/extension_service.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <string>

#include "platform/dispatch/dispatch_queue.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/foundation/network/url_session.h"
#include "platform/foundation/time/time_zone.h"
#include "platform/swiftui/stacks.h"
#include "tests/on_device.h"
#include "tests/world.h"

namespace platform {
namespace {

struct Note {
  Date date = Date::since1970(0);
  std::string text;
};

Mirror mirror(const Note& note) {
  return {{"text", note.text},
          {"nested", std::vector{MirroredRecord{{"z", 1}, {"a", Array{Value()}}}, {}}},
          {"date", note.date}};
}

/// Completes a timeline when the test does.
struct LateProvider {
  using Entry = Note;

  std::vector<Completion<Timeline<Note>>>* waiting;

  Note placeholder(const TimelineProviderContext&) const { return {Date::now(), "placeholder"}; }
  void getSnapshot(const TimelineProviderContext& context,
                   const Completion<Note>& completion) const {
    completion({Date::now(), context.isPreview ? "gallery" : "snapshot"});
  }
  void getTimeline(const TimelineProviderContext&,
                   const Completion<Timeline<Note>>& completion) const {
    waiting->push_back(completion);
  }
};

struct Service : ::testing::Test {
  Service()
      : service(
            {StaticConfiguration("Notes",
                                 LateProvider{&waiting},
                                 [](const Note& note) { return View(Text::verbatim(note.text)); })
                 .supportedFamilies({WidgetFamily::systemSmall})},
            [this](ExtensionMessage message) { answers.push_back(std::move(message)); }) {
    world::phoneAt(Date::since1970(100));
  }

  ExtensionMessage ask(ProvideRequest request) {
    service.handle({++id, std::move(request)});
    return answers.back();
  }
  static std::string reason(const ExtensionMessage& message) {
    const auto* failure = std::get_if<Failure>(&message.content);
    return failure ? failure->reason : "no failure";
  }
  static std::string shown(const ExtensionMessage& message) {
    const auto& entry = std::get<ArchivedTimeline>(message.content).entries.at(0);
    return std::get<ArchivedText>(entry.light.element).text;
  }

  std::vector<Completion<Timeline<Note>>> waiting;
  std::vector<ExtensionMessage> answers;
  ExtensionService service;
  std::int64_t id = 0;
};

using What = ProvideRequest::What;

TEST_F(Service, AnswersUnderTheRequestsNumberWheneverTheProviderCompletes) {
  service.handle({7, ProvideRequest{What::timeline, "Notes", {}}});
  EXPECT_TRUE(answers.empty());
  EXPECT_EQ(shown(ask({What::snapshot, "Notes", {.isPreview = true}})), "gallery");
  waiting.at(0)({{{Date::since1970(3), "late"}}, TimelineReloadPolicy::after(Date::since1970(9))});
  EXPECT_EQ(answers.back().id, 7);
  EXPECT_EQ(shown(answers.back()), "late");
  const auto& timeline = std::get<ArchivedTimeline>(answers.back().content);
  EXPECT_EQ(timeline.policy.date, Date::since1970(9));
  EXPECT_EQ(
      timeline.entries.at(0).fields,
      R"({"text":"late","nested":[{"z":1,"a":[null]},{}],"date":"1970-01-01T00:00:03.000Z"})");
}

TEST_F(Service, FieldsThatAreNotJSONAreAFailure) {
  service.handle({++id, ProvideRequest{What::timeline, "Notes", {}}});
  waiting.at(0)({{{Date::since1970(3), "\xFF"}}, TimelineReloadPolicy::never});
  EXPECT_EQ(reason(answers.back()),
            "the fields of an entry can't be sent: JSON can't hold a string that is not UTF-8");
}

struct DirectionCase {
  std::string source;
  Device device;
  LayoutDirection direction;
};

TEST_F(Service, TheLocalisationDecidesTheLayoutDirection) {
  const DirectionCase cases[] = {
      {"es", {.locale = "ar_EG"}, LayoutDirection::rightToLeft},
      {"es", {.locale = "es_MX", .languages = {"he-IL", "es"}}, LayoutDirection::rightToLeft},
      {"es", {.locale = "ar_EG", .languages = {"es-MX", "ar"}}, LayoutDirection::leftToRight},
      {"es", {.locale = "fa_IR"}, LayoutDirection::leftToRight},
      {"ar", {.locale = "fr_FR"}, LayoutDirection::rightToLeft},
  };
  const NSBundle before = NSBundle::mainBundle();
  for (const auto& [source, device, direction] : cases) {
    const world::Folder folder;
    world::writeWhole(folder.path() / "Localizable.xcstrings",
                      R"({"sourceLanguage": ")" + source + R"(", "strings": {"A": {"localizations":
                      {"es": {"stringUnit": {"value": "a"}},
                       "ar": {"stringUnit": {"value": "a"}},
                       "he": {"stringUnit": {"value": "a"}}}}}})");
    NSBundle::setMainBundle(NSBundle(folder.path()));
    const OnDevice there(device);
    const auto answer = std::get<ArchivedTimeline>(ask({What::snapshot, "Notes", {}}).content);
    EXPECT_EQ(answer.entries.at(0).direction, direction) << source << ", " << device.locale;
  }
  NSBundle::setMainBundle(before);
}

TEST_F(Service, RefusalsNameWhatIsWrong) {
  EXPECT_EQ(reason(ask({What::timeline, "Nope", {}})), "no widget has the kind \"Nope\"");
  EXPECT_EQ(reason(ask({What::timeline, "Notes", {.family = WidgetFamily::systemMedium}})),
            "the widget \"Notes\" does not support the family systemMedium");
}

TEST_F(Service, ResultsNeedASessionAndEventsAWidget) {
  const auto refused = [&](HostMessage::Content content) {
    service.handle({++id, std::move(content)});
    return reason(answers.back());
  };
  EXPECT_EQ(refused(DeliverDownload{{.session = "none", .url = "http://a/"}}),
            "no session has the identifier \"none\"");
  EXPECT_EQ(refused(FinishEvents{"none"}), "no session has the identifier \"none\"");
  EXPECT_EQ(refused(BackgroundEvents{"none"}),
            "no widget handles the events of the session \"none\"");
  EXPECT_EQ(refused(BackgroundEvents{""}), "no widget handles the events of the session \"\"");
  EXPECT_EQ(refused(DownloadStarted()), "no download waits to be started as number 5");
}

/// Counts the calls that say that all events were delivered.
struct CountingDelegate : NSURLSessionDownloadDelegate {
  void didFinishDownloadingToURL(NSURLSession&, NSURLSessionDownloadTask&, const URL&) override {}
  void didCompleteWithError(NSURLSession&,
                            NSURLSessionDownloadTask&,
                            const std::optional<NSError>&) override {}
  void didFinishEventsForBackgroundURLSession(NSURLSession&) override { ++finished; }

  std::atomic<int> finished = 0;
};

TEST(BackgroundSessionDeathTest, NeedsASharedContainerAndLaunches) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // Sessions have threads.
  CountingDelegate delegate;
  NSURLSessionConfiguration configuration = {.identifier = "unshared"};
  const auto makeTask = [&] {
    NSURLSession::sessionWithConfiguration(configuration, delegate, nullptr)
        .downloadTaskWithRequest(NSURLRequest(*URL::fromString("http://a/")));
  };
  EXPECT_DEATH(makeTask(), "invalid session");
  configuration.setSharedContainerIdentifier("group.test");
  configuration.setSessionSendsLaunchEvents(false);
  EXPECT_DEATH(makeTask(), "wait for the next launch");
}

TEST(ExtensionServiceEvents, AreFinishedOnceTheWidgetsCompletionWasCalled) {
  static CountingDelegate& delegate = *new CountingDelegate();
  NSURLSession& session =
      NSURLSession::sessionWithConfiguration({.identifier = "events"}, delegate, nullptr);
  std::function<void()> completion;
  std::vector<std::int64_t> done;
  ExtensionService service(
      {WidgetConfiguration{.kind = "K"}.onBackgroundURLSessionEvents(
          "events",
          [&](const std::string&, std::function<void()> call) { completion = std::move(call); })},
      [&](const ExtensionMessage& message) { done.push_back(message.id); });
  std::array<int, 2> wake = {};
  ASSERT_EQ(::pipe(wake.data()), 0);
  const auto drain = [&] {
    // After the blocks that the delegate queue has put onto the main queue.
    session.deliver(
        {.session = "events", .url = "http://a/", .error = NSError{NSURLErrorDomain, -1, ""}},
        [&] { DispatchQueue::main().async([&] { EXPECT_EQ(::write(wake[1], "x", 1), 1); }); });
    runMainQueueUntilReadable(wake[0]);
    char byte = 0;
    EXPECT_EQ(::read(wake[0], &byte, 1), 1);
  };
  service.handle({1, BackgroundEvents{"events"}});
  service.handle({2, FinishEvents{"events"}});
  drain();
  EXPECT_EQ(done, (std::vector<std::int64_t>{1}));
  completion();
  EXPECT_EQ(done, (std::vector<std::int64_t>{1, 2}));
  EXPECT_EQ(delegate.finished, 1);
  // Events that were not announced are not finished; the main queue is awaited nevertheless.
  DispatchQueue::main().async([&] { done.push_back(0); });
  service.handle({3, AwaitMainQueue()});
  drain();
  service.handle({4, FinishEvents{"events"}});
  drain();
  EXPECT_EQ(done, (std::vector<std::int64_t>{1, 2, 0, 3, 4}));
  EXPECT_EQ(delegate.finished, 1);
}

TEST_F(Service, ConfigureRequestsTakeEffect) {
  const world::Container container;
  service.handle({1,
                  ConfigureRequest{.device = {.clock = Clock::frozenAt(Date::since1970(42)),
                                              .timeZone = "Asia/Tokyo"},
                                   .container = container.path().string(),
                                   .infoOverrides = {}}});
  EXPECT_EQ(answers.back(), (ExtensionMessage{1, Done()}));
  EXPECT_EQ(Date::now(), Date::since1970(42));
  EXPECT_EQ(TimeZone::current().identifier(), "Asia/Tokyo");
  EXPECT_EQ(sharedContainer(), container.path());
}

}  // namespace
}  // namespace platform
