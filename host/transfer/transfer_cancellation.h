#pragma once

#include <expected>
#include <filesystem>
#include <string>
#include <vector>

// How one process asks another that runs a task to cancel it: by a file named after the task in
// `Transfers/cancel`, which the other looks at now and then and removes once it has been heeded.

namespace host {

std::expected<void, std::string> requestCancellation(const std::filesystem::path& transfers,
                                                     const std::string& id);
/// The tasks that are to be cancelled, of whatever host.
std::vector<std::string> cancellations(const std::filesystem::path& transfers);
void dropCancellation(const std::filesystem::path& transfers, const std::string& id);

}  // namespace host
