#pragma once

#include <expected>
#include <filesystem>
#include <string>

#include "platform/foundation/data/value.h"

// How often each kind of widget is on the home screen, in
// `<container>/Library/Widgets/placed.json`.

namespace host {

inline constexpr int kMostPlaced = 9;

/// The counts by kind, 0 to `kMostPlaced`; empty if none was ever changed. The error names a file
/// that can't be read.
std::expected<platform::Dictionary, std::string> loadPlacedCounts(
    const std::filesystem::path& container);

/// Replaces the file in one step. Throws a `HostError` that names it.
void storePlacedCounts(const std::filesystem::path& container, const platform::Dictionary& counts);

}  // namespace host
