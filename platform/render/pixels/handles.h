#pragma once

#include <memory>

// The drawing libraries' own names for what they hand out, so that our headers do without theirs.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier, modernize-use-using): as the libraries declare them.
typedef struct _FcConfig FcConfig;
typedef struct _PangoContext PangoContext;
typedef struct _PangoFontMap PangoFontMap;
typedef struct _PangoLayout PangoLayout;
typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;
// NOLINTEND(bugprone-reserved-identifier, modernize-use-using)
}

namespace platform {

struct Release {
  void operator()(FcConfig* config) const;
  void operator()(PangoContext* context) const;
  void operator()(PangoFontMap* map) const;
  void operator()(PangoLayout* layout) const;
  void operator()(cairo_t* context) const;
  void operator()(cairo_surface_t* surface) const;
};

/// The one owner of a library's object.
template <class T>
using Handle = std::unique_ptr<T, Release>;

}  // namespace platform
