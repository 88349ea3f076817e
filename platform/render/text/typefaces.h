#pragma once

#include <expected>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "platform/render/pixels/handles.h"
#include "platform/swiftui/font.h"

namespace platform {

/// Hold this while opening typefaces, measuring or drawing text. Below Pango, all renderers of the
/// process share the faces of a file, and the drawing library does not lock them. A thread may hold
/// several.
class TextLock {
 public:
  TextLock() : lock_(mutex_) {}

 private:
  inline static std::recursive_mutex mutex_;
  std::scoped_lock<std::recursive_mutex> lock_;
};

/// The typefaces that a bundle's texts are set in; no others of the machine are used.
///
/// The files directly in the system's fonts folder are the system typeface. The files of its folder
/// `Fallback` are opened only when a text has a character that no typeface has, because opening a
/// large one takes longer than drawing a widget. The bundle adds the files of its `UIAppFonts`.
///
/// `GlanceryFontAliases` in the bundle's Info dictionary maps the name of a typeface that the
/// bundle can't contain to the family that replaces it.
class Typefaces {
 public:
  /// The error names the file at fault.
  static std::expected<std::unique_ptr<Typefaces>, std::string> open(
      const std::filesystem::path& bundle, const std::filesystem::path& systemFonts);

  ~Typefaces();

  PangoContext* context() const { return context_.get(); }

  /// The families to set a text in, best first and separated by commas: `family` if the bundle has
  /// it, then the system's.
  std::string families(const std::string& family) const;

  /// Opens the fallback typefaces; false if there are none or they are open already. Texts that
  /// were shaped before must be shaped again.
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
