#include "widgets/affirmation/affirmation_entry.h"

namespace glancery {

platform::Mirror mirror(const AffirmationEntry& entry) {
  return {{"date", entry.date},
          {"affirmation", entry.affirmation},
          {"colorName", entry.colorName},
          {"hasUid", entry.hasUid}};
}

}  // namespace glancery
