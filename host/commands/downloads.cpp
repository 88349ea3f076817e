#include <algorithm>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "host/commands/command_error.h"
#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/json_output.h"
#include "host/transfer/transfer_service.h"
#include "host/transfer/transfer_store.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/time/date.h"
#include "platform/support/utf8.h"

namespace host {

using platform::excerpt;

namespace {

struct DownloadsOptions {
  DeviceOptions device = {};
  bool json = false;
  std::int64_t id = 0;
};

std::string reason(const platform::NSError& error) {
  return error.localizedDescription + " (" + std::to_string(error.code) + ")";
}

std::string pendingSentence(const TransferTask& task) {
  if (task.outcome.error) {
    return std::to_string(task.attempts) +
           " attempts failed, last error: " + reason(*task.outcome.error) + " Next attempt at " +
           platform::Date::since1970(task.next).iso8601();
  }
  if (!task.hosted) {
    return "the next host that runs will send it";
  }
  return task.sends == 0 ? "waits for a running host to send it" : "may be sent, no answer yet";
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
  for (const TransferTask& task : listing.tasks) {
    std::cout << task.id << "  " << nameOf(task.state()) << "  " << excerpt(task.request.session)
              << "\n  " << task.request.method << ' ' << excerpt(task.request.url, kLongestURL)
              << "\n  " << sentence(task) << '\n';
  }
  for (const std::string& damage : listing.damaged) {
    std::cout << "damaged: " << damage << '\n';
  }
  if (listing.tasks.empty() && listing.damaged.empty()) {
    std::cout << "no downloads\n";
  }
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

void addDownloadsCommand(CLI::App& app) {
  auto options = std::make_shared<DownloadsOptions>();
  CLI::App* group =
      addSuiteCommand(app,
                      "downloads",
                      "Lists the background downloads and their states",
                      options->device,
                      [options, &app] {
                        if (app.get_subcommand("downloads")->get_subcommands().empty()) {
                          list(options->json);
                        }
                      });
  group->add_flag("--json", options->json, "Print JSON");
  addSuiteCommand(*group,
                  "cancel",
                  "Ends a pending download, or removes one that can't be delivered",
                  options->device,
                  [options] { cancel(options->id); })
      ->add_option("ID", options->id, "The number of the download in the list")
      ->required();
}

}  // namespace host
