#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>

// The contact sheet: every widget in every state on every device that makes a difference, as
// images, display lists and a page with filters.

namespace host {

/// The name of the file of accepted findings in a folder of goldens; see `markAccepted`.
inline constexpr const char* kAcceptedFindingsFile = "accepted-findings.json";

struct SheetSettings {
  /// The extension's bundle, absolute.
  std::filesystem::path extension;
  /// The folder of the system's typefaces.
  std::filesystem::path systemFonts;
  /// Renders only this widget; empty means all of them.
  std::string kind = {};
  /// Renders every state on the default device only.
  bool defaultDeviceOnly = false;
  /// If empty, the file in the goldens, where there is one.
  std::filesystem::path acceptedFindings = {};
  /// Called often on the calling thread with the number of finished images and of all images.
  std::function<void(std::size_t done, std::size_t total)> progress = [](auto, auto) {};
};

struct SheetResult {
  std::size_t images = 0;
  /// Findings without a reason to accept them.
  std::size_t newFindings = 0;
  std::size_t differences = 0;
};

/// Writes a sheet into the folder; see `OutputFolder` for the folders that it replaces. Throws an
/// error that names the file, job or entry that failed.
SheetResult makeSheet(const SheetSettings& settings, const std::filesystem::path& output);

enum class GoldensUse { compare, accept };

/// Renders the same images, compares them with a sheet in the folder `goldens`, and writes a report
/// into the folder `report`. `accept` then changes the goldens where they differ, removes extra
/// ones, and copies the accepted findings where the goldens have none. Throws as `makeSheet` does.
SheetResult verifySheet(const SheetSettings& settings,
                        const std::filesystem::path& goldens,
                        const std::filesystem::path& report,
                        GoldensUse use);

}  // namespace host
