#pragma once

#include <string>

namespace CLI {
class App;
}

namespace host {

/// The manual page (roff, section 1) of the program or of one command, from the definitions that
/// `--help` prints. `name` is the page's, such as "glancery-app-streak".
std::string manPage(const CLI::App& command, const std::string& name);

/// Writes the pages of `app` and of every command below it into `folder`, which is created. Throws
/// a `CommandError` or `std::filesystem::filesystem_error`.
void writeManPages(const CLI::App& app, const std::string& folder);

}  // namespace host
