#include <csignal>
#include <future>

#include "host/drill/drill_phone.h"
#include "host/drill/drill_tables.h"
#include "platform/support/files.h"
#include "store/shared_store.h"

namespace host {

using namespace glancery;

namespace {

std::string killed(DrillPhone& phone) {
  const DrillHome home(phone);
  const ShownWidget before = home.widget(kStreakKind);
  ::kill(home.extension(), SIGKILL);
  await([&] { return !home.extensionProblem().empty(); }, "the page does not say that it ended");
  expect(home.widget(kStreakKind).picture == before.picture, "the last picture is gone");
  phone.app({"streak", "8"});
  return before.text + "; then " + home.awaitText(kStreakKind, "— 8");
}

std::string hung(DrillPhone& phone) {
  const DrillHome home(phone);
  const ShownWidget before = home.widget(kStreakKind);
  ::kill(home.extension(), SIGSTOP);
  phone.app({"streak", "8"});
  await([&] { return !home.widget(kStreakKind).problem.empty(); }, "the host waits without end");
  const ShownWidget meanwhile = home.widget(kStreakKind);
  expect(meanwhile.picture == before.picture || meanwhile.problem.empty(),
         "the last picture is gone");
  return before.text + "; then " + home.awaitText(kStreakKind, "— 8");
}

std::string killedMidDownload(DrillPhone& phone) {
  std::promise<pid_t> started;
  const auto extension = started.get_future().share();
  const DrillServer server([extension](int number, const HttpRequest&) {
    // Not for ever: the home screen may not have started.
    if (number == 1 && extension.wait_for(kLongest) == std::future_status::ready) {
      ::kill(extension.get(), SIGKILL);
    }
    return DrillServer::good(number);
  });
  phone.api = server.url();
  const DrillHome home(phone);
  started.set_value(home.extension());
  std::string shown = home.awaitText(kAffirmationKind, "Respuesta 1.");
  expect(server.requests() == 1, "the server was asked again");
  return shown;
}

/// Signs in a user for whom the widget of the faulty extension does what the name says.
std::string misbehaving(DrillPhone& phone, const char* fault, const char* reason) {
  constexpr std::string_view kKind = "Faulty";
  phone.extension = platform::programFolder() / "Faulty.appex";
  const DrillHome home(phone);
  const ShownWidget before = home.widget(kKind);
  phone.app({"sign-in", fault});
  ShownWidget during;
  await(
      [&] {
        during = home.widget(kKind);
        return !during.problem.empty() || during.text != before.text;
      },
      "the host does not notice it");
  expect(during.problem.find(reason) != during.problem.npos,
         "no \"" + std::string(reason) + "\" but " + during.text + ": " + during.problem);
  expect(during.picture == before.picture, "the last picture is gone");
  phone.app({"sign-out"});
  await([&] { return home.widget(kKind).problem.empty(); }, "it does not recover");
  return "the last picture, with \"" + during.problem + "\"";
}

constexpr std::string_view kStays =
    "The last picture stays, the page says why, and the next change brings a new one.";

}  // namespace

// clang-format off
std::vector<Drill> extensionDrills() {
  return {
      {"extension-killed", "The extension is killed", kStays, killed},
      {"extension-hung", "The extension does not answer", kStays, hung},
      {"extension-killed-mid-download", "The extension is killed while its download runs",
       "Another one is started for the result, and the server is asked once.", killedMidDownload},
      {"extension-writes", "The extension writes to its log without end", kStays,
       [](DrillPhone& phone) { return misbehaving(phone, "write", "no answer"); }},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
      // Builds with sanitizers have no memory limit and no sandbox.
      {"extension-memory", "The extension takes 40 MiB of memory", kStays,
       [](DrillPhone& phone) { return misbehaving(phone, "memory", "MiB"); }},
      {"extension-connects", "The extension opens a connection", kStays,
       [](DrillPhone& phone) { return misbehaving(phone, "connect", "the sandbox ended the extension"); }},
      {"extension-reads-home", "The extension lists the user's home folder", kStays,
       [](DrillPhone& phone) { return misbehaving(phone, "home", "Permission denied"); }},
      {"extension-starts-program", "The extension starts a program", kStays,
       [](DrillPhone& phone) { return misbehaving(phone, "program", "the sandbox ended the extension"); }},
#endif
  };
}
// clang-format on

}  // namespace host
