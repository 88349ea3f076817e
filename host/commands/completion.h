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

/// The candidates for the last of `words`, which are the arguments typed so far; that word is
/// incomplete, or empty. Empty where a file or free text stands.
std::vector<std::string> completions(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace host
