#include "host/home/home_loop.h"

#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>
#include <set>
#include <thread>
#include <utility>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include "host/home/home_actions.h"
#include "host/home/home_state.h"
#include "host/http/json_members.h"
#include "platform/foundation/defaults/suite_file.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/support/timespec_of.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;

namespace {

namespace asio = boost::asio;
using asio::posix::stream_descriptor;
using Error = boost::system::error_code;

/// The delay after a change of the suite before its folder, which may be gone, is watched again.
constexpr auto kFolderDelay = std::chrono::seconds(2);

/// The delay after a change of the bundle: files are saved in several steps.
constexpr auto kBundleDelay = std::chrono::milliseconds(150);

/// The delay after the last change before the phone frees memory.
constexpr auto kIdleDelay = std::chrono::seconds(10);

/// Reads and discards everything that is there.
void drain(int descriptor) {
  std::array<char, 4096> bytes;
  while (::read(descriptor, bytes.data(), bytes.size()) > 0) {
  }
}

}  // namespace

struct HomeLoop::Impl {
  Impl(HomePhone& served, std::function<void(HomeView)> receiver)
      : phone(served), show(std::move(receiver)) {}

  void open() {
    files.assign(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!watchSuite()) {
      throw HostError(suiteFolder().string() +
                      " can't be watched: " + std::system_category().message(errno));
    }
    // The suite may have changed before it was watched.
    phone.suiteChanged();
    // The machine's time zone. If this fails, its changes go unnoticed.
    watch(files, "/etc");
    bundle.assign(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    clock.assign(::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC));
    downloads.assign(::dup(phone.downloadsDescriptor()));
  }

  /// Has no effect on a folder that is watched already.
  static bool watch(stream_descriptor& changes, const std::filesystem::path& folder) {
    // A writer replaces the file.
    constexpr std::uint32_t kEvents = IN_MOVED_TO | IN_CREATE | IN_DELETE | IN_CLOSE_WRITE;
    return ::inotify_add_watch(changes.native_handle(), folder.c_str(), kEvents) >= 0;
  }

  /// Watches every folder of the bundle, new ones too.
  void watchBundle() {
    const std::filesystem::path& root = phone.settings().extension;
    watch(bundle, root);
    std::error_code gone;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root, gone)) {
      if (entry.is_directory(gone)) {
        watch(bundle, entry.path());
      }
    }
  }

  /// Reads the names of the files that have changed.
  void noteBundleChanges() {
    alignas(inotify_event) std::array<char, 4096> bytes;
    for (ssize_t count; (count = ::read(bundle.native_handle(), bytes.data(), bytes.size())) > 0;) {
      for (ssize_t at = 0; at < count;) {
        const auto* event = reinterpret_cast<const inotify_event*>(bytes.data() + at);
        if (event->len > 0) {
          changedFiles.insert(event->name);
        }
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
      }
    }
  }

  static std::filesystem::path suiteFolder() {
    return SuiteFile(SuiteFile::pathOf(sharedContainer(), glancery::kAppGroupIdentifier))
        .target()
        .parent_path();
  }

  bool watchSuite() {
    std::error_code ignored;
    std::filesystem::create_directories(suiteFolder(), ignored);
    return watch(files, suiteFolder());
  }

  /// Calls `handle` whenever the descriptor is readable.
  template <class Handle>
  void follow(stream_descriptor& descriptor, Handle handle) {
    descriptor.async_wait(stream_descriptor::wait_read, [this, &descriptor, handle](Error error) {
      if (!error) {
        handle();
        follow(descriptor, handle);
        settle();
      }
    });
  }

  template <class Handle>
  void after(asio::steady_timer& timer, Handle handle) {
    timer.async_wait([handle](Error error) {
      if (!error) {
        handle();
      }
    });
  }

  void run() {
    watchBundle();  // Not before the first pictures are published: it has many folders.
    follow(clock, [this] { drain(clock.native_handle()); });
    follow(files, [this] {
      drain(files.native_handle());
      phone.suiteChanged();
      phone.systemZoneChanged();
      lookAgain();
    });
    follow(bundle, [this] {
      noteBundleChanges();
      bundleDelay.expires_after(kBundleDelay);
      after(bundleDelay, [this] {
        watchBundle();
        phone.bundleChanged(listOf(std::exchange(changedFiles, {})));
        settle();
      });
    });
    follow(downloads, [this] { phone.stepDownloads(); });
    settle();
    context.run();
  }

  /// The folder may have been removed, and the watch with it.
  void lookAgain() {
    folderDelay.expires_after(kFolderDelay);
    after(folderDelay, [this] {
      if (!watchSuite()) {
        lookAgain();
      }
      phone.suiteChanged();
      settle();
    });
  }

  /// After every event: does what is due, publishes the state, and waits for the next event.
  void settle() {
    phone.advance();
    publish();
    sleep();
  }

  void publish() {
    HomeView view = {.state = stateJSON(phone),
                     .clock = phone.settings().device.clock,
                     .pictures = {},
                     .log = phone.takeLog(),
                     .events = takeEventsJSON(phone)};
    if (view.state != shown || !view.log.empty() || !view.events.empty()) {
      shown = view.state;
      for (const PlacedWidget& widget : phone.widgets()) {
        if (widget.picture.png) {
          view.pictures.push_back(widget.picture);
        }
      }
      show(std::move(view));
      idle.expires_after(kIdleDelay);
      after(idle, [this] { phone.rest(); });
    }
  }

  void sleep() {
    const auto next = phone.next();
    if (next && *next <= Date::now()) {
      asio::post(context, [this] { settle(); });
    }
    setClockTo(next);
    if (const auto retry = phone.nextRetry()) {
      retryDelay.expires_at(*retry);
      after(retryDelay, [this] { settle(); });
    } else {
      retryDelay.cancel();
    }
    followExtension();
  }

  /// The timer uses the machine's clock, and also expires when that is set.
  void setClockTo(std::optional<Date> next) {
    const Clock& device = phone.settings().device.clock;
    itimerspec when = {};
    // Far away if nothing is due, to notice changes of the clock all the same.
    constexpr double kFarAway = 4e9;
    const double at = next ? next->timeIntervalSince1970() -
                                 (device.kind == Clock::Kind::shifted ? device.shift : 0)
                           : kFarAway;
    if (phone.clockRuns()) {
      when.it_value = timespecOf(std::clamp(at, 1.0, kFarAway));
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
      // If no descriptor is free, the end is noticed at the next request.
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
  /// Watches the folders of the suite and of the machine's settings.
  stream_descriptor files{context};
  stream_descriptor clock{context};
  stream_descriptor downloads{context};
  stream_descriptor extension{context};
  asio::steady_timer retryDelay{context};
  asio::steady_timer folderDelay{context};
  stream_descriptor bundle{context};
  asio::steady_timer bundleDelay{context};
  std::set<std::string> changedFiles;
  asio::steady_timer idle{context};
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
  impl_->open();
  impl_->publish();
  impl_->thread = std::jthread([impl = impl_.get()] { impl->run(); });
}

void HomeLoop::act(std::string action, HttpServer::Reply reply) {
  asio::post(impl_->context,
             [impl = impl_.get(), action = std::move(action), reply = std::move(reply)] {
               HttpAnswer answer;
               try {
                 answer = performAction(impl->phone, action);
               } catch (const BadRequest& error) {
                 answer = refusal(400, error.what());
               } catch (const InvalidValue& error) {
                 answer = refusal(400, error.what());
               } catch (const HostError& error) {
                 answer = refusal(409, error.what());
               }
               impl->settle();
               reply(std::move(answer));
             });
}

}  // namespace host
