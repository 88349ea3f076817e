#include <algorithm>
#include <cmath>

#include "fuzz/fuzz.h"
#include "platform/render/layout/layout.h"
#include "platform/widgetkit/extension_protocol.h"

using namespace platform;

namespace {

/// Every character is half as wide as the type size.
struct EvenMeasurer : TextMeasurer {
  TextLines breakLines(const ArchivedText& text, ProposedSize proposal) override {
    const double width = text.font.size / 2 * static_cast<double>(text.text.size());
    return {{std::min(width, proposal.width.value_or(width)), text.font.size}, {text.text}};
  }
};

}  // namespace

// The input is an answer of the extension. Its views are laid out, to finite frames, and every tap
// has an answer.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = decodeExtensionMessage(fuzz::bytes(data, size));
  const auto* timeline = message ? std::get_if<ArchivedTimeline>(&message->content) : nullptr;
  if (!timeline) {
    return 0;
  }
  EvenMeasurer text;
  for (const ArchivedEntry& entry : timeline->entries) {
    for (const ArchivedView* view : {&entry.light, &entry.dark}) {
      const DisplayList list =
          layOut(*view,
                 {158, 158},
                 {16, 16, 16, 16},
                 {.text = text,
                  .imageSize = [](std::string_view name) -> std::optional<Size> {
                    return name.empty() ? std::nullopt : std::optional(Size{30, 20});
                  },
                  .direction = entry.direction});
      for (const DisplayItem& item : list.items) {
        const auto& [x, y, width, height] = item.frame;
        fuzz::expect(std::isfinite(x + y + width + height), "a frame is finite");
        fuzz::expect(width >= 0 && height >= 0, "a frame has a size");
        linkAt(list, {x, y});
      }
      fuzz::expect(!displayListJSON(list).empty(), "a list can be printed");
    }
  }
  return 0;
}
