#include <iostream>
#include <memory>
#include <thread>

#include <CLI/CLI.hpp>

#include "host/command_error.h"
#include "host/commands/commands.h"
#include "host/device_options.h"
#include "host/json_output.h"
#include "host/transfer/transfer_cancellation.h"
#include "host/transfer/transfer_folder.h"
#include "host/transfer/transfer_listing.h"
#include "host/transfer/transfer_service.h"
#include "platform/foundation/user_defaults.h"
#include "platform/foundation/utf8.h"

namespace host {

using namespace platform;
using namespace std::chrono_literals;

namespace {

struct DownloadsOptions {
  DeviceOptions device = {};
  bool json = false;
  std::string id = {};
};

const char* nameOf(TransferState state) {
  constexpr const char* kNames[] = {"pending", "done", "failed"};
  return kNames[std::to_underlying(state)];
}

/// Why a task has failed, or waits for another attempt.
const NSError* errorOf(const TransferTask& task) {
  if (task.outcome) {
    return task.outcome->error ? &*task.outcome->error : nullptr;
  }
  return task.wait.attempts > 0 ? &task.wait.error : nullptr;
}

std::string isoDate(double seconds) {
  return Date::since1970(seconds).iso8601();
}

Value described(const TransferTask& task) {
  const NSError* error = errorOf(task);
  const bool answered = task.outcome && task.outcome->answer;
  const bool waits = !task.outcome && task.wait.attempts > 0;
  return Dictionary{
      {"id", task.id},
      {"session", excerpt(task.request.session)},
      {"method", task.request.method},
      {"url", excerpt(task.request.url, 2000)},
      {"state", nameOf(task.state())},
      {"created", isoDate(task.created)},
      {"attempts", task.wait.attempts},
      {"nextAttempt", waits ? Value(isoDate(task.wait.next)) : Value()},
      {"status", answered ? Value(task.outcome->answer->status) : Value()},
      {"bytes", answered ? Value(static_cast<std::int64_t>(task.outcome->answer->size)) : Value()},
      {"error",
       error ? Value(Dictionary{{"domain", error->domain},
                                {"code", error->code},
                                {"description", error->localizedDescription}})
             : Value()}};
}

std::string sentence(const TransferTask& task) {
  const NSError* error = errorOf(task);
  const std::string why =
      error ? error->localizedDescription + " (" + std::to_string(error->code) + ")" : "";
  if (!task.outcome) {
    return error ? std::to_string(task.wait.attempts) + " attempts in vain, the last one: " + why +
                       " Next at " + isoDate(task.wait.next)
                 : "to be tried at once";
  }
  return error ? why
               : "status " + std::to_string(task.outcome->answer->status) + ", " +
                     std::to_string(task.outcome->answer->size) + " bytes, not delivered yet";
}

void list(const DownloadsOptions& options) {
  const TransferListing listing = listTransfers(sharedContainer());
  if (options.json) {
    Array downloads;
    for (const TransferTask& task : listing.tasks) {
      downloads.push_back(described(task));
    }
    Array damaged;
    for (const DamagedJournal& record : listing.damaged) {
      damaged.push_back(
          Dictionary{{"file", record.file.string()}, {"reason", excerpt(record.reason)}});
    }
    std::cout << valueJSON(Dictionary{{"downloads", downloads}, {"damaged", damaged}}) << '\n';
    return;
  }
  for (const TransferTask& task : listing.tasks) {
    std::cout << task.id << "  " << nameOf(task.state()) << "  " << excerpt(task.request.session)
              << "\n  " << task.request.method << ' ' << excerpt(task.request.url, 2000) << "\n  "
              << sentence(task) << '\n';
  }
  for (const DamagedJournal& record : listing.damaged) {
    std::cout << "damaged: " << record.file.string() << ": " << record.reason << '\n';
  }
  if (listing.tasks.empty() && listing.damaged.empty()) {
    std::cout << "no downloads\n";
  }
}

TransferTask taskNamed(const std::string& id) {
  const TransferListing listing = listTransfers(sharedContainer());
  std::string pending;
  for (const TransferTask& task : listing.tasks) {
    if (task.id == id) {
      return task;
    }
    if (!task.outcome) {
      pending += (pending.empty() ? "" : ", ") + task.id;
    }
  }
  throw CommandError("no download \"" + id +
                     "\": " + (pending.empty() ? "none is pending" : "pending are " + pending));
}

/// A running host looks for requests every second; this long it may take to heed one.
constexpr auto kHeedWithin = 5s;

void cancel(const DownloadsOptions& options) {
  const TransferTask task = taskNamed(options.id);
  if (task.outcome) {
    throw CommandError("the download \"" + task.id + "\" has ended (" + sentence(task) +
                       "): there is nothing to cancel");
  }
  TransferService service(sharedContainer());
  service.adopt();
  for (const std::string& report : service.takeReports()) {
    std::cerr << "glancery: " << report << '\n';
  }
  if (service.cancel(task.id)) {
    return;
  }
  const auto transfers = transfersFolder(sharedContainer());
  if (const auto asked = requestCancellation(transfers, task.id); !asked) {
    throw CommandError(asked.error());
  }
  const auto deadline = std::chrono::steady_clock::now() + kHeedWithin;
  while (std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(50ms);
    const auto tasks = listTransfers(sharedContainer()).tasks;
    const auto found = std::ranges::find(tasks, task.id, &TransferTask::id);
    if (found == tasks.end() || found->outcome) {
      return;
    }
  }
  dropCancellation(transfers, task.id);
  throw CommandError("the host that runs the download \"" + task.id + "\" does not answer");
}

}  // namespace

void addDownloadsCommand(CLI::App& app) {
  auto options = std::make_shared<DownloadsOptions>();
  CLI::App* group = app.add_subcommand(
      "downloads", "Lists the background downloads: pending, done and failed, and why");
  options->device.addSuiteOptions(*group);
  group->add_flag("--json", options->json, "Print JSON");
  CLI::App* cancelCommand =
      group->add_subcommand("cancel", "Ends a pending download; the extension is told so");
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
