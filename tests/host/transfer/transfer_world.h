#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/transfer/transfer_service.h"
#include "host/transfer/transfer_store.h"
#include "tests/host/transfer/scripted_server.h"
#include "tests/world.h"

namespace world {

/// A transfer service in a new container, with a clock that the test sets.
class Transfers {
 public:
  Transfers() { restart(); }

  /// Replaces the service by another one for the same container.
  void restart() {
    service_.reset();
    host::TransferSettings settings;
    settings.clock = [this] { return now; };
    settings.library = GLANCERY_BUILD "/libglancery_transfer.so";
    service_ = std::make_unique<host::TransferService>(folder_.path(), settings);
    service_->adopt();
  }

  std::int64_t add(host::TransferRequest request) {
    request.session = "affirmations";
    const auto id = service_->add(request);
    EXPECT_TRUE(id) << id.error();
    return id.value_or(0);
  }

  /// Steps until all tasks have ended; skips the pauses between attempts.
  void settle() {
    while (service_->pending() > 0) {
      service_->step(std::chrono::milliseconds(1));
      skipPause();
    }
  }
  /// Steps until `id` waits for another attempt.
  void stepUntilWaiting(std::int64_t id, int attempts = 1) {
    while (task(id).ended == 0 && task(id).attempts < attempts) {
      service_->step(std::chrono::milliseconds(1));
    }
  }
  /// Sets the clock to the earliest next attempt.
  void skipPause() {
    double next = 0;
    for (const auto& waiting : host::listTransfers(folder_.path()).tasks) {
      if (waiting.ended == 0) {
        next = next == 0 ? waiting.next : std::min(next, waiting.next);
      }
    }
    now = std::max(now, next);
  }

  host::TransferService& service() { return *service_; }
  const host::TransferTask& task(std::int64_t id) const {
    const host::TransferTask* task = service_->find(id);
    return task ? *task : (platform::fatalError("no task " + std::to_string(id)), *task);
  }
  std::filesystem::path bodyFile(std::int64_t id) const {
    return folder() / (std::to_string(id) + ".body");
  }
  std::string body(std::int64_t id) const { return readWhole(bodyFile(id)); }
  const std::filesystem::path& container() const { return folder_.path(); }
  std::filesystem::path folder() const { return folder_.path() / "Library" / "Transfers"; }
  /// The names of all files except the database's and `hosts`.
  std::vector<std::string> bodies() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder())) {
      const std::string name = entry.path().filename();
      if (name != "hosts" && !name.starts_with("transfers.db")) {
        names.push_back(name);
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
  if (task.ended == 0) {
    return "pending";
  }
  return std::to_string(task.outcome.error ? task.outcome.error->code : *task.outcome.status);
}

}  // namespace world
