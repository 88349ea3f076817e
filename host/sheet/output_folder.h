#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "platform/support/file_descriptor.h"

namespace host {

/// A folder that appears as a whole: everything is written aside, and takes its place in one go at
/// the end. A run that is interrupted leaves the folder as it was, but for what it wrote aside,
/// which the next run removes.
///
/// Only folders that hold nothing else are replaced: a new one, an empty one, or one that an
/// earlier run wrote. Anything else is refused with a `CommandError` that names it, and so is a
/// folder that another run is writing.
class OutputFolder {
 public:
  /// What such a folder holds: files, all of which are written, and folders of pictures. By the
  /// last of the files, JSON that begins with `"glancery": "what"`, it says what it is.
  struct Layout {
    std::string_view what;
    std::span<const std::string_view> files;
    std::span<const std::string_view> folders;
  };

  OutputFolder(std::filesystem::path folder, const Layout& layout);
  /// Removes what was written aside and never published.
  ~OutputFolder();
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;

  /// Writes a file aside, with the folders it lies in. From any thread.
  void write(const std::filesystem::path& file, std::string_view bytes);
  /// Puts everything that was written in the place of all that was there.
  void publish();

 private:
  std::filesystem::path folder_;
  std::filesystem::path aside_;
  Layout layout_;
  platform::FileDescriptor lock_;
};

}  // namespace host
