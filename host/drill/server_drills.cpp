#include "host/drill/drill_phone.h"
#include "host/drill/drill_tables.h"
#include "host/http/reserved_port.h"
#include "store/shared_store.h"

namespace host {

namespace {

constexpr const char* kFirstDay = DrillPhone::kNoon;
constexpr const char* kSecondDay = DrillPhone::kNextDay;
constexpr const char* kThirdDay = "2026-03-07T12:00:00-06:00";

/// Checks a second day on which the download can't end: it is kept, with the reason.
std::string keptPending(const DrillPhone& phone) {
  const platform::ProgramEnd end = phone.settle(kSecondDay, 1);
  expect(end.status == 1, "the download has ended: " + end.out);
  const platform::ProgramEnd shown =
      DrillPhone::run(phone.deviceCommand({"timeline", glancery::kAffirmationKind}, kSecondDay));
  expect(shown.out.find("affirmation: Respuesta 1.") != shown.out.npos,
         "the last affirmation is gone: " + shown.out + shown.err);
  expect(phone.downloads().find("pending") != std::string::npos, "the download is lost");
  return "the affirmation of the day before, with \"" + end.err + "\"";
}

std::string down(DrillPhone& phone) {
  const ReservedPort port;
  {
    const DrillServer server(DrillServer::good, port.number());
    phone.api = server.url();
    phone.expectAffirmation(kFirstDay, "Respuesta 1.");
  }
  const std::string seen = keptPending(phone);
  const DrillServer again([](int, const HttpRequest&) { return DrillServer::good(2); },
                          port.number());
  phone.expectAffirmation(kSecondDay, "Respuesta 2.");
  return seen + "; then the new one";
}

std::string unresolved(DrillPhone& phone) {
  const DrillServer server;
  phone.api = server.url();
  phone.expectAffirmation(kFirstDay, "Respuesta 1.");
  phone.api = "http://no-such-server.invalid";
  return keptPending(phone);
}

/// A server whose second answer is faulty. The fault ends that download, or the third request gets
/// a good answer.
std::string secondAnswer(DrillPhone& phone, const HttpAnswer& fault, bool triedAgain) {
  const DrillServer server([&](int number, const HttpRequest&) {
    return number == 2 ? fault : DrillServer::good(number);
  });
  phone.api = server.url();
  phone.expectAffirmation(kFirstDay, "Respuesta 1.");
  const std::string shown =
      phone.expectAffirmation(kSecondDay, triedAgain ? "Respuesta 3." : "Respuesta 1.");
  phone.expectAffirmation(kThirdDay, triedAgain ? "Respuesta 4." : "Respuesta 3.");
  phone.expectNoDownloads();
  return shown + ", and a new one on the next day";
}

std::string slow(DrillPhone& phone) {
  const DrillServer server([](int number, const HttpRequest&) {
    HttpAnswer answer = DrillServer::good(number);
    answer.delay = number == 1 ? 0 : 3;
    return answer;
  });
  phone.api = server.url();
  phone.expectAffirmation(kFirstDay, "Respuesta 1.");
  const std::string meanwhile = keptPending(phone);
  const std::string shown = phone.affirmation(kSecondDay);
  expect(shown != "Respuesta 1.", "the download was never completed");
  return meanwhile + "; then " + shown;
}

constexpr std::string_view kWaits =
    "The last affirmation stays, and the download is kept until the server answers.";
constexpr std::string_view kUntilNextDay =
    "The last affirmation stays for that day, and the next day's arrives.";

}  // namespace

// clang-format off
std::vector<Drill> serverDrills() {
  return {
      {"server-down", "No server listens", kWaits, down},
      {"server-unresolved", "The server's name can't be resolved", kWaits, unresolved},
      {"server-slow", "The server takes seconds to answer", kWaits, slow},
      {"server-cut", "The server closes the connection within its answer", "The download is tried again.",
       [](DrillPhone& phone) {
         HttpAnswer answer = DrillServer::good(2);
         answer.cut = true;
         return secondAnswer(phone, answer, true);
       }},
      {"server-error", "The server answers with status 500", kUntilNextDay,
       [](DrillPhone& phone) { return secondAnswer(phone, refusal(500, "broken"), false); }},
      {"server-nonsense", "The server's answer is not JSON", kUntilNextDay,
       [](DrillPhone& phone) { return secondAnswer(phone, jsonAnswer("{\"text\":"), false); }},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
      {"server-huge", "The server's answer has 64 MiB, more than the extension may use", kUntilNextDay,
       [](DrillPhone& phone) {
         HttpAnswer answer = jsonAnswer("{}");
         answer.filling = 64 << 20;
         return secondAnswer(phone, answer, false);
       }},
#endif
  };
}
// clang-format on

}  // namespace host
