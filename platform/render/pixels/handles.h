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

/// An object of a library, made together with the function that releases it.
template <class T>
using Handle = std::shared_ptr<T>;

}  // namespace platform
