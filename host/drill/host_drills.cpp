#include <chrono>
#include <csignal>
#include <future>
#include <thread>

#include "host/drill/drill_phone.h"
#include "host/drill/drill_tables.h"
#include "platform/foundation/time/date.h"
#include "platform/support/files.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;
using namespace glancery;
using std::chrono::steady_clock;

namespace {

std::string killedInHandOver(DrillPhone& phone) {
  constexpr int kDays = 20;
  const DrillServer server;
  phone.api = server.url();
  steady_clock::duration undisturbed = {};
  const Date noon = *Date::fromISO8601(DrillPhone::kNoon);
  for (int day = 0; day <= kDays; ++day) {
    const std::string now = noon.addingTimeInterval(day * 86400.0).iso8601();
    const auto start = steady_clock::now();
    ChildProcess host(phone.deviceCommand({"timeline", kAffirmationKind}, now));
    if (day == 0) {
      host.wait();
      undisturbed = steady_clock::now() - start;
    } else {
      std::this_thread::sleep_until(start + undisturbed * day / kDays);
    }
    host.end(SIGKILL);
    const std::string before = std::to_string(server.requests());
    const std::string shown = phone.affirmation(now);
    expect(shown != "Respuesta " + before + ".", "a day kept the affirmation of the day before");
  }
  expect(server.requests() <= 3 * kDays, "the server was asked too often");
  return "the affirmation of each of " + std::to_string(kDays) + " days";
}

/// Checks that the next host shows the answer without asking again, and leaves nothing behind.
std::string afterDelivery(const DrillPhone& phone, const DrillServer& server) {
  std::string shown = phone.expectAffirmation(DrillPhone::kNoon, "Respuesta 1.");
  expect(server.requests() == 1, "the server was asked again");
  phone.expectNoDownloads();
  return shown;
}

std::string killedBeforeDelivery(DrillPhone& phone) {
  std::promise<void> stopped;
  const auto release = stopped.get_future().share();
  const DrillServer server([release](int number, const HttpRequest&) {
    release.wait_for(kLongest);
    return DrillServer::good(number);
  });
  phone.api = server.url();
  DrillHome home(phone);
  const pid_t extension = home.extension();
  // The extension has started its download; now it does not take the result.
  await([&] { return server.requests() == 1; }, "the server is not asked");
  ::kill(extension, SIGSTOP);
  stopped.set_value();
  await([&] { return phone.downloads().find("not delivered yet") != std::string::npos; },
        "the download does not end");
  home.process().end(SIGKILL);
  ::kill(extension, SIGCONT);
  return afterDelivery(phone, server);
}

std::string killedAfterDelivery(DrillPhone& phone) {
  const DrillServer server;
  phone.api = server.url();
  DrillHome home(phone);
  const auto deadline = steady_clock::now() + kLongest;
  while (readFile(phone.suiteFile()).value_or("").find("Respuesta 1.") == std::string::npos) {
    expect(steady_clock::now() < deadline, "nothing is stored");
  }
  home.process().end(SIGKILL);
  return afterDelivery(phone, server);
}

std::string twoHomeScreens(DrillPhone& phone) {
  const DrillHome first(phone);
  const ProgramEnd second = DrillPhone::run(phone.deviceCommand({"home", "--port", "0"}));
  expect(second.status == 1 && second.err.find("used by another home screen") != std::string::npos,
         "the second one ended with " + std::to_string(second.status) + ": " + second.err);
  phone.app({"streak", "8"});
  return first.awaitText(kStreakKind, "— 8") + "; of the second one: " + second.err;
}

std::string containerEmptied(DrillPhone& phone) {
  const DrillServer server;
  phone.api = server.url();
  const DrillHome home(phone);
  home.awaitText(kAffirmationKind, "Respuesta 1.");
  for (const auto& entry : std::filesystem::directory_iterator(phone.container())) {
    std::filesystem::remove_all(entry);
  }
  const std::string empty = home.awaitText(kStreakKind, "— 0");
  phone.app({"sign-in", "u-2"});
  phone.app({"streak", "8"});
  home.awaitText(kStreakKind, "— 8");
  return empty + "; then " + home.awaitText(kAffirmationKind, "Respuesta 2.");
}

constexpr std::string_view kOnce =
    "The next host shows the affirmation, the server is asked once, and nothing is left behind.";

}  // namespace

// clang-format off
std::vector<Drill> hostDrills() {
  return {
      {"host-killed-in-hand-over", "The host is killed at 20 different moments while it takes over a download",
       "No day is without its affirmation.", killedInHandOver},
      {"host-killed-before-delivery", "The host is killed after it has received the answer, and before the extension has",
       kOnce, killedBeforeDelivery},
      {"host-killed-after-delivery", "The host is killed as soon as the extension has stored the answer",
       kOnce, killedAfterDelivery},
      {"two-home-screens", "A second home screen is started on the same container",
       "It ends with the reason, and the first one goes on.", twoHomeScreens},
      {"container-emptied", "All files of the container are removed while the home screen runs",
       "It shows a phone without a user, and goes on with the next change.", containerEmptied},
  };
}
// clang-format on

}  // namespace host
