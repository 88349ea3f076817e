#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/transfer/transfer_service.h"

// A host that only transfers: `transfer_worker CONTAINER URL N` adds N tasks, runs them and those
// it takes over, and prints a line for each step. Tests kill it.

namespace {

void say(const char* what, const std::string& id) {
  std::printf("%s %s\n", what, id.c_str());
  std::fflush(stdout);
}

}  // namespace

int main(int, char** arguments) {
  host::TransferSettings settings;
  settings.library = platform::programFolder().parent_path() / settings.library.filename();
  host::TransferService service(arguments[1], settings);
  service.adopt();
  for (int left = std::atoi(arguments[3]); left > 0; --left) {
    const auto id =
        service.add({.session = "s", .url = arguments[2], .method = "POST", .body = "{}"});
    say(id ? "added" : "failed", id ? std::to_string(*id) : id.error());
  }
  while (service.pending() > 0 || !service.finished().empty()) {
    service.step(std::chrono::milliseconds(100));
    while (!service.finished().empty()) {
      const auto id = service.finished().front().id;
      say("finished", std::to_string(id));
      say(service.markDelivered(id) ? "delivered" : "failed", std::to_string(id));
    }
  }
  say("idle", "");
}
