#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/sheet/checks.h"
#include "host/sheet/goldens.h"
#include "host/sheet/output_folder.h"
#include "host/sheet/shot.h"

// What a sheet, and a comparison with an earlier one, leave in their folders. Nothing in it depends
// on when, where or in which folder it was made.

namespace host {

inline constexpr std::array<std::string_view, 2> kSheetFiles = {"index.html", "sheet.json"};
inline constexpr std::array<std::string_view, 2> kReportFiles = {"report.html", "report.json"};
inline constexpr std::array<std::string_view, 3> kReportFolders = {
    "expected", "actual", "difference"};

/// A folder for each widget's pictures.
std::span<const std::string_view> sheetFolders();

/// A picture of the sheet and what was found in it.
struct SheetPicture {
  Shot shot;
  platform::Size size = {};
  std::vector<Finding> findings = {};
};

/// Those that nobody has accepted.
std::size_t countFindings(std::span<const SheetPicture> pictures);

/// {"glancery": "sheet", "pictures": [...]}: the pictures in their order, with all that tells them
/// apart and what was found.
std::string sheetJSON(std::span<const SheetPicture> pictures);
/// The same as a page with filters, which needs no other file but the pictures.
std::string sheetPage(std::span<const SheetPicture> pictures);

/// {"glancery": "report", "pictures": COUNT, "differences": [...], "findings": [...]}: what differs
/// with its numbers, then the pictures in which something was found.
std::string reportJSON(std::span<const SheetPicture> pictures,
                       std::span<const Difference> differences);
/// The same as a page that shows expected, actual and difference side by side.
std::string reportPage(std::span<const SheetPicture> pictures,
                       std::span<const Difference> differences);

}  // namespace host
