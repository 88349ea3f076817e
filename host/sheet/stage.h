#pragma once

#include <filesystem>

#include "host/phone/widget_host.h"
#include "host/sheet/shot.h"

namespace host {

/// A phone on which any state can be set, with a container of its own that lives as long: one
/// extension for all of them. Nothing is fetched: what an extension asks to download is noted in
/// the container and never carried out.
class Stage {
 public:
  /// `extension` as `--extension` takes it.
  explicit Stage(const std::string& extension);
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  const std::filesystem::path& extension() const { return base_.extension; }
  /// The phone as it was set last.
  const HostSettings& settings() const { return host_->settings(); }

  /// In points.
  platform::Size sizeOf(const Shot& shot);

  /// Sets the shot's state and phone, asks the widget, and answers what it shows now. A
  /// `CommandError` names the shot.
  platform::ArchivedEntry entryOf(const Shot& shot);

 private:
  void arrange(const Shot& shot);

  std::filesystem::path container_;
  HostSettings base_;
  std::unique_ptr<WidgetHost> host_;
};

}  // namespace host
