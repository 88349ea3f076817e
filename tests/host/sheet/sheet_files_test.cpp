#include "host/sheet/sheet_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace host {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// A finding may quote any text of a server.
TEST(SheetPages, EscapeTheirData) {
  SheetImage image = {.job = allRenderJobs().front()};
  image.findings.push_back({check::textTruncated, "</template><b>&lt;"});
  const Difference difference = {.kind = "unreadable", .name = "a", .reason = "</template><b>&lt;"};
  for (const Document& document :
       {sheetDocument({&image, 1}), reportDocument({&image, 1}, {&difference, 1})}) {
    EXPECT_THAT(document.json, HasSubstr("\"</template><b>&lt;\""));
    EXPECT_THAT(document.page, HasSubstr("\"&lt;/template>&lt;b>&amp;lt;\""));
    EXPECT_THAT(document.page, Not(HasSubstr("</template><b>")));
    EXPECT_THAT(document.page, Not(HasSubstr("{{")));
  }
}

}  // namespace
}  // namespace host
