#include "host/sheet/sheet.h"

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "host/commands/command_error.h"
#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/sheet/states/states.h"
#include "platform/support/files.h"

namespace host {

namespace {

namespace fs = std::filesystem;

using Clock = std::chrono::steady_clock;

struct SheetOptions {
  std::string output = {};
  std::string goldens = {};
  bool accept = false;
  std::string acceptedFindings = {};
  std::string only = {};
  bool quick = false;
  std::string extension = {};
};

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A progress bar on standard error with the number of images and the remaining time, if that is a
/// terminal. The destructor clears its line.
class ProgressBar {
 public:
  ~ProgressBar() {
    if (onTerminal_) {
      std::fputs("\r\x1B[K", stderr);
    }
  }

  void show(std::size_t done, std::size_t total) {
    if (!onTerminal_ || Clock::now() < next_) {
      return;
    }
    next_ = Clock::now() + std::chrono::milliseconds(100);
    std::string bar(32, '.');
    bar.replace(0, done * bar.size() / total, done * bar.size() / total, '#');
    std::fprintf(stderr, "\r\x1B[K[%s] %zu of %zu", bar.c_str(), done, total);
    if (done > 0) {
      const auto left = static_cast<double>(total - done) / static_cast<double>(done);
      std::fprintf(stderr, ", %.0f s left", std::ceil(secondsSince(start_) * left));
    }
  }

 private:
  bool onTerminal_ = ::isatty(STDERR_FILENO) == 1;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_ = start_;
};

void checkOptions(const SheetOptions& options) {
  if (options.output.empty() && options.goldens.empty()) {
    throw CommandError("give -o DIR, or --verify GOLDENS", kWrongUsage);
  }
  if (options.accept && options.goldens.empty()) {
    throw CommandError("--accept goes with --verify GOLDENS", kWrongUsage);
  }
  if (!options.goldens.empty() && !options.accept && !fs::is_directory(options.goldens)) {
    throw CommandError("no goldens at " + options.goldens +
                       ": make them with --accept, or with sheet -o");
  }
  std::string kinds;
  bool known = options.only.empty();
  for (const SheetWidget& widget : sheetWidgets()) {
    known = known || widget.kind == options.only;
    kinds.append(kinds.empty() ? "" : ", ").append(widget.kind);
  }
  if (!known) {
    throw InvalidValue("--only", options.only, "give one of " + kinds);
  }
}

/// The folder of the report: by default GOLDENS-report, beside the goldens.
fs::path reportFolder(const SheetOptions& options) {
  if (!options.output.empty()) {
    return options.output;
  }
  fs::path folder = fs::absolute(options.goldens).lexically_normal();
  if (!folder.has_filename()) {
    folder = folder.parent_path();
  }
  return folder += "-report";
}

SheetResult run(const SheetOptions& options) {
  const auto start = Clock::now();
  SheetResult result;
  {
    ProgressBar bar;
    const SheetSettings settings = {
        .extension = extensionFolder(options.extension),
        .systemFonts = platform::programFolder() / "system" / "Fonts",
        .kind = options.only,
        .defaultDeviceOnly = options.quick,
        .acceptedFindings = options.acceptedFindings,
        .progress = [&bar](std::size_t done, std::size_t total) { bar.show(done, total); }};
    result = options.goldens.empty()
                 ? makeSheet(settings, options.output)
                 : verifySheet(settings,
                               options.goldens,
                               reportFolder(options),
                               options.accept ? GoldensUse::accept : GoldensUse::compare);
  }
  const double seconds = secondsSince(start);
  std::cout << result.images << " pictures, " << result.newFindings << " findings, " << std::fixed
            << std::setprecision(2) << seconds << " s, " << std::setprecision(0)
            << static_cast<double>(result.images) / seconds << " pictures/s\n";
  return result;
}

void sheet(const SheetOptions& options) {
  checkOptions(options);
  const SheetResult result = run(options);
  if (options.goldens.empty()) {
    return;
  }
  const std::size_t differences = options.accept ? 0 : result.differences;
  const std::string report = "; see " + (reportFolder(options) / "report.html").string();
  if (differences > 0) {
    throw CommandError(std::to_string(differences) +
                           (differences == 1 ? " picture differs" : " pictures differ") + " from " +
                           options.goldens + report,
                       kDiffers);
  }
  if (result.newFindings > 0) {
    throw CommandError(std::to_string(result.newFindings) +
                           (result.newFindings == 1 ? " new finding" : " new findings") +
                           ": fix the cause, or accept it with a reason in " +
                           kAcceptedFindingsFile + report,
                       kDiffers);
  }
  if (result.differences > 0) {
    std::cout << result.differences << " accepted\n";
  }
}

}  // namespace

void addSheetCommand(CLI::App& app) {
  auto options = std::make_shared<SheetOptions>();
  CLI::App* command = app.add_subcommand(
      "sheet", "Draws everything that the widgets can show: pictures, display lists and a page");
  command->add_option("-o,--output",
                      options->output,
                      "Folder of the sheet, or of the report with --verify: new, empty, or written "
                      "by an earlier run");
  command->add_option("--verify",
                      options->goldens,
                      "Compares with the sheet in the folder GOLDENS and changes nothing there; "
                      "without -o, the report goes to GOLDENS-report");
  command->add_flag("--accept",
                    options->accept,
                    "With --verify: replaces the goldens that differ by the new pictures");
  command->add_option("--accepted-findings",
                      options->acceptedFindings,
                      "File of findings that are accepted, each with a reason (default: "
                      "accepted-findings.json in GOLDENS)");
  command->add_option("--only", options->only, "Only this widget, by its name in gallery");
  command->add_flag("--quick", options->quick, "Every state only on the default phone");
  command->add_option("--extension",
                      options->extension,
                      "Folder of the extension (default: Glancery.appex beside this program)");
  command->footer(
      "The last line on standard output counts: N pictures, M findings, S s, P pictures/s.\n"
      "M counts the findings that are not accepted. Exit status 3: with --verify, something "
      "differs "
      "from the goldens, or a finding is not accepted.");
  command->callback([options] { sheet(*options); });
}

}  // namespace host
