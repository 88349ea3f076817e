#include "host/home/home_phone.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>

#include <stop_token>
#include <thread>

#include "host/home/home_actions.h"
#include "host/home/home_loop.h"
#include "host/home/home_state.h"
#include "host/http/json_members.h"
#include "host/phone/host_app.h"
#include "host/phone/host_error.h"
#include "host/transfer/transfer_store.h"
#include "platform/foundation/defaults/suite_file.h"
#include "store/shared_store.h"
#include "tests/world.h"

namespace host {
namespace {

using namespace platform;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

constexpr const char* kNow = "2026-03-05T14:30:00Z";

/// A new container, and a new bundle whose program can be exchanged.
class Home : public testing::Test {
 protected:
  Home() {
    fs::create_directories(bundle());
    for (const auto& item : fs::directory_iterator(fs::path(GLANCERY_BUILD) / "Glancery.appex")) {
      fs::create_symlink(item.path(), bundle() / item.path().filename());
    }
  }

  fs::path bundle() const { return folder_.path() / "Glancery.appex"; }
  void useProgram(const fs::path& program) {
    fs::remove(bundle() / "Glancery");
    fs::create_symlink(program, bundle() / "Glancery");
  }
  /// Settings for this test's bundle and container, made current.
  HostSettings settings(const char* now = kNow) const {
    const HostSettings settings = {.extension = bundle(),
                                   .container = folder_.path() / "container",
                                   .device = {.clock = Clock::frozenAt(instant(now))},
                                   .infoOverrides = {{"ApiBaseUrl", "http://127.0.0.1:9"}}};
    fs::create_directories(settings.container);
    makeCurrent(settings);
    return settings;
  }
  std::unique_ptr<HomePhone> phone(const char* now = kNow, std::stop_token leaving = {}) const {
    auto started = std::make_unique<HomePhone>(settings(now), RefreshBudget(), std::move(leaving));
    started->start();
    return started;
  }

  /// The phone has not noticed it yet.
  static void killExtension(const HomePhone& phone) {
    EXPECT_EQ(::kill(phone.host().extension().pid(), SIGKILL), 0);
    pollfd gone = {phone.extensionDescriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&gone, 1, -1), 1);
  }

  static const PlacedWidget& streak(const HomePhone& phone) { return phone.widgets().at(1); }
  static std::string reasonOf(const HomePhone& phone, TimelineScheduler::Id widget) {
    return phone.scheduler().at(widget).record().fetchedFor.why;
  }
  static void perform(HomePhone& phone, const std::string& action) {
    performAction(phone, action);
    phone.advance();
  }
  static bool says(HomePhone& phone, const std::string& text) {
    for (const LogLine& line : phone.takeLog()) {
      if (line.text.find(text) != std::string::npos) {
        return true;
      }
    }
    return false;
  }

 private:
  world::Folder folder_;
};

TEST_F(Home, ShowsChangesOfTheHostAppAndTheNextDay) {
  const auto home = phone();
  const std::string before = streak(*home).picture.path;
  perform(*home, R"({"action": "streak", "count": 12, "lastActive": "2026-03-05T08:00:00Z"})");
  EXPECT_NE(streak(*home).picture.path, before);
  EXPECT_EQ(reasonOf(*home, 1), std::string("the host app changed ") + glancery::kStreakDataKey);
  EXPECT_EQ(reasonOf(*home, 3), "first request") << "the mood log does not show it";
  EXPECT_THAT(stateJSON(*home),
              AllOf(HasSubstr(R"("count":12)"), HasSubstr(R"("alt":"Tu racha — 12)")));
  const std::string maintained = streak(*home).picture.path;
  perform(*home, R"({"action": "travel", "to": "next-midnight"})");
  EXPECT_EQ(Date::now(), instant("2026-03-06T00:00:00Z"));
  EXPECT_EQ(reasonOf(*home, 1), "the timeline's policy");
  EXPECT_NE(streak(*home).picture.path, maintained);
  perform(*home, R"({"action": "travel", "to": "2026-03-05T15:00:00Z"})");
  EXPECT_EQ(reasonOf(*home, 1), "the clock was set back");
}

TEST_F(Home, RestoresItsWidgetsAfterARestart) {
  std::vector<std::string> versions;
  {
    const auto home = phone();
    perform(*home, R"({"action": "sign-in", "uid": "u-1"})");
    for (const PlacedWidget& widget : home->widgets()) {
      versions.push_back(widget.picture.path);
    }
  }
  const auto again = phone("2026-03-05T14:35:00Z");
  for (TimelineScheduler::Id id = 0; id < versions.size(); ++id) {
    EXPECT_EQ(again->widgets()[id].picture.path, versions[id]);
    EXPECT_EQ(again->scheduler().at(id).record().fetched, instant(kNow))
        << "requested again: " << id;
  }
  // Changes between two runs: the host app's data, the clock, a damaged file.
  recordStreak(3, instant(kNow));
  EXPECT_EQ(reasonOf(*phone("2026-03-05T14:40:00Z"), 1), "the suite changed meanwhile");
  EXPECT_EQ(reasonOf(*phone("2026-03-04T14:40:00Z"), 1), "the clock was set back");
  world::writeWhole(timelineFile(sharedContainer(), "StreakWidget"), "nonsense");
  const auto damaged = phone();
  EXPECT_EQ(reasonOf(*damaged, 1), "first request");
  EXPECT_TRUE(says(*damaged, "StreakWidget.timeline is not a stored timeline"));
}

TEST_F(Home, KeepsTheLastPictureOfAnExtensionThatFails) {
  const auto home = phone();
  const auto shown = streak(*home).picture.path;
  const auto bundled = fs::read_symlink(bundle() / "Glancery");
  killExtension(*home);
  useProgram("/bin/false");
  perform(*home, R"({"action": "streak", "count": 2})");
  for (int failures = 1; failures <= 2; ++failures) {
    if (failures > 1) {
      std::this_thread::sleep_until(home->nextRetry().value());
      home->advance();
    }
    EXPECT_THAT(streak(*home).problem.value_or(""), HasSubstr("exited with status 1"));
    EXPECT_EQ(streak(*home).failures, failures);
    EXPECT_EQ(streak(*home).picture.path, shown);
    EXPECT_THAT(stateJSON(*home), HasSubstr(R"("running":false)"));
  }
  useProgram(bundled);
  perform(*home, R"({"action": "streak", "count": 3})");
  EXPECT_EQ(streak(*home).problem, std::nullopt) << "a change of the host app ends the delay";
  EXPECT_NE(streak(*home).picture.path, shown);
  EXPECT_EQ(home->nextRetry(), std::nullopt);
  EXPECT_THAT(stateJSON(*home), Not(HasSubstr(R"("running":false,"launches")")));
}

TEST_F(Home, StopsWaitingForAnAnswerWhenItEnds) {
  std::stop_source leaving;
  const auto home = phone(kNow, leaving.get_token());
  ASSERT_EQ(::kill(home->host().extension().pid(), SIGSTOP), 0);
  const std::jthread user([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    leaving.request_stop();
  });
  perform(*home, R"({"action": "reload", "kind": "StreakWidget"})");
  EXPECT_THAT(streak(*home).problem.value_or(""), HasSubstr("shutting down"));
}

TEST_F(Home, ChangesTheDeviceEvenIfTheExtensionHasEnded) {
  const auto home = phone();
  const std::string spanish = streak(*home).item.displayName;
  killExtension(*home);
  perform(*home, R"({"action": "device", "locale": "fr_FR"})");
  EXPECT_EQ(reasonOf(*home, 1), "the device's settings changed");
  EXPECT_NE(streak(*home).item.displayName, spanish);
  killExtension(*home);
  perform(*home, R"({"action": "travel", "to": "next-midnight"})");
  EXPECT_EQ(reasonOf(*home, 1), "the timeline's policy");
}

TEST_F(Home, SurvivesAContainerThatCantBeUsed) {
  const auto home = phone();
  const auto suite = SuiteFile::pathOf(sharedContainer(), glancery::kAppGroupIdentifier);
  fs::create_directories(suite);
  home->suiteChanged();
  EXPECT_TRUE(says(*home, "can't open"));
  fs::remove(suite);
  perform(*home, R"({"action": "streak", "count": 2})");
  EXPECT_EQ(reasonOf(*home, 1), std::string("the host app changed ") + glancery::kStreakDataKey);

  fs::remove_all(sharedContainer());
  world::writeWhole(sharedContainer(), "a file");
  perform(*home, R"({"action": "reload", "kind": "StreakWidget"})");
  EXPECT_TRUE(says(*home, "StreakWidget.timeline can't be written"));
}

TEST_F(Home, ReportsActionsThatCannotBeStored) {
  const auto home = phone();
  perform(*home, R"({"action": "sign-in", "uid": "u-1"})");
  const auto suite = SuiteFile::pathOf(sharedContainer(), glancery::kAppGroupIdentifier);
  const std::string before = world::readWhole(suite);
  fs::create_directory(suite.string() + ".new");
  for (const char* action : {R"({"action": "sign-in", "uid": "u-2"})",
                             R"({"action": "sign-out"})",
                             R"({"action": "streak", "count": 2})",
                             R"({"action": "mood", "mood": "well"})"}) {
    try {
      performAction(*home, action);
      ADD_FAILURE() << action;
    } catch (const InvalidValue& error) {
      ADD_FAILURE() << error.what();
    } catch (const HostError& error) {
      EXPECT_THAT(error.what(), HasSubstr("Is a directory")) << action;
    }
  }
  EXPECT_EQ(world::readWhole(suite), before);
}

TEST_F(Home, OutlivesTheFolderItWasStartedIn) {
  const auto here = fs::current_path();
  const auto start = bundle().parent_path() / "start";
  fs::create_directory(start);
  fs::current_path(start);
  HostSettings relative = settings();
  relative.extension = requireExtension("../Glancery.appex");
  HomePhone home(relative, RefreshBudget());
  home.start();
  fs::remove(start);
  killExtension(home);
  perform(home, R"({"action": "device", "locale": "fr_FR"})");
  EXPECT_EQ(reasonOf(home, 1), "the device's settings changed");
  fs::current_path(here);
}

TEST_F(Home, FollowsTheMachinesTimeZoneUnlessOneWasChosen) {
  HostSettings following = settings();
  following.followsMachineZone = true;
  HomePhone home(following, RefreshBudget());
  home.start();
  const char* const zone = std::getenv("TZ");
  const std::string before = zone ? zone : "";
  ::setenv("TZ", "Asia/Kathmandu", 1);
  home.systemZoneChanged();
  EXPECT_EQ(home.settings().device.timeZone, "Asia/Kathmandu");
  perform(home, R"({"action": "device", "timeZone": "Asia/Tokyo"})");
  home.systemZoneChanged();
  EXPECT_EQ(home.settings().device.timeZone, "Asia/Tokyo");
  zone ? ::setenv("TZ", before.c_str(), 1) : ::unsetenv("TZ");
}

// The extension of a host that has died may have stored a record whose reload was not handled.
TEST_F(Home, ShowsARecordWhoseReloadReachedNoHome) {
  const auto storeAffirmation = [] {
    saveSharedSuite([](Dictionary& suite) {
      suite.set(glancery::kAffirmationDataKey, Data{R"({"text": "Respira", "color": "blush"})"});
      return true;
    });
  };
  (void)phone();
  storeAffirmation();
  const auto home = phone("2026-03-05T14:35:00Z");
  EXPECT_EQ(reasonOf(*home, 2), "the suite changed meanwhile");
  EXPECT_EQ(reasonOf(*home, 1), "first request") << "the streak shows no affirmation";
  // A running home screen leaves this to the extension's own request.
  changeSharedSuite([](Dictionary& suite) { return suite.remove(glancery::kAffirmationDataKey); });
  home->suiteChanged();
  home->advance();
  EXPECT_EQ(reasonOf(*home, 2), "the suite changed meanwhile");
}

TEST_F(Home, NoticesAChangeBeforeItsLoopWatchesTheSuite) {
  const auto home = phone();
  recordStreak(3, instant(kNow));
  std::string first;
  HomeLoop loop(*home, [&](const HomeView& view) {
    if (first.empty()) {
      first = view.state;
    }
  });
  loop.start();
  EXPECT_THAT(first, HasSubstr(R"("count":3)"));
}

TEST_F(Home, DeliversResultsOfAnEarlierHost) {
  (void)phone();
  const auto container = sharedContainer();
  const auto leave = [&](const std::string& session) {
    TransferService other(container);
    const auto id = other.add({.session = session, .url = "http://127.0.0.1:9/"});
    EXPECT_EQ(other.cancel(*other.find(id.value())), true);
  };
  leave("com.quiloapp.fetchAffirmationTask");
  const auto home = phone();
  EXPECT_TRUE(listTransfers(container).tasks.empty());
  // If the extension can't be started, the result is delivered after the retry delay.
  leave("com.quiloapp.fetchAffirmationTask");
  killExtension(*home);
  const auto bundled = fs::read_symlink(bundle() / "Glancery");
  useProgram("/bin/false");
  home->stepDownloads();
  const int launches = home->host().launches();
  for (int step = 0; step < 5; ++step) {
    home->stepDownloads();
  }
  EXPECT_EQ(home->host().launches(), launches);
  EXPECT_EQ(listTransfers(container).tasks.size(), 1u);
  useProgram(bundled);
  std::this_thread::sleep_until(home->nextRetry().value());
  home->advance();
  EXPECT_TRUE(listTransfers(container).tasks.empty());
}

TEST_F(Home, AResultThatNoWidgetTakesBlocksNoOther) {
  (void)phone();
  auto other = std::make_unique<TransferService>(sharedContainer());
  for (const char* session : {"unknown", "com.quiloapp.fetchAffirmationTask"}) {
    const auto id = other->add({.session = session, .url = "http://127.0.0.1:9/"});
    EXPECT_EQ(other->cancel(*other->find(id.value())), true);
  }
  other.reset();
  const auto left = [] { return listTransfers(sharedContainer()).tasks; };
  ASSERT_EQ(left().size(), 2u);
  const auto home = phone();
  ASSERT_EQ(left().size(), 1u);
  EXPECT_EQ(left()[0].request.session, "unknown");
  EXPECT_THAT(left()[0].undelivered, HasSubstr("unknown"));
  EXPECT_FALSE(home->nextRetry());
}

TEST(HomeRetries, BackOff) {
  std::vector<std::int64_t> pauses;
  for (const int failures : {1, 2, 3, 8, 9, 10, 1000}) {
    pauses.push_back(retryDelay(failures).count());
  }
  EXPECT_THAT(pauses, ElementsAre(1, 2, 4, 128, 256, 300, 300));
}

TEST_F(Home, NamesTheFaultOfAnAction) {
  const auto home = phone();
  const std::pair<const char*, const char*> rows[] = {
      {"", "not valid JSON"},
      {"[]", "not a JSON object"},
      {"{}", "\"action\""},
      {R"({"action": 7})", "\"action\" must be a string"},
      {R"({"action": "dance"})", "\"dance\""},
      {R"({"action": "sign-in"})", "\"uid\""},
      {R"({"action": "sign-in", "uid": ""})", "\"uid\""},
      {R"({"action": "streak", "count": 1.5})", "\"count\""},
      {R"({"action": "streak", "count": 1, "lastActive": "yesterday"})", "\"yesterday\""},
      {R"({"action": "mood", "mood": "fine"})", "\"fine\""},
      {R"({"action": "mood", "mood": "well", "day": "2026-02-30"})", "\"2026-02-30\""},
      {R"({"action": "device", "screen": "1x1"})", "\"1x1\""},
      {R"({"action": "device", "timeZone": "Mars/Base"})", "\"Mars/Base\""},
      {R"({"action": "travel", "to": "tomorrow"})", "\"tomorrow\""},
      {R"({"action": "clock", "running": 1})", "\"running\""},
      {R"({"action": "tap", "kind": "Nothing"})", "\"Nothing\""},
      {R"({"action": "tap", "kind": "Checkin", "link": "evil://"})", "\"evil://\""},
      {R"({"action": "reload", "kind": "Nothing"})", "\"Nothing\""},
  };
  const std::string before = stateJSON(*home);
  for (const auto& [action, names] : rows) {
    try {
      performAction(*home, action);
      ADD_FAILURE() << action;
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), AllOf(HasSubstr(names), Not(HasSubstr("--")))) << action;
    }
  }
  EXPECT_EQ(stateJSON(*home), before) << "nothing happened";
}

TEST_F(Home, AppliesEveryChangeOfTheDevice) {
  const auto home = phone();
  perform(*home, R"({"action": "clock", "running": true})");
  EXPECT_TRUE(home->clockRuns());
  perform(*home, R"({"action": "clock", "running": false})");
  const Date stands = Date::now();
  const std::string light = streak(*home).picture.path;
  const std::string spanish = home->widgets()[0].item.displayName;
  perform(*home, R"({"action": "device", "scheme": "dark"})");
  EXPECT_EQ(reasonOf(*home, 0), "first request") << "both schemes are in every timeline";
  EXPECT_NE(home->widgets()[3].picture.path, light);
  perform(*home, R"({"action": "device", "locale": "fr_FR", "screen": "320x568"})");
  EXPECT_EQ(reasonOf(*home, 0), "the device's settings changed");
  EXPECT_NE(home->widgets()[0].item.displayName, spanish);
  EXPECT_EQ(home->widgets()[0].list.size, (Size{292, 141}));
  EXPECT_EQ(Date::now(), stands) << "the clock does not change";
}

TEST_F(Home, RecordsTapsOnLinksOfTheWidget) {
  const auto home = phone();
  const std::string tap =
      R"({"action": "tap", "kind": "Checkin", "link": "quiloapp://emotion/veryBad"})";
  EXPECT_THROW(perform(*home, tap), InvalidValue) << "signed out, the widget has no links";
  perform(*home, R"({"action": "tap", "kind": "Checkin", "link": null})");
  perform(*home, R"({"action": "sign-in", "uid": "u-1"})");
  perform(*home, tap);
  EXPECT_THROW(perform(*home, R"({"action": "tap", "kind": "StreakWidget"})"), InvalidValue)
      << "the whole widget has a link";
  ASSERT_EQ(home->taps().size(), 2u);
  EXPECT_EQ(home->taps()[0].link, "quiloapp://emotion/veryBad") << "latest first";
  EXPECT_EQ(home->taps()[1].link, std::nullopt);
  EXPECT_THAT(stateJSON(*home), HasSubstr(R"("link":"quiloapp://emotion/well","label":)"));
}

}  // namespace
}  // namespace host
