#include "host/commands/version.h"

namespace host {

const char* version() {
  return GLANCERY_VERSION;
}

}  // namespace host
