#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "host/sheet/shot.h"
#include "store/shared_store.h"
#include "tests/host/command_line.h"

namespace {

using namespace glancery;
using namespace world;
using Names = std::set<std::string>;

TEST(States, WriteKnownKeysOnly) {
  // What the host app writes, and what an extension may have left before.
  const std::set<std::string_view> known = {kStreakDataKey,
                                            kSharedUidKey,
                                            kMoodsDataKey,
                                            kSuccessImageIndexKey,
                                            kFailImageIndexKey,
                                            kSuccessIndexLastUpdateDateKey,
                                            kFailIndexLastUpdateDateKey,
                                            kAffirmationDataKey,
                                            kAffirmationLastFetchKey};
  for (const host::SheetWidget& widget : host::sheetWidgets()) {
    for (const host::SheetState& state : widget.states) {
      for (const auto& [key, value] : state.suite()) {
        EXPECT_TRUE(known.contains(key)) << widget.kind << "/" << state.name << " writes " << key;
      }
    }
  }
}

TEST(States, OfDifferentNamesShowDifferentThings) {
  const Folder folder;
  const Ran ran = run(GLANCERY_BUILD "/glancery", {"sheet", "--quick", "-o", folder.path()});
  ASSERT_EQ(ran.status, 0) << ran.err;

  std::map<std::pair<std::string_view, std::string>, Names> shown;
  for (const host::SheetWidget& widget : host::sheetWidgets()) {
    for (const host::SheetState& state : widget.states) {
      const auto file = folder.path() / widget.kind / (state.name + ".es_MX.390x844.light.17.0");
      shown[{widget.kind, readWhole(file.string() + ".json") + readWhole(file.string() + ".png")}]
          .insert(state.name);
    }
  }
  std::set<std::pair<std::string_view, Names>> same;
  for (const auto& [what, names] : shown) {
    if (names.size() > 1) {
      same.insert({what.first, names});
    }
  }

  EXPECT_THAT(
      same,
      ::testing::UnorderedElementsAre(
          // The gallery shows a user's faces, the placeholder nobody's.
          std::pair(kCheckinKind, Names{"signed-in", "snapshot"}),
          std::pair(kCheckinKind, Names{"signed-out", "placeholder"}),
          // Nothing that can be read and nothing counted are both a streak of no days.
          std::pair(kStreakKind,
                    Names{"no-record.morning", "unreadable-record", "yesterday-0-days.morning"}),
          // Without a user, and in the gallery, stands the invitation to sign in.
          std::pair(kAffirmationKind, Names{"signed-out", "placeholder", "snapshot"}),
          std::pair(kAffirmationKind, Names{"nothing-stored", "unreadable-record"}),
          // A colour that is not known has the looks of none.
          std::pair(kAffirmationKind, Names{"unknown-colour.brief", "no-colour.brief"}),
          std::pair(kAffirmationKind, Names{"unknown-colour.usual", "no-colour.usual"}),
          // The gallery's week is made up, and the sheet's is the same.
          std::pair(kBinnacleKind, Names{"mixed-week", "snapshot"}),
          std::pair(kBinnacleKind, Names{"empty-week", "no-record", "unreadable-record"})));
}

TEST(States, ShowNothingThatIsAtFaultWithoutAReason) {
  const Folder folder;
  const Ran ran = run(GLANCERY_BUILD "/glancery",
                      {"sheet",
                       "-o",
                       folder.path(),
                       "--accepted-findings",
                       GLANCERY_TEST_DATA "/accepted_findings.json"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_THAT(ran.out, ::testing::HasSubstr(" pictures, 0 findings, "));
}

}  // namespace
