#include "host/drill/drill_phone.h"

#include <chrono>
#include <cstdint>
#include <thread>

#include "platform/foundation/defaults/suite_file.h"
#include "platform/support/files.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;
using std::chrono::steady_clock;

namespace {

constexpr auto kPollInterval = std::chrono::milliseconds(20);

void append(Words& words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
}

}  // namespace

void expect(bool holds, const std::string& seenOtherwise) {
  if (!holds) {
    throw BrokenPromise(seenOtherwise);
  }
}

void await(const std::function<bool()>& holds, const std::string& seenOtherwise) {
  const auto deadline = steady_clock::now() + kLongest;
  while (!holds()) {
    expect(steady_clock::now() < deadline, seenOtherwise);
    std::this_thread::sleep_for(kPollInterval);
  }
}

DrillPhone::DrillPhone() : extension(programFolder() / "Glancery.appex") {
  app({"sign-in", "u-1"});
  app({"streak", "7"});
  app({"mood", "well", "--time-zone", timeZone});
}

std::filesystem::path DrillPhone::suiteFile() const {
  return SuiteFile::pathOf(container(), glancery::kAppGroupIdentifier);
}

Words DrillPhone::command(Words words) const {
  words.insert(words.begin(), programFolder() / "glancery");
  append(words, {"--container", container()});
  return words;
}

Words DrillPhone::deviceCommand(Words words, const std::string& now) const {
  append(words,
         {"--extension", extension, "--now", now, "--time-zone", timeZone, "--locale", locale});
  append(words, {"--info", "ApiBaseUrl=" + api, "--info", "ApiKey=drill"});
  return command(std::move(words));
}

ProgramEnd DrillPhone::run(const Words& words) {
  ChildProcess program(words);
  auto end = program.wait(kLongest);
  expect(end.has_value(), "\"" + words.at(1) + "\" did not end within a minute");
  return *std::move(end);
}

void DrillPhone::app(Words words) const {
  words.insert(words.begin(), "app");
  append(words, {"--now", kNoon});
  const ProgramEnd end = glancery(words);
  expect(end.status == 0, "\"" + words[1] + "\" failed: " + end.err);
}

ProgramEnd DrillPhone::settle(const std::string& now, int seconds) const {
  return run(deviceCommand(
      {"timeline", glancery::kAffirmationKind, "--settle", "--for", std::to_string(seconds)}, now));
}

std::string DrillPhone::affirmation(const std::string& now) const {
  const ProgramEnd end = settle(now);
  expect(end.status == 0, "the downloads were not delivered: " + end.err);
  constexpr std::string_view kField = "  affirmation: ";
  const std::size_t last = end.out.rfind(kField);
  expect(last != end.out.npos, "the widget shows no affirmation");
  const std::size_t start = last + kField.size();
  return end.out.substr(start, end.out.find('\n', start) - start);
}

std::string DrillPhone::expectAffirmation(const std::string& now, const std::string& wanted) const {
  std::string shown = affirmation(now);
  expect(shown == wanted, "the widget shows \"" + shown + "\" instead of \"" + wanted + "\"");
  return shown;
}

void DrillPhone::expectNoDownloads() const {
  const std::string left = downloads();
  expect(left == "no downloads\n", "downloads are left: " + left);
}

DrillServer::DrillServer(Answer answer, std::uint16_t port) {
  auto server = HttpServer::listen(port,
                                   [this, answer = std::move(answer)](
                                       const HttpRequest& request, const HttpServer::Reply& reply) {
                                     reply(answer(++requests_, request));
                                   });
  expect(server.has_value(), server ? "" : server.error());
  server_ = std::make_unique<HttpThread>(*std::move(server));
}

HttpAnswer DrillServer::good(int number, const HttpRequest&) {
  return jsonAnswer(R"({"text":"Respuesta )" + std::to_string(number) + R"(.","color":"gold"})");
}

}  // namespace host
