// An extension with one widget that misbehaves as the signed-in user's name says. What a sandbox
// has to prevent changes the widget's text if it succeeds.

#include <dirent.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <tuple>

#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/process/log.h"
#include "platform/support/require.h"
#include "platform/swiftui/view.h"
#include "platform/widgetkit/widget_bundle.h"
#include "store/shared_store.h"

using namespace platform;

namespace {

struct FaultyEntry {
  Date date = Date::now();
  std::string text = "good";
};

Mirror mirror(const FaultyEntry& entry) {
  return {{"date", entry.date}, {"text", entry.text}};
}

/// Returns what could be done.
std::string misbehave(const std::string& how) {
  if (how == "memory") {
    static const std::string taken(std::size_t{40} << 20, 'x');
    std::this_thread::sleep_for(std::chrono::seconds(1));
    return "took 40 MiB";
  }
  while (how == "write") {
    log(std::string(4000, 'x'));
  }
  if (how == "connect") {
    return ::socket(AF_INET, SOCK_STREAM, 0) < 0 ? "no socket" : "opened a socket";
  }
  if (how == "home") {
    const char* const home = std::getenv("HOME");
    if (!::opendir(home ? home : "/root")) {
      fatalError(std::string("the home folder: ") + std::strerror(errno));
    }
    return "listed the home folder";
  }
  if (how == "program") {
    char name[] = "true";
    char* arguments[] = {name, nullptr};
    return ::execv("/bin/true", arguments) != 0 ? "no program" : "";
  }
  return "good";
}

struct FaultyProvider {
  using Entry = FaultyEntry;

  FaultyEntry placeholder(const TimelineProviderContext&) const { return {}; }
  void getSnapshot(const TimelineProviderContext&,
                   const Completion<FaultyEntry>& completion) const {
    completion({});
  }
  void getTimeline(const TimelineProviderContext&,
                   const Completion<Timeline<FaultyEntry>>& completion) const {
    auto suite = require(NSUserDefaults::initWithSuiteName(glancery::kAppGroupIdentifier));
    if (suite.integerForKey("faults") > 0) {
      fatalError("another timeline");
    }
    const std::string user =
        suite.dictionaryRepresentation().string(glancery::kSharedUidKey).value_or("");
    if (user == "stale") {  // Promises another timeline, and fails at it.
      suite.setInteger(1, "faults");
      completion({{{}}, TimelineReloadPolicy::after(Date::now().addingTimeInterval(3600))});
      return;
    }
    completion({{{.text = misbehave(user)}}, TimelineReloadPolicy::never});
  }
};

struct FaultyWidget {
  WidgetConfiguration body() const {
    return StaticConfiguration(
               "Faulty",
               FaultyProvider(),
               [](const FaultyEntry& entry) -> View { return Text::verbatim(entry.text); })
        .configurationDisplayName("Faulty")
        .description("Misbehaves on purpose")
        .supportedFamilies({WidgetFamily::systemSmall});
  }
};

struct FaultyBundle {
  std::tuple<FaultyWidget> body() const { return {}; }
};

}  // namespace

int main() {
  runWidgetBundle(widgetBundleConformance<FaultyBundle>());
  return 0;
}
