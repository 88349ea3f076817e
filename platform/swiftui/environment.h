#pragma once

#include "platform/swiftui/archived_view.h"
#include "platform/swiftui/color_scheme.h"

namespace platform {

/// What a view inherits from the views around it.
struct EnvironmentValues {
  ColorScheme colorScheme = ColorScheme::light;
  TextAlignment multilineTextAlignment = TextAlignment::leading;
};

/// The environment of the body that this thread evaluates now; the defaults outside of one.
const EnvironmentValues& currentEnvironment();

/// Makes `values` current on this thread while it lives.
class EnvironmentScope {
 public:
  explicit EnvironmentScope(const EnvironmentValues& values);
  ~EnvironmentScope();
  EnvironmentScope(const EnvironmentScope&) = delete;
  EnvironmentScope& operator=(const EnvironmentScope&) = delete;

 private:
  const EnvironmentValues* outer_;
};

/// A view's field that reads one value of the environment whenever the view's body is evaluated:
/// `Environment<&EnvironmentValues::colorScheme> _colorScheme;`
template <auto Member>
struct Environment {
  auto wrappedValue() const { return currentEnvironment().*Member; }
};
using ColorSchemeEnvironment = Environment<&EnvironmentValues::colorScheme>;

}  // namespace platform
