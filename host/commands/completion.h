#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace host {

/// The script that makes `shell` ("bash", "zsh" or "fish") complete the program's arguments. It
/// asks the program for the candidates (`glancery --complete WORD...`), so it never goes out of
/// date. Empty for any other shell.
std::string completionScript(const std::string& shell);

/// What may stand in place of the last of `words`, the arguments typed so far; the last one is
/// incomplete, or empty. Empty where a file or free text stands.
std::vector<std::string> completions(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace host
