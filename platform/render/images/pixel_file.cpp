#include "platform/render/images/pixel_file.h"

#include <fcntl.h>
#include <libdeflate.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <system_error>

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kMagic = 0x58'50'4C'47;  // "GLPX"
constexpr std::uint32_t kVersion = 1;
constexpr std::uint32_t kMaxSide = 16384;

struct Header {
  std::uint32_t magic = kMagic;
  std::uint32_t version = kVersion;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t scale = 0;
  std::uint32_t opaque = 0;
  DrawingIdentity drawing = {};
  double naturalWidth = 0;
  double naturalHeight = 0;
};
static_assert(sizeof(Header) == 48 && std::has_unique_object_representations_v<DrawingIdentity>);

struct Mapping {
  void* address = MAP_FAILED;
  std::size_t length = 0;

  Mapping(int file, std::size_t size)
      : address(mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0)), length(size) {}
  ~Mapping() {
    if (address != MAP_FAILED) {
      munmap(address, length);
    }
  }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;
};

/// Whether a side of so many pixels is one of that natural length; a part of a pixel counts whole.
bool isSide(std::uint32_t pixels, double points, std::uint32_t scale) {
  return pixels > 0 && pixels <= kMaxSide && points > 0 && points * scale <= pixels &&
         points * scale > pixels - 1.0;
}

/// What is wrong with a header and the length of its file; empty if nothing is.
std::string_view damage(const Header& header, std::size_t length) {
  if (header.magic != kMagic) {
    return "no file of ready pixels";
  }
  if (header.version != kVersion) {
    return "ready pixels of another version";
  }
  if (!isSide(header.width, header.naturalWidth, header.scale) ||
      !isSide(header.height, header.naturalHeight, header.scale) || header.opaque > 1) {
    return "ready pixels with a damaged header";
  }
  const auto pixels = static_cast<std::size_t>(header.width) * header.height;
  return length == sizeof(Header) + pixels * 4 ? "" : "ready pixels cut short or too long";
}

}  // namespace

DrawingIdentity identify(std::string_view drawing) {
  return {.bytes = static_cast<std::uint32_t>(drawing.size()),
          .checksum = libdeflate_crc32(0, drawing.data(), drawing.size())};
}

fs::path pixelFileFor(const fs::path& drawing, int scale) {
  return drawing.parent_path() /
         (drawing.stem().string() + "@" + std::to_string(scale) + "x.pixels");
}

std::expected<std::optional<PixelFile>, std::string> openPixelFile(const fs::path& file) {
  const auto failure = [&](std::string_view what) {
    return std::unexpected(file.string() + ": " + std::string(what));
  };
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    if (errno == ENOENT) {
      return std::nullopt;
    }
    return failure(std::strerror(errno));
  }
  struct stat status = {};
  fstat(descriptor, &status);
  const auto length = static_cast<std::size_t>(status.st_size);
  if (length < sizeof(Header)) {
    close(descriptor);
    return failure("ready pixels cut short or too long");
  }
  const auto mapping = std::make_shared<const Mapping>(descriptor, length);
  close(descriptor);
  if (mapping->address == MAP_FAILED) {
    return failure(std::strerror(errno));
  }
  Header header;
  std::memcpy(&header, mapping->address, sizeof header);
  if (const auto wrong = damage(header, length); !wrong.empty()) {
    return failure(wrong);
  }
  const auto* pixels = static_cast<const std::uint32_t*>(mapping->address) + sizeof(Header) / 4;
  return PixelFile{.drawing = header.drawing,
                   .scale = static_cast<int>(header.scale),
                   .picture = wrapPicture(mapping,
                                          pixels,
                                          static_cast<int>(header.width),
                                          static_cast<int>(header.height),
                                          header.opaque != 0,
                                          {header.naturalWidth, header.naturalHeight})};
}

std::expected<void, std::string> writePixelFile(const fs::path& file, const PixelFile& content) {
  const Picture& picture = content.picture;
  const Header header{.width = static_cast<std::uint32_t>(picture.width),
                      .height = static_cast<std::uint32_t>(picture.height),
                      .scale = static_cast<std::uint32_t>(content.scale),
                      .opaque = picture.opaque ? 1U : 0U,
                      .drawing = content.drawing,
                      .naturalWidth = picture.naturalSize.width,
                      .naturalHeight = picture.naturalSize.height};
  fs::path temporary = file;
  temporary += ".new";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(&header), sizeof header);
    for (int y = 0; y < picture.height; ++y) {
      const auto row = std::as_bytes(picture.row(y));
      out.write(reinterpret_cast<const char*>(row.data()),
                static_cast<std::streamsize>(row.size()));
    }
    if (!out.flush()) {
      return std::unexpected(temporary.string() + ": can't be written");
    }
  }
  std::error_code error;
  fs::rename(temporary, file, error);
  if (error) {
    return std::unexpected(file.string() + ": " + error.message());
  }
  return {};
}

}  // namespace platform
