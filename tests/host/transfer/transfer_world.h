#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/transfer/transfer_folder.h"
#include "host/transfer/transfer_listing.h"
#include "host/transfer/transfer_service.h"
#include "tests/host/transfer/scripted_server.h"
#include "tests/world.h"

namespace world {

/// A phone's transfers, with a clock that moves only as it is told.
class Transfers {
 public:
  Transfers() { restart(); }

  /// As after the host was ended: nothing is left but the disk.
  void restart() {
    service_.reset();
    host::TransferSettings settings;
    settings.clock = [this] { return now; };
    settings.engine = [] {
      return host::loadTransferEngine(GLANCERY_BUILD "/libglancery_transfer.so");
    };
    service_ = std::make_unique<host::TransferService>(folder_.path(), settings);
    service_->adopt();
  }

  std::string add(host::TransferRequest request) {
    request.session = "affirmations";
    const auto id = service_->add(request);
    EXPECT_TRUE(id) << id.error();
    return id.value_or("");
  }

  /// Steps until every task has ended, waiting out every pause at once.
  void settle() {
    while (service_->pending() > 0) {
      service_->step(std::chrono::milliseconds(1));
      skipPause();
    }
  }
  /// Steps until `id` waits for another attempt.
  void stepUntilWaiting(const std::string& id, int attempts = 1) {
    while (!task(id).outcome && task(id).wait.attempts < attempts) {
      service_->step(std::chrono::milliseconds(1));
    }
  }
  /// Puts the clock forward to the next attempt where all tasks wait for theirs.
  void skipPause() {
    double next = 0;
    for (const auto& waiting : host::listTransfers(folder_.path()).tasks) {
      if (!waiting.outcome) {
        next = next == 0 ? waiting.wait.next : std::min(next, waiting.wait.next);
      }
    }
    now = std::max(now, next);
  }

  host::TransferService& service() { return *service_; }
  const host::TransferTask& task(const std::string& id) const {
    const host::TransferTask* task = service_->find(id);
    return task ? *task : (platform::fatalError("no task " + id), *task);
  }
  std::string body(const std::string& id) const { return readWhole(service_->bodyOf(id)); }
  const std::filesystem::path& container() const { return folder_.path(); }
  /// The names of the files that the store has.
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(host::transfersFolder(folder_.path()))) {
      if (entry.is_regular_file()) {
        names.push_back(entry.path().filename());
      }
    }
    return names;
  }

  double now = 1'700'000'000;

 private:
  Folder folder_;
  std::unique_ptr<host::TransferService> service_;
};

/// How a task ended: "200", or "-1005".
inline std::string endOf(const host::TransferTask& task) {
  if (!task.outcome) {
    return "pending";
  }
  return task.outcome->error ? std::to_string(task.outcome->error->code)
                             : std::to_string(task.outcome->answer->status);
}

}  // namespace world
