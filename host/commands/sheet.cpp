#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

#include <CLI/CLI.hpp>

#include "host/commands/commands.h"
#include "host/phone/command_error.h"
#include "host/sheet/accepted_findings.h"
#include "host/sheet/goldens.h"
#include "host/sheet/output_folder.h"
#include "host/sheet/progress.h"
#include "host/sheet/sheet_output.h"
#include "host/sheet/stage.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

namespace fs = std::filesystem;

struct SheetOptions {
  std::string output = {};
  std::string goldens = {};
  bool accept = false;
  std::string acceptedFindings = {};
  std::string only = {};
  bool quick = false;
  std::string extension = {};
};

std::vector<Shot> chosenShots(const SheetOptions& options) {
  const auto kinds = sheetFolders();
  if (!options.only.empty() && std::ranges::find(kinds, options.only) == kinds.end()) {
    std::string names;
    for (const std::string_view kind : kinds) {
      names += names.empty() ? "" : ", ";
      names += kind;
    }
    throw wrongValue("--only", options.only, "give one of " + names);
  }
  std::vector<Shot> shots = everyShot();
  std::erase_if(shots, [&](const Shot& shot) {
    return (!options.only.empty() && shot.widget->kind != options.only) ||
           (options.quick && !shot.isOfTheUsualPhone());
  });
  return shots;
}

/// The same view serves both schemes.
bool showSameEntry(const Shot& one, const Shot& other) {
  return one.state == other.state && one.locale == other.locale && one.screen == other.screen &&
         one.system == other.system;
}

void markFindings(const SheetOptions& options, std::vector<SheetPicture>& pictures) {
  fs::path file = options.acceptedFindings;
  if (file.empty() && !options.goldens.empty()) {
    file = fs::path(options.goldens) / kAcceptedFindingsFile;
    if (!fs::exists(file)) {
      return;
    }
  }
  if (!file.empty()) {
    markAccepted(file, pictures);
  }
}

using Take = std::function<void(const Shot& shot, const Print& print, Renderer& renderer)>;

/// Takes every picture and hears of each once, on any thread.
std::vector<SheetPicture> takePictures(const std::vector<Shot>& shots,
                                       const std::string& extension,
                                       const Take& take) {
  std::vector<SheetPicture> pictures(shots.size());
  std::atomic<std::size_t> done = 0;
  Progress progress(shots.size());
  Stage stage(extension);
  Darkroom darkroom(stage.extension(),
                    platform::programFolder() / "system" / "Fonts",
                    std::max(1U, std::thread::hardware_concurrency()),
                    [&](std::size_t number, Print print, Renderer& renderer) {
                      take(shots[number], print, renderer);
                      pictures[number] = {shots[number], print.size, std::move(print.findings)};
                      ++done;
                    });
  ArchivedEntry entry;
  for (std::size_t number = 0; number < shots.size(); ++number) {
    const Shot& shot = shots[number];
    if (number == 0 || !showSameEntry(shots[number - 1], shot)) {
      entry = stage.entryOf(shot);
    }
    darkroom.add({.number = number,
                  .view = shot.scheme == ColorScheme::dark ? entry.dark : entry.light,
                  .direction = entry.direction,
                  .size = stage.sizeOf(shot),
                  .contentMargins = stage.settings().contentMargins(),
                  .options = {.scale = shot.screen->scale,
                              .scheme = shot.scheme,
                              .cornerRadius = kWidgetCornerRadius}});
    progress.show(done);
  }
  darkroom.finish();
  return pictures;
}

void makeSheet(const SheetOptions& options, std::vector<SheetPicture>& pictures) {
  const std::vector<Shot> shots = chosenShots(options);
  OutputFolder folder(options.output,
                      {.what = "sheet", .files = kSheetFiles, .folders = sheetFolders()});
  pictures =
      takePictures(shots, options.extension, [&](const Shot& shot, const Print& print, Renderer&) {
        folder.write(shot.name() + ".png", print.png);
        folder.write(shot.name() + ".json", print.list);
      });
  markFindings(options, pictures);
  folder.write("index.html", sheetPage(pictures));
  folder.write("sheet.json", sheetJSON(pictures));
  folder.publish();
}

/// Where the report goes if nothing else is said: beside the goldens.
fs::path reportFolder(const SheetOptions& options) {
  if (!options.output.empty()) {
    return options.output;
  }
  fs::path goldens = fs::absolute(options.goldens).lexically_normal();
  if (!goldens.has_filename()) {
    goldens = goldens.parent_path();
  }
  goldens += "-report";
  return goldens;
}

std::vector<Difference> compareAll(const SheetOptions& options,
                                   const std::vector<Shot>& shots,
                                   const Goldens& goldens,
                                   OutputFolder& report,
                                   std::vector<SheetPicture>& pictures) {
  std::mutex mutex;
  std::vector<Difference> differences;
  pictures = takePictures(
      shots, options.extension, [&](const Shot& shot, const Print& print, Renderer& renderer) {
        DifferencePictures shown;
        const std::string name = shot.name();
        auto difference = goldens.compare(name, print, renderer, shown);
        if (!difference) {
          return;
        }
        report.write("actual/" + name + ".png", print.png);
        report.write("actual/" + name + ".json", print.list);
        if (!shown.expected.empty()) {
          report.write("expected/" + name + ".png", shown.expected);
        }
        if (!shown.difference.empty()) {
          report.write("difference/" + name + ".png", shown.difference);
        }
        const std::scoped_lock lock(mutex);
        differences.push_back(*std::move(difference));
      });
  std::set<std::string> known;
  for (const Shot& shot : everyShot()) {
    known.insert(shot.name());
  }
  const std::string_view only = options.only;
  const auto kinds = only.empty() ? sheetFolders() : std::span(&only, 1);
  for (Difference& difference : goldens.extras(kinds, known)) {
    differences.push_back(std::move(difference));
  }
  std::ranges::sort(differences, {}, &Difference::name);
  return differences;
}

/// Makes what the report shows as actual the goldens.
void accept(const SheetOptions& options,
            const std::vector<Difference>& differences,
            const std::vector<SheetPicture>& pictures,
            const fs::path& report,
            const Goldens& goldens) {
  for (const Difference& difference : differences) {
    if (difference.kind == Difference::Kind::extra) {
      goldens.remove(difference.name);
      continue;
    }
    for (const char* ending : {".png", ".json"}) {
      const fs::path file = difference.name + ending;
      const auto bytes = readFile(report / "actual" / file);
      if (!bytes) {
        throw CommandError((report / "actual" / file).string() +
                           " can't be read: " + bytes.error().message());
      }
      goldens.accept(file, *bytes);
    }
  }
  // Of a part of the pictures no page over all of them can be made.
  if (options.only.empty() && !options.quick) {
    goldens.accept("index.html", sheetPage(pictures));
    goldens.accept("sheet.json", sheetJSON(pictures));
  }
}

/// Writes the report, and accepts what differs if that was asked for; answers what differed.
std::vector<Difference> verify(const SheetOptions& options, std::vector<SheetPicture>& pictures) {
  const std::vector<Shot> shots = chosenShots(options);
  if (!options.accept && !fs::is_directory(options.goldens)) {
    throw CommandError("no goldens at " + options.goldens +
                       ": make them with --accept, or with sheet -o");
  }
  const fs::path report = reportFolder(options);
  const Goldens goldens(options.goldens);
  OutputFolder folder(report, {.what = "report", .files = kReportFiles, .folders = kReportFolders});
  std::vector<Difference> differences = compareAll(options, shots, goldens, folder, pictures);
  markFindings(options, pictures);
  folder.write("report.html", reportPage(pictures, differences));
  folder.write("report.json", reportJSON(pictures, differences));
  folder.publish();
  if (options.accept) {
    accept(options, differences, pictures, report, goldens);
  }
  return differences;
}

void printSummary(const std::vector<SheetPicture>& pictures, double seconds) {
  char line[160];
  std::snprintf(line,
                sizeof line,
                "%zu pictures, %zu findings, %.2f s, %.0f pictures/s\n",
                pictures.size(),
                countFindings(pictures),
                seconds,
                static_cast<double>(pictures.size()) / seconds);
  std::cout << line;
}

void sheet(const SheetOptions& options) {
  if (options.output.empty() && options.goldens.empty()) {
    throw CommandError("give -o DIR, or --verify GOLDENS", kWrongUsage);
  }
  if (options.accept && options.goldens.empty()) {
    throw CommandError("--accept goes with --verify GOLDENS", kWrongUsage);
  }
  const auto start = std::chrono::steady_clock::now();
  std::vector<SheetPicture> pictures;
  std::vector<Difference> differences;
  if (options.goldens.empty()) {
    makeSheet(options, pictures);
  } else {
    differences = verify(options, pictures);
  }
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  printSummary(pictures, elapsed.count());
  const std::size_t found = options.goldens.empty() ? 0 : countFindings(pictures);
  if (found > 0 && (differences.empty() || options.accept)) {
    throw CommandError(std::to_string(found) + " new " + (found == 1 ? "finding" : "findings") +
                           ": mend what is at fault, or accept it with a reason in " +
                           kAcceptedFindingsFile + "; see " +
                           (reportFolder(options) / "report.html").string(),
                       kDiffers);
  }
  if (differences.empty()) {
    return;
  }
  const std::string count = std::to_string(differences.size());
  if (options.accept) {
    std::cout << count << " accepted\n";
    return;
  }
  throw CommandError(count + (differences.size() == 1 ? " picture differs" : " pictures differ") +
                         " from " + options.goldens + ": see " +
                         (reportFolder(options) / "report.html").string(),
                     kDiffers);
}

}  // namespace

void addSheetCommand(CLI::App& app) {
  auto options = std::make_shared<SheetOptions>();
  CLI::App* command = app.add_subcommand(
      "sheet", "Draws everything that the widgets can show: pictures, display lists and a page");
  command->add_option(
      "-o,--output",
      options->output,
      "Folder of the sheet, new or an earlier sheet's; with --verify, of the report");
  command->add_option("--verify",
                      options->goldens,
                      "Compares with the sheet in that folder, which is left as it is; the report "
                      "goes to -o, or to GOLDENS-report");
  command->add_flag(
      "--accept", options->accept, "Makes the present pictures the goldens, where they differ");
  command->add_option("--accepted-findings",
                      options->acceptedFindings,
                      "File of findings that may stay, each with its reason (default: "
                      "accepted-findings.json in GOLDENS)");
  command->add_option("--only", options->only, "One widget alone, as gallery lists it");
  command->add_flag("--quick", options->quick, "Every state on the usual phone alone");
  command->add_option("--extension",
                      options->extension,
                      "Folder of the extension (default: Glancery.appex beside this program)");
  command->footer(
      "The last line on standard output counts: N pictures, M findings, S s, P pictures/s.\n"
      "M counts what nobody has accepted. Exit status 3: with --verify, something differs from the "
      "goldens, or there is a finding that nobody has accepted.");
  command->callback([options] { sheet(*options); });
}

}  // namespace host
