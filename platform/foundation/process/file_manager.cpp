#include "platform/foundation/process/file_manager.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "platform/support/files.h"

namespace platform {

namespace {

// The platform's numbers for what can be wrong with a file.
constexpr std::int64_t kNoSuchFile = 4;
constexpr std::int64_t kReadUnknown = 256;
constexpr std::int64_t kReadNoPermission = 257;
constexpr std::int64_t kReadNoSuchFile = 260;
constexpr std::int64_t kWriteUnknown = 512;
constexpr std::int64_t kWriteNoPermission = 513;
constexpr std::int64_t kWriteReadOnlyVolume = 642;

NSError fileError(std::int64_t code, const std::filesystem::path& file, const std::string& what) {
  return {NSCocoaErrorDomain, code, "The file “" + file.filename().string() + "” " + what};
}

NSError removalError(const std::filesystem::path& file, std::error_code error) {
  if (error == std::errc::no_such_file_or_directory) {
    return fileError(kNoSuchFile, file, "couldn’t be removed because it doesn’t exist.");
  }
  if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted) {
    return fileError(
        kWriteNoPermission, file, "couldn’t be removed because you don’t have permission.");
  }
  if (error == std::errc::read_only_file_system) {
    return fileError(kWriteReadOnlyVolume, file, "couldn’t be removed: the volume is read only.");
  }
  return fileError(kWriteUnknown, file, "couldn’t be removed (" + error.message() + ").");
}

NSError readingError(const std::filesystem::path& file, std::error_code error) {
  if (error == std::errc::no_such_file_or_directory) {
    return fileError(kReadNoSuchFile, file, "couldn’t be opened because there is no such file.");
  }
  if (error == std::errc::permission_denied) {
    return fileError(kReadNoPermission,
                     file,
                     "couldn’t be opened because you don’t have permission to view it.");
  }
  return fileError(kReadUnknown, file, "couldn’t be opened (" + error.message() + ").");
}

NSError notAFile(std::int64_t code, const URL& url) {
  return {NSCocoaErrorDomain, code, "“" + url.absoluteString() + "” is not a file’s address."};
}

}  // namespace

std::expected<void, NSError> NSFileManager::removeItemAtURL(const URL& url) const {
  const auto path = url.path();
  if (!path) {
    return std::unexpected(notAFile(kWriteUnknown, url));
  }
  std::error_code error;
  if (!std::filesystem::remove(*path, error)) {
    return std::unexpected(removalError(
        *path, error ? error : std::make_error_code(std::errc::no_such_file_or_directory)));
  }
  return {};
}

std::expected<Data, NSError> dataWithContentsOfURL(const URL& url) {
  const auto path = url.path();
  if (!path) {
    return std::unexpected(notAFile(kReadUnknown, url));
  }
  auto bytes = readFile(*path);
  if (!bytes) {
    return std::unexpected(readingError(*path, bytes.error()));
  }
  return Data{*std::move(bytes)};
}

}  // namespace platform
