#pragma once

#include <filesystem>
#include <span>
#include <string_view>

#include "platform/support/file_descriptor.h"

namespace host {

/// A folder that is replaced as a whole: all files are written to a temporary folder inside it, and
/// `publish` moves them into place. An interrupted run leaves the earlier contents and the
/// temporary folder, which the next run removes.
///
/// Replaces only a new or empty folder, or one that an earlier run wrote. Refuses any other, and
/// one that another run is writing, with an error that names it.
class OutputFolder {
 public:
  /// What the folder may hold: these files, all of which a run writes, and these folders of images.
  /// The last file is JSON that starts with `"glancery": "what"`, which marks the folder as ours.
  struct Layout {
    std::string_view what;
    std::span<const std::string_view> files;
    std::span<const std::string_view> folders;
  };

  OutputFolder(std::filesystem::path folder, const Layout& layout);
  /// Removes what was written but not published.
  ~OutputFolder();
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;

  /// Writes a file, and the folders it is in, to the temporary folder. Safe from any thread.
  void write(const std::filesystem::path& file, std::string_view bytes);
  /// Replaces the earlier contents by the files written.
  void publish();

 private:
  std::filesystem::path folder_;
  std::filesystem::path unfinished_;
  Layout layout_;
  platform::FileDescriptor lock_;
};

}  // namespace host
