#include "host/sheet/sheet.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>

#include "host/sheet/goldens.h"
#include "host/sheet/image_renderer.h"
#include "host/sheet/output_folder.h"
#include "host/sheet/sheet_files.h"
#include "host/sheet/state_runner.h"
#include "platform/support/files.h"

namespace host {

using namespace platform;

namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 2> kSheetFiles = {"index.html", "sheet.json"};
constexpr std::array<std::string_view, 2> kReportFiles = {"report.html", "report.json"};
constexpr std::array<std::string_view, 3> kReportFolders = {"expected", "actual", "difference"};

/// Called on a worker thread for each image.
using TakeImage =
    std::function<void(const std::string& name, const RenderedImage& image, Renderer& renderer)>;

std::string readOrThrow(const fs::path& file) {
  auto bytes = readFile(file);
  if (!bytes) {
    throw std::runtime_error(file.string() + " can't be read: " + bytes.error().message());
  }
  return *std::move(bytes);
}

/// The kinds of the chosen widgets, which are the names of the sheet's folders.
std::vector<std::string_view> kindsOf(const SheetSettings& settings) {
  std::vector<std::string_view> kinds;
  for (const SheetWidget& widget : sheetWidgets()) {
    if (settings.kind.empty() || settings.kind == widget.kind) {
      kinds.push_back(widget.kind);
    }
  }
  return kinds;
}

std::vector<RenderJob> chosenJobs(const SheetSettings& settings) {
  std::vector<RenderJob> jobs = allRenderJobs();
  std::erase_if(jobs, [&](const RenderJob& job) {
    return (!settings.kind.empty() && job.widget->kind != settings.kind) ||
           (settings.defaultDeviceOnly && !job.hasDefaultDevice());
  });
  return jobs;
}

/// An entry has the views of both schemes.
bool showSameEntry(const RenderJob& one, const RenderJob& other) {
  return one.state == other.state && one.locale == other.locale && one.screen == other.screen &&
         one.system == other.system;
}

std::vector<SheetImage> renderImages(const SheetSettings& settings, const TakeImage& take) {
  const std::vector<RenderJob> jobs = chosenJobs(settings);
  std::vector<SheetImage> images(jobs.size());
  std::atomic<std::size_t> done = 0;
  StateRunner runner(settings.extension);
  ImageRenderer renderer(settings.extension,
                         settings.systemFonts,
                         [&](std::size_t number, RenderedImage image, Renderer& worker) {
                           take(jobs[number].name(), image, worker);
                           images[number] = {jobs[number], image.size, std::move(image.findings)};
                           ++done;
                         });
  ArchivedEntry entry;
  for (std::size_t number = 0; number < jobs.size(); ++number) {
    const RenderJob& job = jobs[number];
    if (number == 0 || !showSameEntry(jobs[number - 1], job)) {
      entry = runner.entryOf(job);
    }
    renderer.add({.number = number,
                  .view = job.scheme == ColorScheme::dark ? entry.dark : entry.light,
                  .direction = entry.direction,
                  .size = runner.sizeOf(job),
                  .contentMargins = runner.contentMargins(),
                  .options = {.scale = job.screen->scale,
                              .scheme = job.scheme,
                              .cornerRadius = kWidgetCornerRadius}});
    settings.progress(done, jobs.size());
  }
  renderer.finish();
  return images;
}

/// The file of accepted findings, or an empty path where there is none.
fs::path acceptedFindings(const SheetSettings& settings, const fs::path& goldens) {
  const fs::path own = goldens / kAcceptedFindingsFile;
  return !settings.acceptedFindings.empty() ? settings.acceptedFindings
         : fs::exists(own)                  ? own
                                            : fs::path();
}

SheetResult resultOf(std::span<const SheetImage> images, std::size_t differences) {
  SheetResult result = {.images = images.size(), .differences = differences};
  for (const SheetImage& image : images) {
    result.newFindings += std::ranges::count(image.findings, std::string(), &Finding::accepted);
  }
  return result;
}

void accept(const SheetSettings& settings,
            const fs::path& goldens,
            const fs::path& report,
            std::span<const Difference> differences,
            std::span<const SheetImage> images) {
  for (const Difference& difference : differences) {
    for (const char* extension : {".png", ".json"}) {
      const std::string file = difference.name + extension;
      if (difference.kind == "extra") {
        fs::remove(goldens / file);
      } else {
        acceptGolden(goldens / file, readOrThrow(report / "actual" / file));
      }
    }
  }
  const fs::path findings = acceptedFindings(settings, goldens);
  if (!findings.empty() && !fs::exists(goldens / kAcceptedFindingsFile)) {
    acceptGolden(goldens / kAcceptedFindingsFile, readOrThrow(findings));
  }
  // The page and the list cover all images, so a part of the images can't renew them.
  if (settings.kind.empty() && !settings.defaultDeviceOnly) {
    const Document document = sheetDocument(images);
    acceptGolden(goldens / "index.html", document.page);
    acceptGolden(goldens / "sheet.json", document.json);
  }
}

}  // namespace

SheetResult makeSheet(const SheetSettings& settings, const fs::path& output) {
  const auto kinds = kindsOf({});
  OutputFolder folder(output, {.what = "sheet", .files = kSheetFiles, .folders = kinds});
  std::vector<SheetImage> images =
      renderImages(settings, [&](const std::string& name, const RenderedImage& image, Renderer&) {
        folder.write(name + ".png", image.png);
        folder.write(name + ".json", image.list);
      });
  if (!settings.acceptedFindings.empty()) {
    markAccepted(settings.acceptedFindings, images);
  }
  const Document document = sheetDocument(images);
  folder.write("index.html", document.page);
  folder.write("sheet.json", document.json);
  folder.publish();
  return resultOf(images, 0);
}

SheetResult verifySheet(const SheetSettings& settings,
                        const fs::path& goldens,
                        const fs::path& report,
                        GoldensUse use) {
  OutputFolder folder(report, {.what = "report", .files = kReportFiles, .folders = kReportFolders});
  std::mutex mutex;
  std::vector<Difference> differences;
  std::vector<SheetImage> images = renderImages(
      settings, [&](const std::string& name, const RenderedImage& image, Renderer& renderer) {
        if (auto difference = compareWithGolden(goldens, name, image, renderer, folder)) {
          const std::scoped_lock lock(mutex);
          differences.push_back(*std::move(difference));
        }
      });
  std::set<std::string> known;
  for (const RenderJob& job : allRenderJobs()) {
    known.insert(job.name());
  }
  std::ranges::move(extraGoldens(goldens, kindsOf(settings), known),
                    std::back_inserter(differences));
  std::ranges::sort(differences, {}, &Difference::name);
  if (const fs::path file = acceptedFindings(settings, goldens); !file.empty()) {
    markAccepted(file, images);
  }
  const Document document = reportDocument(images, differences);
  folder.write("report.html", document.page);
  folder.write("report.json", document.json);
  folder.publish();
  if (use == GoldensUse::accept) {
    accept(settings, goldens, report, differences, images);
  }
  return resultOf(images, differences.size());
}

}  // namespace host
