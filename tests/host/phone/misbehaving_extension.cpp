// An extension that misbehaves as the name of its folder says.

#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "platform/foundation/process/log.h"
#include "platform/widgetkit/extension_protocol.h"
#include "platform/widgetkit/message_channel.h"

using namespace platform;

namespace {

void takeMemory(std::size_t mebibytes) {
  std::vector<std::string> taken;
  for (std::size_t index = 0; index < mebibytes; ++index) {
    taken.emplace_back(std::size_t{1} << 20, 'x');
  }
  // Longer than the interval of memory checks, shorter than the timeout of an answer.
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

/// Reads a large file through a mapping, so that its pages are in memory but clean.
void browse(std::size_t mebibytes) {
  const int file = ::fileno(std::tmpfile());
  const std::size_t size = mebibytes << 20;
  if (::ftruncate(file, static_cast<off_t>(size)) != 0 ||
      ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0) == MAP_FAILED) {
    std::exit(1);
  }
}

void misbehave(const std::string& how, MessageChannel& channel, std::int64_t id) {
  if (how == "crash") {
    std::fputs("about to fall\n", stderr);
    std::abort();
  }
  if (how == "trespass") {
    std::raise(SIGSYS);
  }
  if (how == "leave") {
    std::exit(7);
  }
  if (how == "hang") {
    std::this_thread::sleep_for(std::chrono::hours(1));
  }
  if (how == "hoard") {
    takeMemory(40);
  }
  if (how == "devour") {
    takeMemory(4096);
  }
  if (how == "gulp") {
    // Answers before the next memory check.
    static const std::string taken(std::size_t{40} << 20, 'x');
  }
  if (how == "browse") {
    browse(64);
  }
  if (how == "babble") {
    (void)::write(kHostSocket, "\0\0\0\4nope", 8);
  }
  if (how == "mumble") {
    (void)channel.send(encode(ExtensionMessage{
        id, ArchivedTimeline{{}, TimelineReloadPolicy::after(Date::since1970(std::nan("")))}}));
  }
  if (how == "confuse") {
    (void)channel.send(encode(ExtensionMessage{id + 1, Done()}));
  }
  if (how == "insist") {
    for (int time = 0; time < 3; ++time) {
      (void)channel.send(encode(ExtensionMessage{0, ReloadTimelines{"Widget"}}));
    }
  }
  if (how == "withdraw") {
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
  }
  while (how == "flood") {
    log(std::string(4000, 'x'));
  }
  if (how == "chatter") {
    for (int line = 0; line < 20000; ++line) {
      log("line ", line, " of more than any pipe holds at once");
    }
  }
}

/// Describes a widget, and sends timelines without entries.
ExtensionMessage::Content answerWithNothing(const HostMessage::Content& request) {
  if (std::holds_alternative<DescribeRequest>(request)) {
    return WidgetDescriptions{{{"Empty", "", "", {WidgetFamily::systemSmall}}}};
  }
  return std::holds_alternative<ProvideRequest>(request)
             ? ExtensionMessage::Content(ArchivedTimeline())
             : Done();
}

}  // namespace

int main(int, char** arguments) {
  const std::string how = std::filesystem::path(arguments[0]).parent_path().filename();
  MessageChannel channel(kHostSocket);
  for (;;) {
    const auto value = channel.receive();
    if (!value) {
      if (how == "linger" || how == "withdraw") {
        std::this_thread::sleep_for(std::chrono::hours(1));
      }
      return 0;
    }
    const auto message = decodeHostMessage(*value);
    if (!message) {
      return 1;
    }
    misbehave(how, channel, message->id);
    (void)channel.send(encode(ExtensionMessage{
        message->id, how == "disappoint" ? answerWithNothing(message->content) : Done()}));
  }
}
