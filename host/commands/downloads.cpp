#include <algorithm>
#include <iostream>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/json_output.h"
#include "host/commands/terminal.h"
#include "host/transfer/transfer_service.h"
#include "host/transfer/transfer_store.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/time/date.h"
#include "platform/support/utf8.h"

namespace host {

using platform::excerpt;

namespace {

std::string reason(const platform::NSError& error) {
  return error.localizedDescription + " (" + std::to_string(error.code) + ")";
}

std::string pendingSentence(const TransferTask& task) {
  if (task.outcome.error) {
    return std::to_string(task.attempts) +
           (task.attempts == 1 ? " attempt failed" : " attempts failed") +
           ", last error: " + reason(*task.outcome.error) + "; next attempt at " +
           platform::Date::since1970(task.next).iso8601();
  }
  if (!task.hosted) {
    return "the next host that runs will send it";
  }
  return task.sends == 0 ? "waits for a running host to send it"
                         : "may have been sent, no answer yet";
}

std::string sentence(const TransferTask& task) {
  const auto& [error, status, size] = task.outcome;
  if (task.ended == 0) {
    return pendingSentence(task);
  }
  return (error ? reason(*error)
                : "status " + std::to_string(status.value_or(0)) + ", " + std::to_string(size) +
                      " bytes") +
         (task.undelivered.empty() ? ", not delivered yet"
                                   : ", can't be delivered: " + excerpt(task.undelivered));
}

void list(bool json) {
  const TransferListing listing = listTransfers(platform::sharedContainer());
  if (json) {
    std::cout << downloadsJSON(listing) << '\n';
    return;
  }
  constexpr const char* kColors[] = {kStrong, kGood, kBad};
  std::vector<Line> lines;
  for (const TransferTask& task : listing.tasks) {
    lines.push_back({{std::to_string(task.id) + " ",
                      nameOf(task.state()) + std::string(" "),
                      excerpt(task.request.session)},
                     kColors[std::to_underlying(task.state())]});
    lines.push_back({{"  " + task.request.method + " " + excerpt(task.request.url, kLongestURL)}});
    lines.push_back({{"  " + sentence(task)}});
  }
  for (const std::string& damage : listing.damaged) {
    lines.push_back({{"damaged: " + damage}, kBad});
  }
  if (lines.empty()) {
    lines.push_back({{"no downloads"}});
  }
  print(lines);
}

void cancel(std::int64_t id) {
  const TransferListing listing = listTransfers(platform::sharedContainer());
  const auto task = std::ranges::find(listing.tasks, id, &TransferTask::id);
  if (task == listing.tasks.end()) {
    const auto idOf = [](const TransferTask& known) { return std::to_string(known.id); };
    throw CommandError(
        "no download " + std::to_string(id) + ": " +
        (listing.tasks.empty() ? "there is none" : "there are " + listOf(listing.tasks, idOf)));
  }
  if (task->ended != 0 && task->undelivered.empty()) {
    throw CommandError("the download " + std::to_string(id) + " has ended (" + sentence(*task) +
                       "): there is nothing to cancel");
  }
  TransferService service(platform::sharedContainer());
  const auto cancelled = service.cancel(*task);
  for (const std::string& report : service.takeReports()) {
    complain(report);
  }
  if (!cancelled) {
    throw CommandError(cancelled.error());
  }
}

}  // namespace

// clang-format off
Command downloadsCommand() {
  static bool json = false;
  static std::int64_t id = 0;
  return withDevice(DeviceUse::clock, {
      .name = "downloads",
      .description = "Lists the background downloads and their states",
      .groups = {{"Output", {{"--json", &json, "Print JSON"}}}},
      .examples = {"downloads"},
      .run = [] { list(json); },
      .commands = {withDevice(DeviceUse::clock, {
          .name = "cancel",
          .description = "Ends a pending download, or removes one that can't be delivered",
          .groups = {{"", {{"ID", &id, "The number of the download in the list"}}}},
          .examples = {"downloads cancel 3"},
          .run = [] { cancel(id); }})}});
}
// clang-format on

}  // namespace host
