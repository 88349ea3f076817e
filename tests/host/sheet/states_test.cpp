#include "host/sheet/states/states.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "store/shared_store.h"
#include "tests/host/command_line.h"

namespace {

using namespace glancery;
using namespace world;
using Names = std::set<std::string>;

TEST(States, WriteKnownKeysOnly) {
  // The keys of the host app, and those that the extension writes.
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

TEST(States, WithDifferentNamesShowDifferentThings) {
  const Folder folder;
  const ProgramEnd ran = run(GLANCERY_BUILD "/glancery", {"sheet", "--quick", "-o", folder.path()});
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
          // The snapshot links to a signed-in user's pages, the placeholder does not.
          std::pair(kCheckinKind, Names{"signed-in", "snapshot"}),
          std::pair(kCheckinKind, Names{"signed-out", "placeholder"}),
          // No record, a damaged one and a count of zero all show a streak of zero days.
          std::pair(kStreakKind,
                    Names{"no-record.morning", "unreadable-record", "yesterday-0-days.morning"}),
          // Without a user, and in the gallery, the widget invites to sign in.
          std::pair(kAffirmationKind, Names{"signed-out", "placeholder", "snapshot"}),
          std::pair(kAffirmationKind, Names{"nothing-stored", "unreadable-record"}),
          // An unknown colour looks like an empty one.
          std::pair(kAffirmationKind, Names{"unknown-colour.brief", "no-colour.brief"}),
          std::pair(kAffirmationKind, Names{"unknown-colour.usual", "no-colour.usual"}),
          // The sheet's week equals the sample week of the gallery.
          std::pair(kBinnacleKind, Names{"mixed-week", "snapshot"}),
          std::pair(kBinnacleKind, Names{"empty-week", "no-record", "unreadable-record"})));
}

TEST(States, HaveNoFindingsWithoutAReason) {
  const Folder folder;
  const ProgramEnd ran = run(GLANCERY_BUILD "/glancery",
                             {"sheet",
                              "-o",
                              folder.path(),
                              "--accepted-findings",
                              GLANCERY_TEST_DATA "/accepted_findings.json"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_THAT(ran.out, ::testing::HasSubstr(" pictures, 0 findings, "));
}

}  // namespace
