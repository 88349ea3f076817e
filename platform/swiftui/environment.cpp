#include "platform/swiftui/environment.h"

namespace platform {

namespace {

constexpr EnvironmentValues kDefaults;
thread_local const EnvironmentValues* current = &kDefaults;

}  // namespace

const EnvironmentValues& currentEnvironment() {
  return *current;
}

EnvironmentScope::EnvironmentScope(const EnvironmentValues& values) : outer_(current) {
  current = &values;
}

EnvironmentScope::~EnvironmentScope() {
  current = outer_;
}

}  // namespace platform
