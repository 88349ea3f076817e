#pragma once

#include <cstdint>
#include <string>

#include "host/commands/command_line.h"
#include "host/phone/host_settings.h"

namespace host {

/// What a command needs of the device: the number of options that it takes, the clock first.
enum class DeviceUse : std::uint8_t { clock = 1, calendar = 3, all = 8 };

/// Adds the options for device and container to a command, and with `all`, for commands that run
/// the extension, those for the extension. Before the command runs, the container is created if it
/// is missing, and device and container are made those of this process.
Command withDevice(DeviceUse use, Command command);

/// The phone that a command with a device plays, while it runs.
const HostSettings& phone();

Option extensionOption(std::string& folder);

/// The extension that `--extension` names; the one beside this program if the option is empty.
/// Throws a `CommandError` if there is none.
std::filesystem::path extensionFolder(const std::string& option);

}  // namespace host
