#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "host/commands/commands.h"
#include "host/commands/json_output.h"
#include "host/phone/command_error.h"
#include "host/phone/device_options.h"
#include "host/transfer/transfer_service.h"
#include "host/transfer/transfer_store.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/support/utf8.h"

namespace host {

using namespace platform;

namespace {

struct DownloadsOptions {
  DeviceOptions device = {};
  bool json = false;
  std::int64_t id = 0;
};

const char* nameOf(TransferState state) {
  constexpr const char* kNames[] = {"pending", "done", "failed"};
  return kNames[std::to_underlying(state)];
}

std::string isoDate(double seconds) {
  return Date::since1970(seconds).iso8601();
}

Value described(const TransferTask& task) {
  const auto& [error, status, size] = task.outcome;
  const bool waits = task.ended == 0 && task.attempts > 0;
  return Dictionary{
      {"id", task.id},
      {"session", excerpt(task.request.session)},
      {"method", task.request.method},
      {"url", excerpt(task.request.url, 2000)},
      {"state", nameOf(task.state())},
      {"hosted", task.hosted},
      {"created", isoDate(task.created)},
      {"attempts", task.attempts},
      {"nextAttempt", waits ? Value(isoDate(task.next)) : Value()},
      {"status", status ? Value(*status) : Value()},
      {"bytes", status ? Value(static_cast<std::int64_t>(size)) : Value()},
      {"error",
       error ? Value(Dictionary{{"domain", error->domain},
                                {"code", error->code},
                                {"description", error->localizedDescription}})
             : Value()},
      {"undelivered", task.undelivered.empty() ? Value() : Value(excerpt(task.undelivered))}};
}

std::string sentence(const TransferTask& task) {
  const auto& [error, status, size] = task.outcome;
  const std::string why =
      error ? error->localizedDescription + " (" + std::to_string(error->code) + ")" : "";
  if (task.ended == 0) {
    return error ? std::to_string(task.attempts) + " attempts failed, last error: " + why +
                       " Next attempt at " + isoDate(task.next)
           : task.hosted ? "a host is sending it"
                         : "the next host that runs will send it";
  }
  return (error ? why
                : "status " + std::to_string(status.value_or(0)) + ", " + std::to_string(size) +
                      " bytes") +
         (task.undelivered.empty() ? ", not delivered yet"
                                   : ", can't be delivered: " + excerpt(task.undelivered));
}

void list(const DownloadsOptions& options) {
  const TransferListing listing = listTransfers(sharedContainer());
  if (options.json) {
    Array downloads;
    for (const TransferTask& task : listing.tasks) {
      downloads.push_back(described(task));
    }
    const Array damaged(listing.damaged.begin(), listing.damaged.end());
    std::cout << valueJSON(Dictionary{{"downloads", downloads}, {"damaged", damaged}}) << '\n';
    return;
  }
  for (const TransferTask& task : listing.tasks) {
    std::cout << task.id << "  " << nameOf(task.state()) << "  " << excerpt(task.request.session)
              << "\n  " << task.request.method << ' ' << excerpt(task.request.url, 2000) << "\n  "
              << sentence(task) << '\n';
  }
  for (const std::string& damage : listing.damaged) {
    std::cout << "damaged: " << damage << '\n';
  }
  if (listing.tasks.empty() && listing.damaged.empty()) {
    std::cout << "no downloads\n";
  }
}

TransferTask taskNamed(std::int64_t id) {
  const TransferListing listing = listTransfers(sharedContainer());
  std::string known;
  for (const TransferTask& task : listing.tasks) {
    if (task.id == id) {
      return task;
    }
    known += (known.empty() ? "" : ", ") + std::to_string(task.id);
  }
  throw CommandError("no download " + std::to_string(id) + ": " +
                     (known.empty() ? "there is none" : "there are " + known));
}

void cancel(const DownloadsOptions& options) {
  const TransferTask task = taskNamed(options.id);
  if (task.ended != 0 && task.undelivered.empty()) {
    throw CommandError("the download " + std::to_string(task.id) + " has ended (" + sentence(task) +
                       "): there is nothing to cancel");
  }
  TransferService service(sharedContainer());
  const auto cancelled = service.cancel(task);
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
  CLI::App* group = app.add_subcommand(
      "downloads", "Lists the background downloads: pending, done and failed, and why");
  options->device.addSuiteOptions(*group);
  group->add_flag("--json", options->json, "Print JSON");
  CLI::App* cancelCommand = group->add_subcommand(
      "cancel", "Ends a pending download, or clears one that can't be delivered");
  cancelCommand->add_option("ID", options->id, "The download, as the list names it")->required();
  options->device.addSuiteOptions(*cancelCommand);
  cancelCommand->callback([options] {
    settleSuite(options->device);
    cancel(*options);
  });
  group->callback([options, group] {
    if (group->get_subcommands().empty()) {
      settleSuite(options->device);
      list(*options);
    }
  });
}

}  // namespace host
