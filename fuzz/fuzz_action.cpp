#include "fuzz/shared_records.h"
#include "host/home/home_actions.h"
#include "host/http/json_members.h"

using namespace host;

// The input is an action of the page. It is performed, or refused with a reason, on a phone whose
// extension can't be started.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::Phone device;
  static HomePhone phone({.extension = "/nonexistent", .container = fuzz::Phone::container()},
                         RefreshBudget());
  try {
    performAction(phone, std::string(fuzz::bytes(data, size)));
  } catch (const BadRequest& refused) {
    fuzz::expect(*refused.what() != '\0', "a refusal has a reason");
  } catch (const HostError& failed) {
    fuzz::expect(*failed.what() != '\0', "a failure has a reason");
  }
  phone.takeLog();
  return 0;
}
