#include "platform/render/images/pixel_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <span>
#include <string_view>
#include <system_error>

#include "platform/render/pixels/bitmap.h"
#include "platform/support/file_descriptor.h"
#include "platform/support/files.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kMagic = 0x58'50'4C'47;  // "GLPX"
constexpr std::uint32_t kVersion = 2;
constexpr std::string_view kWrongLength = "pre-rendered pixels cut short or too long";

struct Header {
  std::uint32_t magic = kMagic;
  std::uint32_t version = kVersion;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t scale = 0;
  std::uint32_t opaque = 0;
  std::uint64_t drawingChecksum = 0;
  double naturalWidth = 0;
  double naturalHeight = 0;
};
static_assert(sizeof(Header) == 48);

/// Whether a side of `points` takes that many pixels; a part of a pixel counts whole.
bool isSide(std::uint32_t pixels, double points, std::uint32_t scale) {
  return pixels > 0 && pixels <= kMaxSide && points > 0 && points * scale <= pixels &&
         points * scale > pixels - 1.0;
}

/// What is wrong with a header and the length of its file; empty if nothing is.
std::string_view damage(const Header& header, std::size_t length) {
  if (header.magic != kMagic) {
    return "not a file of pre-rendered pixels";
  }
  if (header.version != kVersion) {
    return "pre-rendered pixels of another version";
  }
  if (!isSide(header.width, header.naturalWidth, header.scale) ||
      !isSide(header.height, header.naturalHeight, header.scale) || header.opaque > 1) {
    return "pre-rendered pixels with a damaged header";
  }
  const auto pixels = static_cast<std::size_t>(header.width) * header.height;
  return length == sizeof(Header) + pixels * 4 ? "" : kWrongLength;
}

}  // namespace

fs::path pixelFileFor(const fs::path& drawing, int scale) {
  return drawing.parent_path() /
         (drawing.stem().string() + "@" + std::to_string(scale) + "x.pixels");
}

std::expected<std::optional<Picture>, std::string> openPixelFile(const fs::path& file,
                                                                 std::uint64_t drawingChecksum) {
  const auto failure = [&](std::string_view what) {
    return std::unexpected(file.string() + ": " + std::string(what));
  };
  const FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  if (!descriptor && errno == ENOENT) {
    return std::nullopt;
  }
  struct stat status = {};
  if (!descriptor || ::fstat(descriptor.get(), &status) != 0) {
    return failure(std::strerror(errno));
  }
  const auto length = static_cast<std::size_t>(status.st_size);
  if (length < sizeof(Header)) {
    return failure(kWrongLength);
  }
  void* const address = ::mmap(nullptr, length, PROT_READ, MAP_PRIVATE, descriptor.get(), 0);
  if (address == MAP_FAILED) {
    return failure(std::strerror(errno));
  }
  const std::shared_ptr<void> mapping(address, [length](void* at) { ::munmap(at, length); });
  Header header;
  std::memcpy(&header, address, sizeof header);
  if (const auto wrong = damage(header, length); !wrong.empty()) {
    return failure(wrong);
  }
  if (header.drawingChecksum != drawingChecksum) {
    return std::nullopt;
  }
  const auto* pixels = static_cast<const std::uint32_t*>(address) + sizeof(Header) / 4;
  return makePicture(std::shared_ptr<const std::uint32_t[]>(mapping, pixels),
                     static_cast<int>(header.width),
                     static_cast<int>(header.height),
                     {header.naturalWidth, header.naturalHeight},
                     header.opaque != 0);
}

std::expected<void, std::string> writePixelFile(const fs::path& file,
                                                std::uint64_t drawingChecksum,
                                                int scale,
                                                const Picture& picture) {
  const Header header{.width = static_cast<std::uint32_t>(picture.width),
                      .height = static_cast<std::uint32_t>(picture.height),
                      .scale = static_cast<std::uint32_t>(scale),
                      .opaque = picture.opaque ? 1U : 0U,
                      .drawingChecksum = drawingChecksum,
                      .naturalWidth = picture.naturalSize.width,
                      .naturalHeight = picture.naturalSize.height};
  std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
  const auto pixels = std::as_bytes(picture.allPixels());
  bytes.append(reinterpret_cast<const char*>(pixels.data()), pixels.size());
  if (const auto error = replaceFile(file, bytes)) {
    return std::unexpected(file.string() + ": " + error.message());
  }
  return {};
}

}  // namespace platform
