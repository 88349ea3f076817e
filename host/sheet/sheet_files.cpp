#include "host/sheet/sheet_files.h"

#include <cmath>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "host/pages/page_files.h"
#include "platform/support/files.h"
#include "platform/support/require.h"

namespace host {

/// The folder `pages`.
extern const std::span<const PageFile> kSheetPages;

namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(std::span<const Finding> findings) {
  Json array = Json::array();
  for (const Finding& finding : findings) {
    array.push_back({{"check", finding.name}, {"says", finding.says}});
    if (!finding.accepted.empty()) {
      array.back()["accepted"] = finding.accepted;
    }
  }
  return array;
}

Json jsonOf(const std::optional<PixelSize>& size) {
  return size ? Json{{"width", size->width}, {"height", size->height}} : Json(nullptr);
}

Json jsonOf(const Difference& difference) {
  Json json = {{"name", difference.name}, {"kind", difference.kind}};
  if (difference.actual) {
    json["expected"] = jsonOf(difference.expected);
    json["actual"] = jsonOf(difference.actual);
  }
  if (difference.kind == "pixels") {
    json["pixels"] = difference.pixels;
    json["largest"] = difference.largest;
    json["mean"] = std::round(difference.mean * 1e6) / 1e6;
  }
  if (!difference.reason.empty()) {
    json["reason"] = difference.reason;
  }
  return json;
}

Document documentOf(const Json& json, std::string_view page) {
  const auto text = [&](int indent) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
  };
  return {.json = text(2) + "\n",
          .page = documentPage(platform::require(pageFile(kSheetPages, page)), text(-1))};
}

/// An entry of the file of accepted findings; an empty `state` or `says` fits all.
struct AcceptedFinding {
  std::string widget, check, reason, state, says;

  bool covers(const SheetImage& image, const Finding& finding) const {
    return image.job.widget->kind == widget && finding.name == check &&
           (state.empty() || image.job.state->name == state) &&
           finding.says.find(says) != std::string::npos;
  }
};

std::vector<AcceptedFinding> readAccepted(const std::filesystem::path& file) {
  const auto bytes = platform::readFile(file);
  if (!bytes) {
    throw std::runtime_error(file.string() + " can't be read: " + bytes.error().message());
  }
  std::vector<AcceptedFinding> all;
  try {
    for (const Json& json : Json::parse(*bytes)) {
      AcceptedFinding accepted = {json.at("widget"),
                                  json.at("check"),
                                  json.at("reason"),
                                  json.value("state", ""),
                                  json.value("says", "")};
      if (accepted.reason.empty()) {
        throw std::runtime_error("its reason is empty");
      }
      all.push_back(std::move(accepted));
    }
  } catch (const std::exception& error) {
    throw std::runtime_error(file.string() + ": entry " + std::to_string(all.size() + 1) +
                             " is not a valid accepted finding: " + error.what());
  }
  return all;
}

}  // namespace

Document sheetDocument(std::span<const SheetImage> images) {
  Json all = Json::array();
  for (const auto& [job, size, findings] : images) {
    all.push_back({{"name", job.name()},
                   {"widget", job.widget->kind},
                   {"state", job.state->name},
                   {"locale", job.locale},
                   {"screen", job.screen->name},
                   {"scheme", job.schemeName()},
                   {"system", job.system},
                   {"width", size.width},
                   {"height", size.height},
                   {"findings", jsonOf(findings)}});
  }
  return documentOf({{"glancery", "sheet"}, {"pictures", std::move(all)}}, "/sheet.html");
}

Document reportDocument(std::span<const SheetImage> images,
                        std::span<const Difference> differences) {
  Json differing = Json::array();
  for (const Difference& difference : differences) {
    differing.push_back(jsonOf(difference));
  }
  Json found = Json::array();
  for (const SheetImage& image : images) {
    if (!image.findings.empty()) {
      found.push_back({{"name", image.job.name()}, {"findings", jsonOf(image.findings)}});
    }
  }
  return documentOf({{"glancery", "report"},
                     {"pictures", images.size()},
                     {"differences", std::move(differing)},
                     {"findings", std::move(found)}},
                    "/report.html");
}

void markAccepted(const std::filesystem::path& file, std::span<SheetImage> images) {
  const std::vector<AcceptedFinding> accepted = readAccepted(file);
  for (SheetImage& image : images) {
    for (Finding& finding : image.findings) {
      const auto entry = std::ranges::find_if(
          accepted, [&](const AcceptedFinding& one) { return one.covers(image, finding); });
      if (entry != accepted.end()) {
        finding.accepted = entry->reason;
      }
    }
  }
}

}  // namespace host
