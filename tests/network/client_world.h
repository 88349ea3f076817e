#pragma once

#include <string>
#include <vector>

#include "network/network_manager.h"
#include "platform/dispatch/dispatch_queue.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/network/url_session.h"
#include "platform/widgetkit/widget_center.h"
#include "tests/world.h"

// The client of this process, with a host that records its requests.

namespace world {

// The names shared with the host app are repeated here, so that a test fails if one changes.
inline constexpr const char* kAppGroup = "group.com.quiloapp.sharedData";
inline constexpr const char* kSession = "com.quiloapp.fetchAffirmationTask";

/// The client's requests to its host since the last `ClientWorld` was created.
struct Asked {
  std::vector<platform::NSURLRequest> downloads = {};
  std::vector<std::string> reloads = {};
  /// The host's answer to the next download.
  std::optional<platform::NSError> refusal = {};
};

inline Asked& asked() {
  static Asked& all = *new Asked();
  return all;
}

/// Runs the blocks of the main queue. The descriptor is always readable.
inline void runMainQueue() {
  static const int always = [] {
    std::array<int, 2> ends = {};
    EXPECT_EQ(::pipe(ends.data()), 0);
    EXPECT_EQ(::write(ends[1], "x", 1), 1);
    return ends[0];
  }();
  platform::runMainQueueUntilReadable(always);
}

/// The client's log of its creation, at its first use in this process.
inline const std::vector<std::string>& logOfFirstUse() {
  static const auto lines = [] {
    const CapturedLog log;
    glancery::NetworkManager::shared();
    return log.lines();
  }();
  return lines;
}

/// A container, a signed-in user, a configured bundle, and the client without pending work.
class ClientWorld {
 public:
  explicit ClientWorld(platform::Dictionary info = {{"ApiBaseUrl", "https://api.example.com"},
                                                    {"ApiKey", "k-1"}}) {
    using namespace platform;
    writeWhole(bundle_.path() / "Info.plist", "<plist version=\"1.0\"><dict/></plist>");
    NSBundle::setMainBundle(NSBundle(bundle_.path(), std::move(info)));
    setBackgroundTransferStarter([](const std::string& session,
                                    const NSURLRequest& request) -> std::expected<void, NSError> {
      EXPECT_EQ(session, kSession);
      asked().downloads.push_back(request);
      if (asked().refusal) {
        return std::unexpected(*asked().refusal);
      }
      return {};
    });
    WidgetCenter::shared().setHost(
        [](const std::string& kind) { asked().reloads.push_back(kind); });
    logOfFirstUse();
    {
      const CapturedLog silent;
      glancery::NetworkManager::shared().backgroundCompletionHandler = nullptr;
      runMainQueue();
    }
    asked() = {};
    suite().setObject("u-1", "sharedUid");
    phoneAt(instant("2024-03-05T10:00Z"), "America/Mexico_City");
  }

  static platform::NSUserDefaults suite() {
    return platform::require(platform::NSUserDefaults::initWithSuiteName(kAppGroup));
  }
  std::filesystem::path folder() const { return container_.path(); }

  /// Makes the suite one that can't be opened.
  void breakSuite() const {
    const auto file = folder() / "Library" / "Preferences" / (std::string(kAppGroup) + ".plist");
    std::filesystem::remove_all(file);
    std::filesystem::create_directories(file);
  }

 private:
  Container container_;
  Folder bundle_;
};

}  // namespace world
