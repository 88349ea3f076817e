#include <unistd.h>

#include "fuzz/shared_records.h"
#include "network/network_manager.h"
#include "platform/dispatch/dispatch_queue.h"
#include "platform/widgetkit/widget_center.h"

using namespace platform;

namespace {

int reloads = 0;

/// A readable descriptor: the main queue runs until it is empty, then stops.
int readable() {
  int ends[2];
  fuzz::expect(::pipe(ends) == 0 && ::write(ends[1], "x", 1) == 1, "there is a pipe");
  return ends[0];
}

}  // namespace

// The input is the body of the server's answer. An affirmation in it must be read from the store
// unchanged.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::Phone phone;
  static const int stop = readable();
  WidgetCenter::shared().setHost([](const std::string&) { ++reloads; });

  const glancery::NetworkManager& manager = glancery::NetworkManager::shared();
  const auto response =
      manager.parseAffirmationResponse(Data{std::string(fuzz::bytes(data, size))});
  if (!response.text) {
    return 0;
  }
  const std::string color = response.color.value_or("blush");
  reloads = 0;
  manager.saveAffirmation(*response.text, color);
  runMainQueueUntilReadable(stop);
  fuzz::expect(reloads == 1, "a saved affirmation reloads the widget");
  const glancery::StoredAffirmation stored = {.text = response.text, .color = color};
  fuzz::expect(fuzz::readSharedRecords().affirmation == stored, "a saved affirmation can be read");
  return 0;
}
