#include <csignal>
#include <iostream>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/home/home_loop.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

/// Writes the widget's picture whenever it is another one, and prints the file's name then.
class PictureFile {
 public:
  PictureFile(std::string kind, std::string file)
      : kind_(std::move(kind)), file_(std::move(file)) {}

  void show(const HomeView& view) {
    for (const LogLine& line : view.log) {
      if (!line.fromExtension) {
        complain(line.text);
      }
    }
    for (const ServedPicture& picture : view.pictures) {
      if (picture.path.starts_with("/widgets/" + kind_ + ".png") && picture.path != path_) {
        if (const auto error = replaceFile(file_, *picture.png)) {
          complain(file_ + " can't be written: " + error.message());
        } else {
          path_ = picture.path;
          std::cout << file_ << std::endl;
        }
      }
    }
  }

 private:
  const std::string kind_;
  const std::string file_;
  std::string path_;
};

void watch(const std::string& kind, const std::string& file) {
  // Blocked before other threads start, which inherit it.
  sigset_t ends;
  ::sigemptyset(&ends);
  ::sigaddset(&ends, SIGINT);
  ::sigaddset(&ends, SIGTERM);
  ::pthread_sigmask(SIG_BLOCK, &ends, nullptr);
  const FileDescriptor held = lockTimelines(phone());
  std::stop_source leaving;
  HomePhone home(phone(), RefreshBudget(), leaving.get_token());
  PictureFile picture(kind, file);
  home.start();
  home.requireWidget(kind);
  HomeLoop loop(home, [&](const HomeView& view) { picture.show(view); });
  loop.start();
  int signal = 0;
  ::sigwait(&ends, &signal);
  leaving.request_stop();
}

}  // namespace

// clang-format off
Command watchCommand() {
  static std::string kind;
  static std::string file;
  return withDevice(DeviceUse::all, {
      .name = "watch",
      .description = "Draws a widget again whenever the suite, the bundle or the time changes it, until interrupted",
      .groups = {{"Output", {
          kindArgument(kind),
          {"-o,--output FILE", &file, "The picture, a PNG", Required()}}}},
      .examples = {"watch StreakWidget -o streak.png"},
      .run = [] { watch(kind, file); }});
}
// clang-format on

}  // namespace host
