#include "widgets/checkin/checkin_simple_entry.h"

namespace glancery {

platform::Mirror mirror(const CheckinSimpleEntry& entry) {
  return {{"date", entry.date},
          {"configuration", entry.configuration->className()},
          {"hasUid", entry.hasUid}};
}

}  // namespace glancery
