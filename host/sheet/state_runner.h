#pragma once

#include <filesystem>

#include "host/phone/widget_host.h"
#include "host/sheet/states/states.h"
#include "platform/support/scratch_folder.h"

namespace host {

/// Runs the extension for one render job after the other: one process for all of them, in a
/// temporary container that is removed with the runner. No download is carried out: a download
/// that the extension starts stays in the container's queue.
///
/// Sets the shared container and the current device of this process. Used by one thread.
class StateRunner {
 public:
  /// `extension` is the absolute path of the bundle's folder.
  explicit StateRunner(const std::filesystem::path& extension);

  /// What the widget shows in the job's state on the job's device. Throws what went wrong, with
  /// the job's name.
  platform::ArchivedEntry entryOf(const RenderJob& job);
  /// In points.
  platform::Size sizeOf(const RenderJob& job);
  /// Of the device of the latest `entryOf`.
  platform::EdgeInsets contentMargins() const { return host_->settings().contentMargins(); }

 private:
  platform::ScratchFolder container_ = platform::ScratchFolder::inMemory();
  HostSettings settings_;
  std::unique_ptr<WidgetHost> host_;
};

}  // namespace host
