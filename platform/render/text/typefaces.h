#pragma once

#include <expected>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/render/pixels/handles.h"
#include "platform/swiftui/font.h"

namespace platform {

/// The typefaces that a bundle's texts are set in, and no other of the machine.
///
/// The files directly in the system's fonts folder are the system typeface; those of its folder
/// `Fallback` are opened only when a text has a character that no typeface has, because a large one
/// takes longer to open than a widget to draw. The bundle adds the files of its `UIAppFonts`.
///
/// `GlanceryFontAliases` in the bundle's Info dictionary says which family answers to a name whose
/// own typeface the bundle can't carry.
class Typefaces {
 public:
  /// The error names the file at fault.
  static std::expected<std::unique_ptr<Typefaces>, std::string> open(
      const std::filesystem::path& bundle, const std::filesystem::path& systemFonts);

  ~Typefaces();

  PangoContext* context() const { return context_.get(); }

  /// The families to set a text in, best first and separated by commas: the one asked for if there
  /// is one of that name, then the system's.
  std::string families(const std::string& family) const;

  /// Opens the fallback typefaces; false if there are none or they are open already. What was
  /// shaped before has to be shaped again.
  bool openFallbacks();

 private:
  Typefaces() = default;
  /// Adds one file's families to `families`; the error names the file.
  std::expected<void, std::string> add(const std::filesystem::path& file,
                                       std::set<std::string>& families);
  std::expected<void, std::string> addSystemFonts(const std::filesystem::path& folder);
  std::expected<void, std::string> addBundleFonts(const std::filesystem::path& bundle);

  Handle<FcConfig> config_;
  Handle<PangoFontMap> map_;
  Handle<PangoContext> context_;
  std::string systemFamily_;
  std::set<std::string> bundleFamilies_;
  std::map<std::string, std::string> aliases_;
  std::vector<std::filesystem::path> unopenedFallbacks_;
};

}  // namespace platform
