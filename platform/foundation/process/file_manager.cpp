#include "platform/foundation/process/file_manager.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "platform/support/files.h"

namespace platform {

namespace {

// The platform's codes.
constexpr std::int64_t kNoSuchFile = 4;
constexpr std::int64_t kReadUnknown = 256;
constexpr std::int64_t kReadNoPermission = 257;
constexpr std::int64_t kReadNoSuchFile = 260;
constexpr std::int64_t kWriteUnknown = 512;
constexpr std::int64_t kWriteNoPermission = 513;
constexpr std::int64_t kWriteReadOnlyVolume = 642;

std::unexpected<NSError> fileError(std::int64_t code,
                                   const std::filesystem::path& file,
                                   const std::string& what) {
  return std::unexpected(NSError{
      NSCocoaErrorDomain, code, "The file “" + file.filename().string() + "” couldn’t be " + what});
}

std::unexpected<NSError> notAFileURL(std::int64_t code, const URL& url) {
  return std::unexpected(
      NSError{NSCocoaErrorDomain, code, "“" + url.absoluteString() + "” is not a file URL."});
}

}  // namespace

std::expected<void, NSError> NSFileManager::removeItemAtURL(const URL& url) const {
  const auto file = url.path();
  if (!file) {
    return notAFileURL(kWriteUnknown, url);
  }
  std::error_code error;
  if (std::filesystem::remove(*file, error)) {
    return {};
  }
  if (!error || error == std::errc::no_such_file_or_directory) {
    return fileError(kNoSuchFile, *file, "removed because it doesn’t exist.");
  }
  if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted) {
    return fileError(kWriteNoPermission, *file, "removed because you don’t have permission.");
  }
  if (error == std::errc::read_only_file_system) {
    return fileError(kWriteReadOnlyVolume, *file, "removed: the volume is read only.");
  }
  return fileError(kWriteUnknown, *file, "removed (" + error.message() + ").");
}

std::expected<Data, NSError> dataWithContentsOfURL(const URL& url) {
  const auto file = url.path();
  if (!file) {
    return notAFileURL(kReadUnknown, url);
  }
  auto bytes = readFile(*file);
  if (bytes) {
    return Data{*std::move(bytes)};
  }
  if (bytes.error() == std::errc::no_such_file_or_directory) {
    return fileError(kReadNoSuchFile, *file, "opened because there is no such file.");
  }
  if (bytes.error() == std::errc::permission_denied) {
    return fileError(
        kReadNoPermission, *file, "opened because you don’t have permission to view it.");
  }
  return fileError(kReadUnknown, *file, "opened (" + bytes.error().message() + ").");
}

}  // namespace platform
