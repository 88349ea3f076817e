#pragma once

#include <utility>

#include "platform/swiftui/archived_view.h"
#include "platform/swiftui/color_scheme.h"

namespace platform {

/// Values that a view inherits from the views around it.
struct EnvironmentValues {
  ColorScheme colorScheme = ColorScheme::light;
  TextAlignment multilineTextAlignment = TextAlignment::leading;
};

namespace detail {
inline constexpr EnvironmentValues kDefaultEnvironment;
inline constinit thread_local const EnvironmentValues* environment = &kDefaultEnvironment;
}  // namespace detail

/// The environment of the body that this thread is evaluating; the defaults outside of a body.
inline const EnvironmentValues& currentEnvironment() {
  return *detail::environment;
}

/// Makes `values` current on this thread while it lives.
class EnvironmentScope {
 public:
  explicit EnvironmentScope(const EnvironmentValues& values)
      : outer_(std::exchange(detail::environment, &values)) {}
  ~EnvironmentScope() { detail::environment = outer_; }
  EnvironmentScope(const EnvironmentScope&) = delete;
  EnvironmentScope& operator=(const EnvironmentScope&) = delete;

 private:
  const EnvironmentValues* outer_;
};

/// A field of a view that reads a value of the environment when the view's body is evaluated:
/// `Environment<&EnvironmentValues::colorScheme> _colorScheme;`
template <auto Member>
struct Environment {
  auto wrappedValue() const { return currentEnvironment().*Member; }
};
using ColorSchemeEnvironment = Environment<&EnvironmentValues::colorScheme>;

}  // namespace platform
