#pragma once

#include <filesystem>
#include <span>

#include "host/sheet/sheet_output.h"

namespace host {

/// The name of the file of accepted findings in a folder of goldens.
inline constexpr const char* kAcceptedFindingsFile = "accepted-findings.json";

/// Marks the findings that the file accepts with the reason that it gives. The file is a JSON list
/// of {"widget", "check", "reason"}, each with an optional "state" and an optional "says", a part
/// of the finding's sentence. A `CommandError` names the file and what is wrong in it.
void markAccepted(const std::filesystem::path& file, std::span<SheetPicture> pictures);

}  // namespace host
