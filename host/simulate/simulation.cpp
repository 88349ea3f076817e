#include "host/simulate/simulation.h"

#include <absl/strings/str_replace.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "host/api/affirmation_api.h"
#include "host/home/clock_targets.h"
#include "host/home/home_phone.h"
#include "host/http/reserved_port.h"
#include "host/phone/host_app.h"
#include "host/schedule/widget_schedule.h"
#include "platform/foundation/time/calendar.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;

namespace {

constexpr double kDay = 86400;
/// What the extension logs when an affirmation has arrived.
constexpr std::string_view kSaved = "Saved serialized affirmation data";

/// "[StreakProvider]", or what the line begins with.
std::string_view tagOf(const LogLine& line) {
  const std::string_view text = line.text;
  return line.fromExtension ? text.substr(0, text.find_first_of("]:")) : "";
}

/// "2026-03-05T20:15:00" by the phone's clock.
std::string wall(Date date) {
  const double offset = TimeZone::current().secondsFromGMT(date);
  return date.addingTimeInterval(offset).iso8601().substr(0, 19);
}

/// The development API with a fault of the script: "error", "cut", "nonsense", or none.
std::unique_ptr<HttpThread> serveApi(std::uint16_t port, const std::string& fault) {
  auto server =
      HttpServer::listen(port, [fault](const HttpRequest& request, const HttpServer::Reply& reply) {
        HttpAnswer answer = answerOf(request, std::nullopt, Date::now()).http;
        answer.cut = fault == "cut";
        if (fault == "nonsense") {
          answer.body = "nonsense";
        }
        reply(fault == "error" ? refusal(500, "the simulated server fails") : std::move(answer));
      });
  if (!server) {
    throw HostError(server.error());
  }
  return std::make_unique<HttpThread>(*std::move(server));
}

class Run {
 public:
  explicit Run(const SimulationSettings& settings)
      : settings_(settings), begin_(settings.phone.device.clock.now()) {
    serve();
    HostSettings phone = settings.phone;
    phone.simulated = true;
    phone.infoOverrides.set("ApiBaseUrl", "http://127.0.0.1:" + std::to_string(port_.number()));
    phone.infoOverrides.set("ApiKey", "simulation");
    makeCurrent(phone);
    firstDay_ = dayNumber();
    phone_.emplace(std::move(phone), RefreshBudget());
  }

  Simulation live() {
    // Later than the last day can end, also after travel.
    const Date latest = begin_.addingTimeInterval((settings_.days + 2) * kDay);
    startDay();
    phone_->start();
    follow();
    for (;;) {
      const Date now = Date::now();
      const Date next = std::min({latest, nextDue(), nextScripted()});
      // What stays due, such as a failed request, is looked at once a second.
      phone_->setClock(next > now ? next : now.addingTimeInterval(1), false);
      if (dayNumber() - firstDay_ >= settings_.days) {
        break;
      }
      follow();
      perform();
      follow();
      ++result_.moments;
    }
    endDay();
    return std::move(result_);
  }

 private:
  /// Days since 1970 by the phone's calendar.
  static int dayNumber() {
    const Date start = Calendar::current().startOfDay(Date::now());
    const double local = start.timeIntervalSince1970() + TimeZone::current().secondsFromGMT(start);
    return static_cast<int>(std::floor(local / kDay));
  }

  Date nextDue() {
    Date next = std::min(offlineUntil_, faultUntil_);
    for (const auto& [name, instant] : clockTargets(*phone_)) {
      next = std::min(next, instant.value_or(next));
    }
    return std::min(next, phone_->downloads().nextAttempt().value_or(next));
  }

  /// The time of the next event of this day, or the distant future.
  Date nextScripted() const {
    const int today = dayNumber() - firstDay_;
    Date next = Date::distantFuture();
    for (std::size_t index = 0; index < settings_.script.size(); ++index) {
      if (settings_.script[index].happensOn(today) && !done_.contains({index, today})) {
        next = std::min(next, timeOf(settings_.script[index]));
      }
    }
    return next;
  }
  static Date timeOf(const ScriptEvent& event) {
    const auto hour = Calendar::current().dateBySettingHour(event.minute / 60, Date::now());
    return hour.value().addingTimeInterval(event.minute % 60 * 60.0);
  }

  /// Does what the script has for now, and ends faults that are over.
  void perform() {
    for (Date* const until : {&offlineUntil_, &faultUntil_}) {
      if (*until <= Date::now()) {
        *until = Date::distantFuture();
        serve();
      }
    }
    const int today = dayNumber() - firstDay_;
    for (std::size_t index = 0; index < settings_.script.size(); ++index) {
      const ScriptEvent& event = settings_.script[index];
      if (event.happensOn(today) && timeOf(event) <= Date::now() &&
          done_.insert({index, today}).second) {
        perform(event);
        phone_->suiteChanged();
      }
    }
  }

  void perform(const ScriptEvent& event) {
    using enum ScriptEvent::Kind;
    switch (event.kind) {
      case signIn:
        host::signIn(event.value);
        break;
      case signOut:
        host::signOut();
        signedInAllDay_ = false;
        break;
      case streak: {
        const int day = dayNumber();
        streak_ = day == lastActive_ + 1 ? streak_ + 1 : day == lastActive_ ? streak_ : 1;
        lastActive_ = day;
        recordStreak(streak_, Date::now());
        break;
      }
      case mood:
        recordNamedMood(event.value, {});
        break;
      case travel: {
        HostSettings changed = phone_->settings();
        change(changed, "timeZone", event.value, "timeZone");
        phone_->setDevice(std::move(changed));
        break;
      }
      case offline:
        fail(offlineUntil_, event);
        break;
      case server:
        fault_ = event.value;
        fail(faultUntil_, event);
        break;
    }
  }
  void fail(Date& until, const ScriptEvent& event) {
    const Date end = Date::now().addingTimeInterval(event.hours * 3600);
    until = until == Date::distantFuture() ? end : std::max(until, end);
    healthy_ = false;
    serve();
  }
  bool isOffline() const { return offlineUntil_ != Date::distantFuture(); }
  bool isFaulty() const { return faultUntil_ != Date::distantFuture(); }
  void serve() {
    server_.reset();
    if (!isOffline()) {
      server_ = serveApi(port_.number(), isFaulty() ? fault_ : "");
    }
  }

  /// Lets the phone do what is due, and writes down what happened.
  void follow() {
    if (result_.days.back().date != wall(Date::now()).substr(0, 10)) {
      endDay();
      startDay();
    }
    phone_->advance();
    observe();
    try {
      phone_->downloads().complete();
    } catch (const HostError& error) {
      violate("downloads", error.what());
    }
    observe(true);
    phone_->stepDownloads();
    phone_->advance();
    observe();
  }

  void startDay() {
    const Date now = Date::now();
    settings_.progress(result_.days.size());
    result_.days.push_back(
        {.date = wall(now).substr(0, 10), .timeZone = TimeZone::current().identifier()});
    dayBegan_ = now;
    healthy_ = !isOffline() && !isFaulty();
    signedInAllDay_ = phone_ && phone_->hostApp().find(glancery::kSharedUidKey);
    said_.clear();
  }

  void endDay() {
    // Travelling east, and a simulation that begins within a day, make shorter ones.
    const bool whole =
        Date::now().timeIntervalSince1970() - dayBegan_.timeIntervalSince1970() >= 23 * 3600;
    if (!healthy_ || !whole) {
      return;
    }
    if (phone_->downloads().pending() > 0) {
      violate("download", "a download is still pending at the end of a day with a network");
    }
    const auto& widgets = phone_->widgets();
    const bool fetches = std::ranges::any_of(widgets, [](const PlacedWidget& widget) {
      return widget.item.kind == glancery::kAffirmationKind;
    });
    if (fetches && signedInAllDay_ && result_.days.back().downloads == 0) {
      violate("download", "no affirmation arrived on a day with a user and a network");
    }
  }

  /// During a delivery the extension's queues run side by side. Those lines are ordered by their
  /// tags, so that two runs are equal.
  void observe(bool delivery = false) {
    SimulatedDay& day = result_.days.back();
    std::vector<LogLine> lines = phone_->takeLog();
    if (delivery) {
      std::ranges::stable_sort(lines, {}, tagOf);
    }
    for (const LogLine& line : lines) {
      std::string text = line.text;
      absl::StrReplaceAll({{phone_->settings().container.string(), "CONTAINER"},
                           {"127.0.0.1:" + std::to_string(port_.number()), "SERVER"}},
                          &text);
      day.downloads += line.fromExtension && text.find(kSaved) != std::string::npos;
      day.log.push_back(wall(line.at).substr(11) + (line.fromExtension ? " " : " host: ") + text);
    }
    const RefreshBudget& budget = phone_->scheduler().budget();
    day.widgets.resize(phone_->widgets().size());
    for (const PhoneEvent& event : phone_->takeEvents()) {
      if (!event.widget) {
        continue;
      }
      WidgetDay& widget = day.widgets[*event.widget].second;
      widget.shown += event.shown.has_value();
      if (event.reloaded) {
        ++widget.reloads[nameOf(event.reloaded->cause)];
        count(*event.widget, *event.reloaded, event.at, budget);
      }
    }
    for (std::size_t id = 0; id < day.widgets.size(); ++id) {
      const PlacedWidget& placed = phone_->widgets()[id];
      const WidgetSchedule& schedule = phone_->scheduler().at(id);
      auto& [kind, widget] = day.widgets[id];
      const int left = schedule.budgetLeft(Date::now(), budget);
      widget.budgetLeft = kind.empty() ? left : std::min(widget.budgetLeft, left);
      kind = placed.item.kind;
      check(placed, schedule);
    }
  }

  void check(const PlacedWidget& placed, const WidgetSchedule& schedule) {
    const std::string& kind = placed.item.kind;
    if (!placed.entry || placed.list.items.empty() || !placed.picture.png) {
      violate(kind + " blank", kind + " shows nothing: " + placed.problem.value_or("no entry"));
      return;
    }
    const auto& [entries, policy] = placed.stored.timeline;
    const Date today = Calendar::current().startOfDay(Date::now());
    const Date shown = entries.at(*placed.entry).date;
    if (policy.date && shown < today && schedule.record().fetched.value_or(shown) < today) {
      violate(kind + " stale", kind + " shows its entry of " + wall(shown));
    }
  }

  void count(std::size_t id, const ReloadRequest& request, Date at, const RefreshBudget& budget) {
    if (!isCounted(request.cause)) {
      return;
    }
    std::deque<Date>& times = counted_[id];
    times.push_back(at);
    while (times.front() <= at.addingTimeInterval(-kDay)) {
      times.pop_front();
    }
    if (times.size() > static_cast<std::size_t>(budget.perDay)) {
      violate(std::to_string(id) + " budget", "more reloads in 24 hours than the budget allows");
    }
  }

  /// Reports each kind of violation at most once a day.
  void violate(const std::string& what, const std::string& says) {
    if (said_.insert(what).second) {
      result_.violations.push_back({wall(Date::now()), says});
    }
  }

  const SimulationSettings& settings_;
  const Date begin_;
  int firstDay_ = 0;
  const ReservedPort port_;
  std::unique_ptr<HttpThread> server_;
  std::optional<HomePhone> phone_;
  Simulation result_;

  /// The events that have been performed, with their days.
  std::set<std::pair<std::size_t, int>> done_;
  std::int64_t streak_ = 0;
  int lastActive_ = 0;
  /// When the network is back, and when the server has no fault any more; the distant future if
  /// nothing is wrong.
  Date offlineUntil_ = Date::distantFuture();
  Date faultUntil_ = Date::distantFuture();
  std::string fault_;

  Date dayBegan_ = Date::distantPast();
  /// Whether network and server work on this day, and whether a user is signed in on all of it.
  bool healthy_ = true;
  bool signedInAllDay_ = false;
  std::set<std::string> said_;
  std::map<std::size_t, std::deque<Date>> counted_;
};

}  // namespace

Simulation simulate(const SimulationSettings& settings) {
  return Run(settings).live();
}

}  // namespace host
