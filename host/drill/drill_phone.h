#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/http/http_server.h"
#include "host/phone/host_error.h"
#include "platform/foundation/data/value.h"
#include "platform/support/child_process.h"
#include "platform/support/scratch_folder.h"

// What drills play with: a phone, a running home screen, an affirmation server.

namespace host {

/// What was seen instead of what is promised.
class BrokenPromise : public HostError {
 public:
  using HostError::HostError;
};

/// How long anything may take, on a busy machine too.
inline constexpr std::chrono::minutes kLongest{1};

void expect(bool holds, const std::string& seenOtherwise);
/// Waits up to a minute for something that has to become true.
void await(const std::function<bool()>& holds, const std::string& seenOtherwise);

using Words = std::vector<std::string>;

/// A phone in Mexico on 5 March 2026 at noon, with a scratch container. A user is signed in, has a
/// streak of 7 days and feels well today.
class DrillPhone {
 public:
  static constexpr const char* kNoon = "2026-03-05T12:00:00-06:00";
  static constexpr const char* kNextDay = "2026-03-06T12:00:00-06:00";

  DrillPhone();

  std::filesystem::path container() const { return scratch_.path() / "container"; }
  std::filesystem::path suiteFile() const;

  /// The command line of `glancery` with these words, on this phone.
  Words command(Words words) const;
  /// The same with options for everything that concerns the extension.
  Words deviceCommand(Words words, const std::string& now = kNoon) const;
  /// Runs a program to its end, which has to come within a minute.
  static platform::ProgramEnd run(const Words& words);
  platform::ProgramEnd glancery(Words words) const { return run(command(std::move(words))); }
  /// Plays the host app, which has to succeed.
  void app(Words words) const;

  /// The affirmation that the widget shows on that day, once all downloads are delivered.
  std::string affirmation(const std::string& now) const;
  /// Requests the affirmation's timeline and waits for its downloads for some seconds.
  platform::ProgramEnd settle(const std::string& now, int seconds = 60) const;
  /// Checks what the widget shows on that day, once all downloads are delivered, and returns it.
  std::string expectAffirmation(const std::string& now, const std::string& wanted) const;
  /// Checks that no download is left.
  void expectNoDownloads() const;
  /// What `downloads` prints.
  std::string downloads() const { return glancery({"downloads"}).out; }

  /// Leaves the container as it is when this object ends, and returns its path.
  std::filesystem::path keep() { return scratch_.keep() / "container"; }

  std::string timeZone = "America/Mexico_City";
  std::string locale = "es_MX";
  /// The URL of the affirmation server.
  std::string api = "http://localhost:9";
  std::filesystem::path extension;

 private:
  platform::ScratchFolder scratch_;
};

/// What the home screen shows of a widget.
struct ShownWidget {
  /// What a screen reader says.
  std::string text;
  /// Differs from picture to picture.
  std::string picture;
  /// Why it could not be brought up to date; empty if it could.
  std::string problem;
};

/// A running home screen and its page.
class DrillHome {
 public:
  /// Returns once the page is there.
  explicit DrillHome(const DrillPhone& phone, const std::string& now = DrillPhone::kNoon);

  platform::ChildProcess& process() { return process_; }
  /// The process of its extension.
  pid_t extension() const;
  ShownWidget widget(std::string_view kind) const;
  /// Waits until a widget's text contains these words, and returns the text.
  std::string awaitText(std::string_view kind, const std::string& part) const;
  /// Why its extension has ended; empty if it runs.
  std::string extensionProblem() const;
  /// Performs an action of the page.
  void act(const platform::Dictionary& action);

 private:
  /// Sends a request and returns the first line of the answer that contains `part`.
  std::string lineOf(const std::string& request,
                     const std::string& body,
                     std::string_view part) const;
  platform::Dictionary state() const;

  platform::ChildProcess process_;
  std::string port_;
  std::string token_;
};

/// The server of affirmations, on its own thread. Its first answer is "Respuesta 1.".
class DrillServer {
 public:
  /// Makes the answer to the request of that number, on the server's thread.
  using Answer = std::function<HttpAnswer(int number, const HttpRequest& request)>;

  explicit DrillServer(Answer answer = good, std::uint16_t port = 0);

  static HttpAnswer good(int number, const HttpRequest& request = {});
  std::string url() const { return "http://127.0.0.1:" + std::to_string(server_->port()); }
  int requests() const { return requests_; }

 private:
  std::atomic<int> requests_ = 0;
  std::unique_ptr<HttpThread> server_;
};

}  // namespace host
