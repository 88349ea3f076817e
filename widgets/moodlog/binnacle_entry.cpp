#include "widgets/moodlog/binnacle_entry.h"

namespace glancery {

using namespace platform;

Mirror mirror(const BinnacleEntry& entry) {
  std::vector<MirroredRecord> days;
  for (const MoodDay& day : entry.moodDays) {
    days.push_back({{"id", day.id.uuidString()},
                    {"date", day.date},
                    {"dayLabel", day.dayLabel},
                    {"mood", rawValue(day.mood)}});
  }
  return {{"date", entry.date},
          {"moodDays", std::move(days)},
          {"configuration", entry.configuration->className()},
          {"hasUid", entry.hasUid}};
}

}  // namespace glancery
