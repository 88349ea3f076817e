#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/prctl.h>

#include <array>
#include <chrono>
#include <csignal>
#include <future>
#include <thread>

#include <nlohmann/json.hpp>

#include "host/phone/extension_process.h"
#include "tests/host/command_line.h"
#include "tests/host/transfer/scripted_server.h"

// Downloads through the real programs: the host, its extension, and a server on loopback.

namespace {

using namespace world;
using platform::FileDescriptor;
using enum Reply::After;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;
using Json = nlohmann::json;
using Words = std::vector<std::string>;

constexpr const char* kPlaceholder = "Yo sé que cualquiera sería afortunado de tener mi amistad.";
constexpr const char* kNoon = "2024-03-05T12:00:00-06:00";
constexpr const char* kEvening = "2024-03-05T23:59:59-06:00";
constexpr const char* kMidnight = "2024-03-06T00:00:00-06:00";

constexpr const char* kWoken =
    "[AffirmationWidget] Received background session event for identifier: ";
constexpr const char* kFinished = "[NetworkManager BG] Download task finished.";
constexpr const char* kSaved = "[NetworkManager BG Saving] Saved serialized affirmation data";
constexpr const char* kCompleted = "[NetworkManager BG] Task completed";
constexpr const char* kAllDelivered = "[NetworkManager BG] urlSessionDidFinishEvents called.";

std::string affirmation(const std::string& text, const std::string& color) {
  return Json{{"text", text}, {"color", color}}.dump();
}

Reply good(const std::string& text = "Hoy puedo.", const std::string& color = "gold") {
  return answer("200 OK", affirmation(text, color));
}

/// The lines about a delivery, each cut to its constant part.
std::vector<std::string> milestones(const std::vector<std::string>& log) {
  std::vector<std::string> passed;
  for (const std::string& line : log) {
    for (const char* known : {kWoken, kFinished, kSaved, kCompleted, kAllDelivered}) {
      if (line.starts_with(known)) {
        passed.emplace_back(known);
      }
    }
  }
  return passed;
}

std::vector<std::string> logOf(const Json& answer) {
  return answer["log"].get<std::vector<std::string>>();
}

/// A phone whose user is signed in and whose extension asks the server at `port`.
class Downloads : public ::testing::Test {
 protected:
  Downloads() {
    // Extensions that outlive their host become children of this process.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    EXPECT_EQ(phone.glancery({"app", "sign-in", "u-1"}).status, 0);
  }

  static Words asked(Words words, int port, const std::string& now = kNoon) {
    const std::string base = "ApiBaseUrl=http://127.0.0.1:" + std::to_string(port);
    words.insert(words.end(), {"--info", base, "--info", "ApiKey=k-1", "--now", now});
    words.insert(words.end(), {"--time-zone", "America/Mexico_City"});
    return words;
  }
  ProgramEnd glancery(const Words& words, int port, const std::string& now = kNoon) const {
    const ProgramEnd ran = phone.glancery(asked(words, port, now));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "an extension is left behind";
    return ran;
  }
  Json settle(int port, const std::string& now = kNoon) const {
    const ProgramEnd ran =
        glancery({"timeline", "AffirmationWidget", "--settle", "--json"}, port, now);
    EXPECT_EQ(ran.status, 0) << ran.err;
    return Json::parse(ran.out);
  }
  /// The same, beside the test.
  Words settling(int port) const {
    Words words = asked({GLANCERY_BUILD "/glancery", "timeline", "AffirmationWidget"}, port);
    words.insert(words.end(), {"--settle", "--container", phone.container().string()});
    return words;
  }
  Json pending() const {
    return Json::parse(phone.glancery({"downloads", "--json"}).out)["downloads"];
  }

  Phone phone;
};

/// The first entry of each timeline, in order.
std::vector<std::string> shown(const Json& settled) {
  std::vector<std::string> sentences;
  for (const Json& timeline : settled["timelines"]) {
    const Json& entry = timeline["entries"][0];
    sentences.push_back(entry["colorName"].get<std::string>() + ": " +
                        entry["affirmation"].get<std::string>());
  }
  return sentences;
}

TEST_F(Downloads, OneADayAndTheWidgetShowsIt) {
  const ScriptedServer server({good("Hoy puedo.", "gold"), good("Mañana también.", "sky")});
  const Json first = settle(server.port(), kNoon);
  EXPECT_THAT(shown(first), ElementsAre("blush: " + std::string(kPlaceholder), "gold: Hoy puedo."));
  // Delivered once, to the extension that asked: it was not launched for background events.
  EXPECT_THAT(milestones(logOf(first)), ElementsAre(kFinished, kSaved, kCompleted));
  EXPECT_THAT(shown(settle(server.port(), kEvening)), ElementsAre("gold: Hoy puedo."));
  EXPECT_THAT(server.requests(), SizeIs(1));
  EXPECT_THAT(shown(settle(server.port(), kMidnight)),
              ElementsAre("gold: Hoy puedo.", "sky: Mañana también."));
  EXPECT_THAT(server.requests(), SizeIs(2));
}

TEST_F(Downloads, TheServerReceivesExactlyTheRequest) {
  const ScriptedServer server({good()});
  settle(server.port());
  ASSERT_THAT(server.requests(), SizeIs(1));
  const std::string request = server.requests().front();
  const std::size_t end = request.find("\r\n\r\n");
  const std::string body = request.substr(end + 4);
  std::istringstream head(request.substr(0, end + 2));
  Words lines;
  for (std::string line; std::getline(head, line);) {
    lines.push_back(line.substr(0, line.find('\r')));
  }
  EXPECT_EQ(lines.front(), "POST /api/widgets/get_affirmation HTTP/1.1");
  EXPECT_THAT(std::vector(lines.begin() + 1, lines.end()),
              UnorderedElementsAre("Host: 127.0.0.1:" + std::to_string(server.port()),
                                   "Accept: */*",
                                   "Content-Type: application/json",
                                   "X-API-KEY: k-1",
                                   "Content-Length: " + std::to_string(body.size())));
  EXPECT_EQ(Json::parse(body), Json::parse(R"({
    "locale": "es", "timezone": "UTC-6", "appVersion": "4.47.3", "uid": "u-1",
    "user_os": "ios", "os": "ios", "internal": {"events": []}})"));
}

TEST_F(Downloads, ADownloadOfOneHostIsDeliveredByTheNext) {
  const ScriptedServer server({good()});
  EXPECT_EQ(glancery({"timeline", "AffirmationWidget"}, server.port()).status, 0);
  ASSERT_THAT(pending(), SizeIs(1));
  EXPECT_EQ(pending()[0]["state"], "pending");

  const Json later = settle(server.port());
  EXPECT_THAT(milestones(logOf(later)),
              ElementsAre(kWoken, kFinished, kSaved, kCompleted, kAllDelivered));
  EXPECT_EQ(shown(later).back(), "gold: Hoy puedo.");
  EXPECT_THAT(pending(), IsEmpty());
  EXPECT_THAT(server.requests(), SizeIs(1));
}

TEST_F(Downloads, AChangedLocaleIsFetchedInItsLanguage) {
  const ScriptedServer server({good()});
  const ProgramEnd ran =
      glancery({"app", "locale-change", "--settle", "--locale", "en_US"}, server.port());
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_THAT(ran.out,
              HasSubstr("[AffirmationWidget] NSLocale.currentLocaleDidChangeNotification received. "
                        "Fetching new affirmation and reloading timeline for kind: "
                        "AffirmationWidget.\n"));
  ASSERT_THAT(server.requests(), SizeIs(1));
  EXPECT_THAT(server.requests().front(), HasSubstr(R"("locale":"en")"));
}

TEST_F(Downloads, TwoAtOnceAreBothDelivered) {
  std::promise<void> second;
  const ScriptedServer server(
      [&, arrived = second.get_future().share()](std::size_t count, const std::string&) {
        if (count == 1) {
          second.set_value();
        }
        arrived.wait();  // Both are answered after the second request.
        return good("Número " + std::to_string(count) + ".");
      });
  EXPECT_EQ(glancery({"timeline", "AffirmationWidget"}, server.port()).status, 0);
  const ProgramEnd ran = glancery({"app", "locale-change", "--settle"}, server.port());
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_THAT(ran.out, AllOf(HasSubstr("Text='Número 0.'"), HasSubstr("Text='Número 1.'")));
  EXPECT_THAT(pending(), IsEmpty());
  EXPECT_THAT(server.requests(), SizeIs(2));
}

/// A fetch time without a download would cost the user that day's affirmation.
void expectATaskForTheFetchTime(const Phone& phone) {
  while (::waitpid(-1, nullptr, 0) > 0) {  // The extension ends after its host.
  }
  const bool fetched = phone.glancery({"store", "get", "affirmationLastFetchTime"}).status == 0;
  const Json downloads = Json::parse(phone.glancery({"downloads", "--json"}).out)["downloads"];
  EXPECT_TRUE(!fetched || downloads.size() == 1) << downloads;
}

TEST_F(Downloads, AHostKilledDuringTheRequestLeavesNoFetchTime) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::signal(SIGPIPE, SIG_IGN);  // Inherited by the extension: its closed log does not end it.
    auto started = host::ExtensionProcess::start(
        GLANCERY_BUILD "/Glancery.appex",
        {.memory = 0},
        {.download = [](const auto&) -> std::expected<void, platform::NSError> {
          ::raise(SIGKILL);
          return {};
        }});
    host::ExtensionProcess& extension = **started;
    (void)extension.ask(platform::ConfigureRequest{
        .device = {},
        .container = phone.container().string(),
        .infoOverrides = {{"ApiBaseUrl", "http://127.0.0.1:9"}, {"ApiKey", "k-1"}}});
    (void)extension.ask(
        platform::ProvideRequest{.kind = "AffirmationWidget",
                                 .context = {platform::WidgetFamily::systemMedium, {306, 126}}});
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  EXPECT_EQ(WTERMSIG(status), SIGKILL) << "it was never asked for a download";
  expectATaskForTheFetchTime(phone);
}

TEST_F(Downloads, AnExtensionKilledAfterItHasReadTheBodyLosesNothing) {
  // A process that is killed during its leak check leaves the checking process behind.
  ::setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
  const FileDescriptor removals(::inotify_init1(IN_CLOEXEC));
  const ScriptedServer server([&](std::size_t, const std::string&) {
    const auto transfers = phone.container() / "Library" / "Transfers";
    EXPECT_GE(::inotify_add_watch(removals.get(), transfers.c_str(), IN_DELETE), 0);
    return good();
  });
  ChildProcess host(settling(server.port()));
  // The extension removes the link to the body after it has stored what was in it.
  for (std::string events; events.find(".tmp") == std::string::npos;) {
    std::array<char, 4096> event = {};
    const ssize_t count = ::read(removals.get(), event.data(), event.size());
    ASSERT_GT(count, 0);
    events.append(event.data(), static_cast<std::size_t>(count));
  }
  for (const pid_t extension : host.children()) {
    ::kill(extension, SIGKILL);
  }
  ::unsetenv("ASAN_OPTIONS");
  const ProgramEnd end = *host.wait();
  EXPECT_EQ(end.status, 0) << end.err;
  EXPECT_THAT(end.out, HasSubstr("  affirmation: Hoy puedo.\n"));
  EXPECT_THAT(pending(), IsEmpty());
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "an extension is left behind";
}

struct Answers {
  const char* name;
  std::vector<Reply> replies;
  /// What the widget shows in the end; on the day before it is "gold: Ayer.".
  std::string shown;
  std::string logged;
};

class Answered : public Downloads, public ::testing::WithParamInterface<Answers> {};

TEST_P(Answered, SetsTheRecordOrLeavesIt) {
  std::vector<Reply> replies = GetParam().replies;
  replies.insert(replies.begin(), good("Ayer.", "gold"));
  const ScriptedServer server(replies);
  settle(server.port(), kNoon);
  const Json next = settle(server.port(), kMidnight);
  EXPECT_THAT(logOf(next), Contains(HasSubstr(GetParam().logged)));
  EXPECT_THAT(milestones(logOf(next)), Contains(kCompleted));
  EXPECT_THAT(pending(), IsEmpty());
  EXPECT_EQ(shown(settle(server.port(), kMidnight)).back(), GetParam().shown);
  EXPECT_THAT(server.requests(), SizeIs(replies.size()));
}

const Answers kAnswers[] = {
    {"unavailable",
     {answer("503 Service Unavailable", "later")},
     "gold: Ayer.",
     "Error response body: later"},
    {"badJSON", {answer("200 OK", "{\"text\":")}, "gold: Ayer.", "Failed to parse JSON correctly."},
    {"huge",
     {answer("200 OK", std::string(std::size_t{1} << 20, ' ') + affirmation("Larga.", "sky"))},
     "sky: Larga.",
     "Text='Larga.'"},
};
INSTANTIATE_TEST_SUITE_P(With, Answered, ::testing::ValuesIn(kAnswers), [](const auto& row) {
  return std::string(row.param.name);
});

TEST_F(Downloads, AServerThatIsNotThereIsWaitedForUntilTheDownloadIsCancelled) {
  const host::ReservedPort closed;
  const ProgramEnd ran =
      glancery({"timeline", "AffirmationWidget", "--settle", "--for", "1"}, closed.number());
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(std::ranges::count(ran.err, '\n'), 1) << ran.err;
  EXPECT_THAT(ran.err, HasSubstr("Could not connect to the server."));
  ASSERT_THAT(pending(), SizeIs(1));
  EXPECT_EQ(pending()[0]["state"], "pending");
  EXPECT_EQ(pending()[0]["error"]["code"], -1004);

  const std::string id = pending()[0]["id"].dump();
  EXPECT_EQ(phone.glancery({"downloads", "cancel", id}).status, 0);
  const Json settled = settle(closed.number());
  EXPECT_THAT(milestones(logOf(settled)), ElementsAre(kWoken, kCompleted, kAllDelivered));
  EXPECT_THAT(logOf(settled), Contains("[NetworkManager BG] Task completed with error: cancelled"));
  EXPECT_THAT(pending(), IsEmpty());
}

}  // namespace
