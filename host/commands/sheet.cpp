#include "host/sheet/sheet.h"

#include <chrono>
#include <filesystem>
#include <iomanip>
#include <iostream>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/terminal.h"
#include "platform/support/files.h"

namespace host {

namespace {

namespace fs = std::filesystem;

using Clock = std::chrono::steady_clock;

struct SheetOptions {
  std::string output = {};
  std::string goldens = {};
  bool accept = false;
  std::string extension = {};
  SheetSettings settings = {};
};

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

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
    ProgressBar bar("pictures");
    SheetSettings settings = options.settings;
    settings.extension = extensionFolder(options.extension);
    settings.systemFonts = systemFonts();
    settings.progress = [&bar](std::size_t done, std::size_t total) { bar.show(done, total); };
    const GoldensUse use = options.accept ? GoldensUse::accept : GoldensUse::compare;
    result = options.goldens.empty()
                 ? makeSheet(settings, options.output)
                 : verifySheet(settings, options.goldens, reportFolder(options), use);
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
  const std::string report = "; see " + (reportFolder(options) / "report.html").string();
  if (result.differences > 0 && !options.accept) {
    throw CommandError(std::to_string(result.differences) +
                           (result.differences == 1 ? " picture differs" : " pictures differ") +
                           " from " + options.goldens + report,
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

// clang-format off
Command sheetCommand() {
  static SheetOptions options;
  return {
      .name = "sheet",
      .description = "Draws everything that the widgets can show: pictures, display lists and a page",
      .groups = {
          {"Output", {
              {"-o,--output DIR", &options.output,
               "Folder of the sheet, or of the report with --verify: new, empty, or written by an earlier run"},
              {"--only KIND", &options.settings.kind, "Only this widget", OneOf(kinds)},
              {"--quick", &options.settings.defaultDeviceOnly, "Every state only on the default phone"}}},
          {"Comparison", {
              {"--verify GOLDENS", &options.goldens,
               "Compares with the sheet in the folder GOLDENS and changes nothing there; "
               "without -o, the report goes to GOLDENS-report"},
              {"--accept", &options.accept, "With --verify: replaces the goldens that differ by the new pictures"},
              {"--accepted-findings FILE", [](const std::string& file) { options.settings.acceptedFindings = file; },
               "File of accepted findings, each with a reason (default: accepted-findings.json in GOLDENS)"}}},
          {"Extension", {extensionOption(options.extension)}}},
      .examples = {"sheet -o out  # every widget in every state: out/index.html",
                   "sheet --verify goldens -o report"},
      .notes =
          "The last line on standard output counts: N pictures, M findings, S s, P pictures/s.\n"
          "M counts the findings that are not accepted. Exit status 3: with --verify, something\n"
          "differs from the goldens, or a finding is not accepted.",
      .run = [] { sheet(options); }};
}
// clang-format on

}  // namespace host
