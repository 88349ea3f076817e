#include "host/home/home_loop.h"

#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <thread>
#include <utility>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include "host/home/home_actions.h"
#include "host/home/home_state.h"
#include "host/phone/command_error.h"
#include "host/phone/host_app.h"
#include "platform/foundation/defaults/suite_file.h"
#include "platform/foundation/defaults/user_defaults.h"

namespace host {

using namespace platform;

namespace {

namespace asio = boost::asio;
using asio::posix::stream_descriptor;
using Error = boost::system::error_code;

/// How long after a change of the suite its folder is looked for again.
constexpr auto kFolderDelay = std::chrono::seconds(2);

/// How long after the last change the phone gives back what it draws with.
constexpr auto kQuiet = std::chrono::seconds(10);

/// Reads everything that is there to read, and forgets it.
void drain(int descriptor) {
  std::array<char, 4096> bytes;
  while (::read(descriptor, bytes.data(), bytes.size()) > 0) {
  }
}

std::map<std::string, ServedPicture> picturesOf(const HomePhone& phone) {
  std::map<std::string, ServedPicture> pictures;
  for (const PlacedWidget& widget : phone.widgets()) {
    if (!widget.png.empty()) {
      pictures[widget.item.kind] = {picturePath(widget),
                                    std::make_shared<const std::string>(widget.png)};
    }
  }
  return pictures;
}

}  // namespace

struct HomeLoop::Impl {
  Impl(HomePhone& served, std::function<void(HomeView)> taken)
      : phone(served), show(std::move(taken)) {
    suiteWatch.assign(newWatcher());
    zoneWatch.assign(newWatcher());
    if (!watchSuite()) {
      throw CommandError(suiteFolder().string() +
                         " can't be watched: " + std::system_category().message(errno));
    }
    // Without it, the page has to be told of another zone of the machine.
    watch(zoneWatch, "/etc", IN_MOVED_TO | IN_CREATE | IN_DELETE);
    clock.assign(::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC));
    downloads.assign(::dup(phone.downloadsDescriptor()));
  }

  static int newWatcher() { return ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC); }

  static bool watch(stream_descriptor& watcher,
                    const std::filesystem::path& folder,
                    std::uint32_t events) {
    return ::inotify_add_watch(watcher.native_handle(), folder.c_str(), events) >= 0;
  }

  static std::filesystem::path suiteFolder() {
    return SuiteFile(SuiteFile::pathOf(sharedContainer(), glancery::kAppGroupIdentifier))
        .target()
        .parent_path();
  }

  /// Changes nothing where the folder is watched already.
  bool watchSuite() {
    std::error_code ignored;
    std::filesystem::create_directories(suiteFolder(), ignored);
    // A writer replaces the file.
    return watch(suiteWatch, suiteFolder(), IN_MOVED_TO | IN_CREATE | IN_DELETE | IN_CLOSE_WRITE);
  }

  /// Has `seen` run on every wake-up by the descriptor.
  template <class Seen>
  void follow(stream_descriptor& descriptor, Seen seen) {
    descriptor.async_wait(stream_descriptor::wait_read, [this, &descriptor, seen](Error error) {
      if (!error) {
        seen();
        follow(descriptor, seen);
        settle();
      }
    });
  }

  void run() {
    follow(clock, [this] { drain(clock.native_handle()); });
    follow(suiteWatch, [this] {
      drain(suiteWatch.native_handle());
      phone.suiteChanged();
      lookAgain();
    });
    follow(zoneWatch, [this] {
      drain(zoneWatch.native_handle());
      phone.systemZoneChanged();
    });
    follow(downloads, [this] { phone.stepDownloads(); });
    settle();
    context.run();
  }

  /// The folder may have been removed, and with it the watch.
  void lookAgain() {
    folderDelay.expires_after(kFolderDelay);
    folderDelay.async_wait([this](Error error) {
      if (error) {
        return;
      }
      if (!watchSuite()) {
        lookAgain();
      }
      phone.suiteChanged();
      settle();
    });
  }

  /// After whatever happened: does what is due, shows what became of it, and sleeps.
  void settle() {
    phone.advance();
    publish();
    sleep();
  }

  void publish() {
    HomeView view = {.state = stateJSON(phone),
                     .clock = phone.settings().device.clock,
                     .pictures = {},
                     .log = phone.takeLog()};
    if (view.state != shown || !view.log.empty()) {
      shown = view.state;
      view.pictures = picturesOf(phone);
      show(std::move(view));
      quiet.expires_after(kQuiet);
      quiet.async_wait([this](Error error) {
        if (!error) {
          phone.rest();
        }
      });
    }
  }

  void sleep() {
    const auto next = phone.next();
    if (next && *next <= Date::now()) {
      asio::post(context, [this] { settle(); });
    }
    setClockTo(next);
    if (const auto retry = phone.nextRetry()) {
      pause.expires_at(*retry);
      pause.async_wait([this](Error error) {
        if (!error) {
          settle();
        }
      });
    } else {
      pause.cancel();
    }
    followExtension();
  }

  /// The timer stands on the machine's clock and notices when that is set.
  void setClockTo(std::optional<Date> next) {
    const Clock& device = phone.settings().device.clock;
    itimerspec when = {};
    // Without anything to come, far away: the change of the clock is waited for all the same.
    constexpr double kFarAway = 4e9;
    const double at = next ? next->timeIntervalSince1970() -
                                 (device.kind == Clock::Kind::shifted ? device.shift : 0)
                           : kFarAway;
    if (phone.isRunning()) {
      const double safe = std::clamp(at, 1.0, kFarAway);
      when.it_value = {.tv_sec = static_cast<time_t>(safe),
                       .tv_nsec = static_cast<long>((safe - std::floor(safe)) * 1e9)};
    }
    ::timerfd_settime(
        clock.native_handle(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &when, nullptr);
  }

  void followExtension() {
    if (launches == phone.host().launches()) {
      return;
    }
    launches = phone.host().launches();
    extension.close();
    if (const int end = phone.extensionDescriptor(); end >= 0) {
      // Without a descriptor to spare, the end is noticed at the next request.
      Error none;
      extension.assign(::dup(end), none);
      if (none) {
        return;
      }
      extension.async_wait(stream_descriptor::wait_read, [this](Error error) {
        if (!error) {
          phone.extensionLeft();
          settle();
        }
      });
    }
  }

  HomePhone& phone;
  std::function<void(HomeView)> show;
  asio::io_context context{1};
  asio::executor_work_guard<asio::io_context::executor_type> work{context.get_executor()};
  stream_descriptor suiteWatch{context};
  stream_descriptor zoneWatch{context};
  stream_descriptor clock{context};
  stream_descriptor downloads{context};
  stream_descriptor extension{context};
  asio::steady_timer pause{context};
  asio::steady_timer folderDelay{context};
  asio::steady_timer quiet{context};
  int launches = 0;
  std::string shown;
  std::jthread thread;
};

HomeLoop::HomeLoop(HomePhone& phone, std::function<void(HomeView)> show)
    : impl_(std::make_unique<Impl>(phone, std::move(show))) {
}

HomeLoop::~HomeLoop() {
  impl_->context.stop();
}

void HomeLoop::start() {
  impl_->publish();
  impl_->thread = std::jthread([impl = impl_.get()] { impl->run(); });
}

void HomeLoop::act(std::string action, std::function<void(HomePage::Outcome)> done) {
  asio::post(impl_->context,
             [impl = impl_.get(), action = std::move(action), done = std::move(done)] {
               HomePage::Outcome outcome;
               try {
                 outcome.json = performAction(impl->phone, action);
               } catch (const CommandError& error) {
                 outcome = {error.status() == kWrongUsage ? 400 : 409, errorJSON(error.what())};
               }
               impl->settle();
               done(std::move(outcome));
             });
}

}  // namespace host
