#include "host/drill/kill_campaign.h"

#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <future>
#include <map>
#include <mutex>
#include <random>
#include <ranges>
#include <thread>

#include "host/drill/drill_phone.h"
#include "host/http/json_members.h"
#include "host/phone/host_app.h"
#include "host/transfer/transfer_service.h"
#include "platform/foundation/data/property_list.h"
#include "platform/foundation/time/date.h"
#include "platform/support/files.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;
using namespace glancery;
using std::chrono::steady_clock;

namespace {

/// Each host has its own language, which identifies its task in the request.
constexpr std::array kLocales = {"es_MX", "en_US", "fr_FR"};

class Campaign {
 public:
  explicit Campaign(const std::function<void(const KillFigures&)>& progress) : progress_(progress) {
    phone_.api = server_.url();
    phone_.timeZone = "UTC";
  }

  KillFigures run(int kills) {
    try {
      // The times of the kills follow how long an undisturbed host takes, which depends on the
      // load.
      for (double span = 300; figures().kills() < kills; progress_(figures())) {
        span = 0.8 * span + 0.2 * 1.3 * std::min(round(span), 5000.0);
      }
      return figures();
    } catch (const HostError& broken) {
      throw BrokenPromise(std::string(broken.what()) + " (round " +
                          std::to_string(figures_.rounds) + " in " + phone_.keep().string() + ")");
    }
  }

 private:
  using Tasks = std::vector<TransferTask>;

  double random(double most) {
    const std::lock_guard lock(mutex_);
    return std::uniform_real_distribution<>(0, most)(generator_);
  }
  bool coin() { return random(1) < 0.5; }
  void sleep(double longest) {
    std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(random(longest)));
  }
  KillFigures figures() {
    const std::lock_guard lock(mutex_);
    return figures_;
  }
  void count(int KillFigures::*figure) {
    const std::lock_guard lock(mutex_);
    ++(figures_.*figure);
  }

  HttpAnswer answer(const HttpRequest& request) {
    const JsonMembers members(request.body);
    const std::string uid = members.text("uid");
    const std::string task = uid + " " + members.text("locale");
    count(&KillFigures::requests);
    {
      const std::lock_guard lock(mutex_);
      ++asked_[task];
    }
    HttpAnswer answer = jsonAnswer(R"({"text":")" + uid + R"(","color":"gold"})");
    answer.delay = random(0.04);
    return answer;
  }
  /// How often the server was asked for that user in the language of that host.
  int asked(const std::string& uid, std::size_t host) {
    const std::lock_guard lock(mutex_);
    return asked_[uid + " " + std::string(kLocales.at(host)).substr(0, 2)];
  }

  Words hostCommand(std::size_t host, Words words, const std::string& now) {
    phone_.locale = kLocales.at(host);
    return phone_.deviceCommand(std::move(words), now);
  }
  Words randomHost(std::size_t host, const std::string& now) {
    static const std::array<Words, 4> kCommands = {Words{"timeline", kAffirmationKind, "--settle"},
                                                   {"timeline", kAffirmationKind},
                                                   {"app", "locale-change", "--settle"},
                                                   {"home", "--port", "0"}};
    return hostCommand(host, kCommands.at(static_cast<std::size_t>(random(3.999))), now);
  }

  /// Starts a host, and kills it or its extension.
  void runAndKill(const Words& words, double longest) {
    ChildProcess host(words);
    sleep(longest);
    const auto extensions = coin() ? host.children() : std::vector<pid_t>();
    if (extensions.empty() || ::kill(extensions.front(), SIGKILL) != 0) {
      if (host.end(SIGKILL).status == 128 + SIGKILL) {
        count(&KillFigures::hosts);
      }
      return;
    }
    count(&KillFigures::extensions);
    if (words.at(1) == "home") {  // Runs until it is ended.
      sleep(longest);
      host.end(SIGKILL);
    }
    expect(host.wait(kLongest).has_value(), "a host does not end");
  }

  /// Records streaks as the host app, and kills some of its processes.
  void write() {
    for (int time = 0; time < 3; ++time) {
      ChildProcess app(phone_.command({"app", "streak", std::to_string(++streak_)}));
      if (coin()) {
        sleep(10);
        app.signal(SIGKILL);
      }
      const auto end = app.wait(kLongest);
      expect(end.has_value(), "the host app does not end");
      if (end->status == 0) {
        acknowledged_ = streak_;
      } else {
        count(&KillFigures::writers);
      }
    }
  }

  Dictionary suite() const {
    const auto value = NSPropertyListSerialization::propertyListWithData(
        readFile(phone_.suiteFile()).value_or(""));
    expect(value && value->dictionary(), "the suite is damaged");
    return *value->dictionary();
  }
  bool arrived(const std::string& uid) const {
    return recordIn(suite(), kAffirmationDataKey).value_or(Dictionary()).string("text") == uid;
  }

  /// Waits for all processes to end, checks what they have left, and returns the downloads.
  Tasks atRest(const std::string& uid, const std::string& now, const Tasks& earlier) {
    await([] { return ::waitpid(-1, nullptr, WNOHANG) < 0; }, "processes do not end");
    const Dictionary values = suite();
    const auto streak = recordIn(values, kStreakDataKey).value_or(Dictionary());
    const auto count = streak.integer("count").value_or(0);
    expect(count >= acknowledged_ && count <= streak_, "a streak that was acknowledged is lost");
    expect(values.string(kSharedUidKey) == uid, "the signed-in user is lost");
    const TransferListing listing = listTransfers(phone_.container());
    expect(listing.damaged.empty(), "the database of downloads is damaged");
    // A fetch time needs a download or its affirmation.
    const Value* fetchTime = values.find(kAffirmationLastFetchKey);
    const Date* fetched = fetchTime ? fetchTime->as<Date>() : nullptr;
    const bool today = fetched && fetched->iso8601().substr(0, 10) == now.substr(0, 10);
    expect(!today || arrived(uid) || !listing.tasks.empty(),
           "a fetch time is stored, but its download is missing");
    for (const TransferTask& task : earlier) {
      expect(arrived(uid) || std::ranges::count(listing.tasks, task.id, &TransferTask::id) == 1,
             "a download is lost");
    }
    return listing.tasks;
  }

  /// Returns how long the last host took, in milliseconds.
  double round(double span) {
    ++figures_.rounds;
    const std::string uid = "u-" + std::to_string(figures_.rounds);
    const std::string now = Date::fromISO8601(DrillPhone::kNoon)
                                ->addingTimeInterval(figures_.rounds * 86400.0)
                                .iso8601();
    phone_.app({"sign-in", uid});
    const std::array<Words, 2> hosts = {randomHost(0, now), randomHost(1, now)};
    Tasks left;
    if (coin()) {
      auto first = std::async(std::launch::async, [&] { runAndKill(hosts[0], span); });
      auto second = std::async(std::launch::async, [&] { runAndKill(hosts[1], span); });
      write();
      first.get();
      second.get();
      left = atRest(uid, now, left);
    } else {
      for (const Words& words : hosts) {
        runAndKill(words, span);
        left = atRest(uid, now, left);
      }
    }

    const int before = asked(uid, 0) + asked(uid, 1);
    const auto start = steady_clock::now();
    const ProgramEnd last =
        DrillPhone::run(hostCommand(2, {"timeline", kAffirmationKind, "--settle"}, now));
    const std::chrono::duration<double, std::milli> took = steady_clock::now() - start;
    expect(last.status == 0, "downloads were not delivered: " + last.err);
    checkAfter(uid, now, left, before, last.out);
    return took.count();
  }

  /// Checks that the last host has completed the downloads, and has asked for no more than it had
  /// to.
  void checkAfter(const std::string& uid,
                  const std::string& now,
                  const Tasks& left,
                  int before,
                  const std::string& log) {
    expect(atRest(uid, now, {}).empty(), "downloads are left after all were delivered");
    expect(arrived(uid), "a day is without its affirmation");
    const int own = asked(uid, 2);
    constexpr std::string_view kSaved = "Saved serialized affirmation data";
    const auto saved = std::ranges::distance(std::views::split(log, kSaved)) - 1;
    expect(saved == std::ssize(left) + own, "a download is delivered twice");
    const auto pending = std::ranges::count(left, 0, &TransferTask::ended);
    expect(asked(uid, 0) + asked(uid, 1) == before + pending && own <= 1,
           "the last host repeats a request, or sends none");
    for (std::size_t host = 0; host < kLocales.size(); ++host) {
      expect(asked(uid, host) <= kMostSends, "a request is sent too often");
    }
    for (const auto& file :
         std::filesystem::directory_iterator(phone_.container() / "Library" / "Transfers")) {
      const std::string name = file.path().filename();
      expect(name == "hosts" || name.starts_with("transfers.db"), "a file is left over: " + name);
    }
  }

  const std::function<void(const KillFigures&)>& progress_;
  KillFigures figures_;
  std::mutex mutex_;
  std::mt19937_64 generator_{std::random_device()()};
  /// By user and language.
  std::map<std::string, int> asked_;
  std::int64_t streak_ = 100;
  /// The last streak whose process has ended well.
  std::int64_t acknowledged_ = 0;
  DrillPhone phone_;
  DrillServer server_{[this](int, const HttpRequest& request) { return answer(request); }};
};

}  // namespace

KillFigures playKills(int kills, const std::function<void(const KillFigures&)>& progress) {
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  return Campaign(progress).run(kills);
}

}  // namespace host
