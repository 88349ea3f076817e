#include <absl/cleanup/cleanup.h>
#include <unistd.h>

#include <optional>

#include "host/drill/drill_phone.h"
#include "host/drill/drill_tables.h"
#include "platform/support/files.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;
using namespace glancery;
namespace fs = std::filesystem;

namespace {

/// Replaces the suite's bytes before the home screen starts, or while it runs.
std::string damaged(DrillPhone& phone, const std::string& bytes, bool runs) {
  std::optional<DrillHome> home;
  if (runs) {
    home.emplace(phone);
  }
  writeFile(phone.suiteFile(), bytes);
  if (!runs) {
    home.emplace(phone);
  }
  const ProgramEnd dump = phone.glancery({"store", "dump"});
  expect(dump.status == 1 && dump.err.find("is damaged: ") != std::string::npos,
         "`store dump` does not say that the suite is damaged: " + dump.out + dump.err);
  const std::string meanwhile = home->awaitText(kStreakKind, runs ? "— 7" : "— 0");
  phone.app({"streak", "8"});
  const std::string after = home->awaitText(kStreakKind, "— 8");
  expect(readFile(phone.suiteFile().string() + ".damaged") == bytes, "the old bytes are lost");
  return meanwhile + "; then " + after + "; of `store dump`: " + dump.err;
}

/// Runs `app streak 8` where it can't be stored, by a program that adds that limit.
std::string refused(DrillPhone& phone, Words limit) {
  const std::string before = readFile(phone.suiteFile()).value_or("");
  const Words command = phone.command({"app", "streak", "8"});
  limit.insert(limit.end(), command.begin(), command.end());
  const ProgramEnd end = DrillPhone::run(limit);
  expect(end.status == 1, "the command reported that the streak is stored");
  expect(readFile(phone.suiteFile()) == before, "the suite has changed");
  const ProgramEnd shown = DrillPhone::run(phone.deviceCommand({"timeline", kStreakKind}));
  expect(shown.out.find("displayStreakCount: 7\n") != shown.out.npos,
         "the widget does not show the streak of 7: " + shown.err);
  return "the streak of 7; of `app streak 8`: " + end.err;
}

std::string readOnly(DrillPhone& phone) {
  const fs::path folder = phone.suiteFile().parent_path();
  fs::permissions(phone.suiteFile(), fs::perms::owner_read);
  fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
  const absl::Cleanup restore = [&] { fs::permissions(folder, fs::perms::owner_all); };
  // Modes do not stop root, unless it gives up that right.
  return refused(phone,
                 ::geteuid() == 0 ? Words{"/usr/bin/setpriv", "--bounding-set=-dac_override", "--"}
                                  : Words{"/usr/bin/env"});
}

/// No file may grow beyond 1 KiB, which limits root too. The suite is longer.
std::string diskFull(DrillPhone& phone) {
  phone.glancery({"store", "set", "note", std::string(8000, 'x')});
  return refused(phone, {"/bin/sh", "-c", R"(trap '' XFSZ; ulimit -f 1; exec "$0" "$@")"});
}

constexpr std::string_view kSaysSo =
    "The command reports it in one line, and the widgets show what is stored.";

}  // namespace

// clang-format off
std::vector<Drill> suiteDrills() {
  return {
      {"suite-damaged", "The suite's file is overwritten with rubbish while the home screen runs",
       "The last picture stays, the damage is named, and the next write keeps the file under another name.",
       [](DrillPhone& phone) { return damaged(phone, "rubbish", true); }},
      {"suite-cut", "The suite's file is cut in half before the home screen starts",
       "The widgets show a phone without a user, the damage is named, and the next write keeps the file under another name.",
       [](DrillPhone& phone) {
         const std::string whole = readFile(phone.suiteFile()).value_or("");
         return damaged(phone, whole.substr(0, whole.size() / 2), false);
       }},
      {"suite-read-only", "The suite can't be written", kSaysSo, readOnly},
      {"disk-full", "The disk is full when the app writes", kSaysSo, diskFull},
  };
}
// clang-format on

}  // namespace host
