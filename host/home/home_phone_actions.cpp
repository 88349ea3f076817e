// The user's actions. home_phone.cpp has what happens without them.

#include <algorithm>
#include <utility>

#include "host/home/home_phone.h"
#include "host/home/placed_counts.h"
#include "host/home/timeline_inputs.h"

namespace host {

using namespace platform;
using std::chrono::steady_clock;

namespace {

constexpr std::size_t kTapsKept = 50;

}  // namespace

void HomePhone::setDevice(HostSettings changed) {
  const std::string before = deviceText(settings());
  const std::string locale = settings().device.locale;
  attempt([&] { host_.configure(std::move(changed)); });
  if (settings().device.locale != locale) {
    attempt([this] {
      host_.ensureExtension();
      host_.tell(LocaleChanged());
    });
    collectLog();
    describeAgain();
  }
  const bool concernsTimelines = deviceText(settings()) != before;
  for (Id id = 0; id < widgets_.size(); ++id) {
    if (concernsTimelines) {
      scheduler_.request(id, {ReloadCause::device, "the device's settings changed"});
    }
    widgets_[id].outdated = true;
    draw(id);
  }
}

void HomePhone::setClock(Clock clock) {
  HostSettings changed = settings();
  changed.device.clock = clock;
  // An extension that ends here is configured when it is started again.
  attempt([&] { host_.configure(std::move(changed)); });
}

void HomePhone::setClock(Date instant, bool runs) {
  const double shift = instant.timeIntervalSince1970() - Clock().now().timeIntervalSince1970();
  setClock(runs ? Clock::shiftedBy(shift) : Clock::frozenAt(instant));
}

void HomePhone::setBudgetEnforced(bool enforced) {
  RefreshBudget budget = scheduler_.budget();
  budget.enforced = enforced;
  scheduler_.setBudget(budget);
}

void HomePhone::reload(const std::string& kind) {
  requestNow(named(kind), {ReloadCause::hostApp, "requested on the page"});
}

void HomePhone::requestNow(Id id, const ReloadRequest& request) {
  scheduler_.request(id, request);
  // Ends the delay after a failure: its cause may be gone.
  if (auto& retryAt = widgets_[id].retryAt) {
    retryAt = steady_clock::now();
  }
}

void HomePhone::tap(const std::string& kind, const std::optional<std::string>& link) {
  const DisplayList& list = widgets_[named(kind)].list;
  if (link != list.widgetURL &&
      (!link || std::ranges::find(list.items, link, &DisplayItem::link) == list.items.end())) {
    throw InvalidValue("link", link.value_or(""), "the widget has no such link");
  }
  taps_.push_front({Date::now(), kind, link});
  if (taps_.size() > kTapsKept) {
    taps_.pop_back();
  }
  note(kind + ": tapped, " + link.value_or("no link"));
}

void HomePhone::setCount(const std::string& kind, std::int64_t count) {
  if (count < 0 || count > kMostPlaced) {
    throw InvalidValue("count", std::to_string(count), "give 0 to " + std::to_string(kMostPlaced));
  }
  const Id id = named(kind);
  PlacedWidget& widget = widgets_[id];
  const std::int64_t before = std::exchange(widget.count, count);
  if ((before == 0) != (count == 0)) {
    widget = {.item = widget.item, .family = widget.family, .count = widget.count};
    scheduler_.reset(id, count > 0);
    std::error_code ignored;
    std::filesystem::remove(timelineFile(settings().container, kind), ignored);
  }
  Dictionary counts;
  for (const PlacedWidget& each : widgets_) {
    counts.set(each.item.kind, each.count);
  }
  storePlacedCounts(settings().container, counts);
  note(kind + (count < before ? ": removed" : ": placed"));
}

std::string HomePhone::drawPicture(const std::string& kind, const std::string& what) {
  const PlacedWidget& widget = widgets_[named(kind)];
  if (what == "placeholder" || what == "snapshot") {
    using enum ProvideRequest::What;
    host_.ensureExtension();
    const auto answer = host_.provide(what == "snapshot" ? snapshot : placeholder, kind);
    collectLog();
    return pngOf(host_.display(answer.entries.at(0), widget.family));
  }
  for (std::size_t index = 0; const ArchivedEntry& entry : widget.stored.timeline.entries) {
    if (std::to_string(index++) == what) {
      return pngOf(host_.display(entry, widget.family));
    }
  }
  throw InvalidValue("picture", what, "give placeholder, snapshot or the number of an entry");
}

}  // namespace host
