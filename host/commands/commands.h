#pragma once

#include <string>

#include "host/commands/command_line.h"
#include "host/phone/host_settings.h"
#include "platform/support/file_descriptor.h"

// The commands of the program. One command runs in a process, so each keeps its options in a static
// variable.

namespace host {

Command galleryCommand();
/// `request` is placeholder, snapshot or timeline.
Command providerCommand(const std::string& request);
Command renderCommand();
Command sheetCommand();
Command tapCommand();
Command storeCommand();
Command downloadsCommand();
Command apiCommand();
Command homeCommand();
Command appCommand();
Command watchCommand();
Command drillCommand();
Command simulateCommand();
/// The shells' completion of the arguments.
Command completionCommand();
/// The manual pages of the program's commands.
Command manCommand(const Command& program, const std::string& version);

/// The longest wait of `--settle` in seconds, unless another one is given.
inline constexpr int kLongestSettling = 90;

/// Locks the folder of the phone's timelines: two home screens would overwrite each other's.
platform::FileDescriptor lockTimelines(const HostSettings& settings);

/// The kinds of the widgets in gallery order, for completion.
Words kinds();
Option kindArgument(std::string& kind);

}  // namespace host
