#pragma once

#include <string>
#include <string_view>

namespace host {

/// The pages' sources, with `{{data}}` where their data goes.
extern const std::string_view kSheetPageSource;
extern const std::string_view kReportPageSource;

/// A page of that source about that JSON value.
std::string pageWith(std::string_view source, std::string_view json);

}  // namespace host
