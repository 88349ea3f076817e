#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "host/sheet/checks.h"
#include "host/sheet/goldens.h"
#include "host/sheet/states/states.h"

// The JSON files and pages of a sheet and of a report. They depend on nothing but the images: not
// on the time, the machine or the folder.

namespace host {

/// An image of the sheet.
struct SheetImage {
  RenderJob job;
  /// In points.
  platform::Size size = {};
  std::vector<Finding> findings = {};
};

/// A JSON file, and a page that shows the same and needs no other file but the images.
struct Document {
  std::string json;
  std::string page;
};

/// {"glancery": "sheet", "pictures": [...]}: what tells the images apart, and their findings.
Document sheetDocument(std::span<const SheetImage> images);

/// {"glancery": "report", "pictures": COUNT, "differences": [...], "findings": [...]}: the
/// differences with their numbers, then the images that have findings.
Document reportDocument(std::span<const SheetImage> images,
                        std::span<const Difference> differences);

/// Marks the findings that the file accepts with the reason that the file gives. The file is a JSON
/// list of {"widget", "check", "reason"}, each with an optional "state" and an optional "says",
/// which is a part of the finding's text. Throws an error that names the file and what is wrong.
void markAccepted(const std::filesystem::path& file, std::span<SheetImage> images);

}  // namespace host
