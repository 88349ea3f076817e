#include "platform/render/text/typefaces.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>

#include <algorithm>
#include <iostream>
#include <system_error>
#include <utility>

#include "platform/foundation/data/property_list.h"
#include "platform/support/files.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

/// The font files of a folder, sorted, so that every machine opens them in the same order.
std::vector<fs::path> fontFiles(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    const std::string extension = entry.path().extension();
    if (extension == ".ttf" || extension == ".otf" || extension == ".ttc") {
      files.push_back(entry.path());
    }
  }
  std::ranges::sort(files);
  return files;
}

/// A configuration without fonts, current for the whole process. Without a current one, fontconfig
/// reads the machine's configuration and font caches when Pango's own threads initialise it.
FcConfig* noFonts() {
  static FcConfig* const config = [] {
    FcConfig* empty = FcConfigCreate();
    FcConfigSetCurrent(empty);
    return empty;
  }();
  return config;
}

Handle<PangoContext> exactContext(PangoFontMap* map) {
  Handle<PangoContext> context(pango_font_map_create_context(map), g_object_unref);
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
  pango_cairo_context_set_font_options(context.get(), options);
  cairo_font_options_destroy(options);
  pango_context_set_round_glyph_positions(context.get(), FALSE);
  // The default is the environment's language, which would affect the choice of typefaces.
  pango_context_set_language(context.get(), pango_language_from_string("en"));
  return context;
}

}  // namespace

std::expected<std::unique_ptr<Typefaces>, std::string> Typefaces::open(
    const fs::path& bundle, const fs::path& systemFonts) {
  noFonts();
  std::unique_ptr<Typefaces> typefaces(new Typefaces);
  typefaces->config_.reset(FcConfigCreate(), FcConfigDestroy);
  // The bundle's files come first: of two typefaces that fit equally well, the first is taken.
  if (auto added = typefaces->addBundleFonts(bundle); !added) {
    return std::unexpected(std::move(added).error());
  }
  if (auto added = typefaces->addSystemFonts(systemFonts); !added) {
    return std::unexpected(std::move(added).error());
  }
  typefaces->map_.reset(pango_cairo_font_map_new(), g_object_unref);
  pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(typefaces->map_.get()), typefaces->config_.get());
  typefaces->context_ = exactContext(typefaces->map_.get());
  return typefaces;
}

Typefaces::~Typefaces() {
  if (map_) {
    // Pango 1.50 never frees the last configuration of a font map.
    pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(map_.get()), noFonts());
  }
}

std::expected<void, std::string> Typefaces::add(const fs::path& file,
                                                std::set<std::string>& families) {
  const auto fonts = [this] { return FcConfigGetFonts(config_.get(), FcSetApplication); };
  const int before = fonts() ? fonts()->nfont : 0;
  FcConfigAppFontAddFile(config_.get(), reinterpret_cast<const FcChar8*>(file.c_str()));
  const int after = fonts() ? fonts()->nfont : 0;
  if (after == before) {
    std::error_code ignored;
    return std::unexpected(file.string() + (fs::exists(file, ignored)
                                                ? ": not a typeface that can be read"
                                                : ": no such typeface file"));
  }
  for (int i = before; i < after; ++i) {
    FcChar8* family = nullptr;
    for (int n = 0; FcPatternGetString(fonts()->fonts[i], FC_FAMILY, n, &family) == FcResultMatch;
         ++n) {
      families.emplace(reinterpret_cast<const char*>(family));
    }
  }
  return {};
}

std::expected<void, std::string> Typefaces::addSystemFonts(const fs::path& folder) {
  std::set<std::string> families;
  for (const fs::path& file : fontFiles(folder)) {
    if (auto added = add(file, families); !added) {
      return added;
    }
    if (systemFamily_.empty()) {
      systemFamily_ = *families.begin();
    }
  }
  if (systemFamily_.empty()) {
    return std::unexpected(folder.string() + ": no typeface in the system's fonts folder");
  }
  unopenedFallbacks_ = fontFiles(folder / "Fallback");
  return {};
}

std::expected<void, std::string> Typefaces::addBundleFonts(const fs::path& bundle) {
  const fs::path file = bundle / "Info.plist";
  const auto failure = [&](const std::string& what) {
    return std::unexpected(file.string() + ": " + what);
  };
  const auto bytes = readFile(file);
  if (!bytes) {
    return failure(bytes.error().message());
  }
  const auto list = NSPropertyListSerialization::propertyListWithData(*bytes);
  const Dictionary* info = list ? list->dictionary() : nullptr;
  if (!info) {
    return failure("not a property list of an Info dictionary");
  }
  if (const Value* names = info->find("UIAppFonts")) {
    if (!names->array()) {
      return failure("UIAppFonts is not an array");
    }
    for (const Value& name : *names->array()) {
      const auto* text = name.as<std::string>();
      if (!text) {
        return failure("UIAppFonts has an element that is not a string");
      }
      if (auto added = add(bundle / *text, bundleFamilies_); !added) {
        return added;
      }
    }
  }
  if (const Value* aliases = info->find("GlanceryFontAliases")) {
    if (!aliases->dictionary()) {
      return failure("GlanceryFontAliases is not a dictionary");
    }
    for (const auto& [name, target] : *aliases->dictionary()) {
      const auto* family = target.as<std::string>();
      if (!family || !bundleFamilies_.contains(*family)) {
        return failure("GlanceryFontAliases gives \"" + name +
                       "\" a family that no file of UIAppFonts has");
      }
      aliases_.emplace(name, *family);
    }
  }
  return {};
}

std::string Typefaces::families(const std::string& family) const {
  const auto alias = aliases_.find(family);
  const std::string& real = alias == aliases_.end() ? family : alias->second;
  return bundleFamilies_.contains(real) ? real + "," + systemFamily_ : systemFamily_;
}

bool Typefaces::openFallbacks() {
  if (unopenedFallbacks_.empty()) {
    return false;
  }
  for (const fs::path& file : std::exchange(unopenedFallbacks_, {})) {
    std::set<std::string> families;
    if (const auto added = add(file, families); !added) {
      // Measuring can't fail: the file's characters are drawn as boxes with their code points.
      std::cerr << "warning: " << added.error() << '\n';
    }
  }
  pango_fc_font_map_config_changed(PANGO_FC_FONT_MAP(map_.get()));
  return true;
}

}  // namespace platform
