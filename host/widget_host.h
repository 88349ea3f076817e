#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/device_options.h"
#include "host/extension_process.h"
#include "platform/foundation/bundle.h"
#include "platform/render/renderer.h"
#include "platform/widgetkit/extension_protocol.h"

namespace host {

/// A widget as a gallery shows it, in the user's language.
struct GalleryItem {
  std::string kind;
  std::string displayName;
  std::string description;
  std::vector<platform::WidgetFamily> families;
};

/// The phone around the extension for one command: starts it, asks it, lays out what it answers.
/// What goes wrong ends the command with a `CommandError`.
class WidgetHost {
 public:
  explicit WidgetHost(HostSettings settings);

  const HostSettings& settings() const { return settings_; }

  std::vector<GalleryItem> gallery();
  /// Asks a widget's provider, in the widget's first family.
  platform::ArchivedTimeline provide(platform::ProvideRequest::What what, const std::string& kind);
  /// The family that `provide` asks for; an unknown kind is an error that lists the known ones.
  platform::WidgetFamily familyOf(const std::string& kind);

  /// Lays an entry out for the widget's size and the device's scheme.
  platform::DisplayList display(const platform::ArchivedEntry& entry,
                                platform::WidgetFamily family);
  /// Loaded at its first use: only commands that draw need typefaces and pictures.
  platform::Renderer& renderer();

  /// Every line of the extension so far.
  const std::vector<std::string>& log() const { return extension_->log(); }

 private:
  template <class Answer>
  Answer ask(platform::HostMessage::Content request);
  const std::vector<platform::WidgetDescription>& widgets();

  HostSettings settings_;
  std::unique_ptr<ExtensionProcess> extension_;
  std::optional<std::vector<platform::WidgetDescription>> widgets_;
  std::unique_ptr<platform::Renderer> renderer_;
};

}  // namespace host
