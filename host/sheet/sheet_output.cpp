#include "host/sheet/sheet_output.h"

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

#include "host/sheet/page.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(std::span<const Finding> findings) {
  Json array = Json::array();
  for (const Finding& finding : findings) {
    array.push_back({{"check", nameOf(finding.check)}, {"says", finding.says}});
    if (!finding.accepted.empty()) {
      array.back()["accepted"] = finding.accepted;
    }
  }
  return array;
}

Json jsonOf(const SheetPicture& picture) {
  const Shot& shot = picture.shot;
  return {{"name", shot.name()},
          {"widget", shot.widget->kind},
          {"state", shot.state->name},
          {"locale", shot.locale},
          {"screen", shot.screen->name},
          {"scheme", shot.schemeName()},
          {"system", shot.system},
          {"width", picture.size.width},
          {"height", picture.size.height},
          {"findings", jsonOf(picture.findings)}};
}

Json jsonOf(const std::optional<PixelSize>& size) {
  return size ? Json{{"width", size->width}, {"height", size->height}} : Json(nullptr);
}

Json jsonOf(const Difference& difference) {
  Json json = {{"name", difference.name}, {"kind", nameOf(difference.kind)}};
  if (difference.actual) {
    json["expected"] = jsonOf(difference.expected);
    json["actual"] = jsonOf(difference.actual);
  }
  if (difference.kind == Difference::Kind::pixels) {
    json["pixels"] = difference.numbers.pixels;
    json["largest"] = difference.numbers.largest;
    // To a millionth: more digits are of no use to anyone.
    json["mean"] = std::round(difference.numbers.mean * 1e6) / 1e6;
  }
  if (!difference.reason.empty()) {
    json["reason"] = difference.reason;
  }
  return json;
}

Json sheetOf(std::span<const SheetPicture> pictures) {
  Json all = Json::array();
  for (const SheetPicture& picture : pictures) {
    all.push_back(jsonOf(picture));
  }
  return {{"glancery", "sheet"}, {"pictures", std::move(all)}};
}

Json reportOf(std::span<const SheetPicture> pictures, std::span<const Difference> differences) {
  Json differing = Json::array();
  for (const Difference& difference : differences) {
    differing.push_back(jsonOf(difference));
  }
  Json found = Json::array();
  for (const SheetPicture& picture : pictures) {
    if (!picture.findings.empty()) {
      found.push_back({{"name", picture.shot.name()}, {"findings", jsonOf(picture.findings)}});
    }
  }
  return {{"glancery", "report"},
          {"pictures", pictures.size()},
          {"differences", std::move(differing)},
          {"findings", std::move(found)}};
}

std::string printed(const Json& json, int indent) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::span<const std::string_view> sheetFolders() {
  static const auto kFolders = [] {
    std::vector<std::string_view> folders;
    std::ranges::transform(sheetWidgets(), std::back_inserter(folders), &SheetWidget::kind);
    return folders;
  }();
  return kFolders;
}

std::size_t countFindings(std::span<const SheetPicture> pictures) {
  std::size_t count = 0;
  for (const SheetPicture& picture : pictures) {
    count += std::ranges::count(picture.findings, std::string(), &Finding::accepted);
  }
  return count;
}

std::string sheetJSON(std::span<const SheetPicture> pictures) {
  return printed(sheetOf(pictures), 2) + "\n";
}

std::string sheetPage(std::span<const SheetPicture> pictures) {
  return pageWith(kSheetPageSource, printed(sheetOf(pictures), -1));
}

std::string reportJSON(std::span<const SheetPicture> pictures,
                       std::span<const Difference> differences) {
  return printed(reportOf(pictures, differences), 2) + "\n";
}

std::string reportPage(std::span<const SheetPicture> pictures,
                       std::span<const Difference> differences) {
  return pageWith(kReportPageSource, printed(reportOf(pictures, differences), -1));
}

}  // namespace host
