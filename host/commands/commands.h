#pragma once

#include <functional>
#include <string>

#include "platform/widgetkit/extension_protocol.h"

namespace CLI {
class App;
}

// The commands of the program. Every `add` function adds one to the command line; the command runs
// when the command line is parsed. A `CommandError` ends it.

namespace host {

struct DeviceOptions;

void addGalleryCommand(CLI::App& app);
/// placeholder, snapshot, timeline
void addProviderCommands(CLI::App& app);
void addRenderCommand(CLI::App& app);
/// Images of all states of the widgets, and comparing them with earlier ones
void addSheetCommand(CLI::App& app);
void addTapCommand(CLI::App& app);
void addStoreCommand(CLI::App& app);
/// downloads, downloads cancel
void addDownloadsCommand(CLI::App& app);
/// The affirmation web API, for development
void addApiCommand(CLI::App& app);
/// The live home screen, as a page on loopback
void addHomeCommand(CLI::App& app);
/// Writes of the host app: app sign-in, sign-out, streak, mood, locale-change
void addAppCommand(CLI::App& app);

/// Adds a command that uses the suite but no extension; `action` runs when `device` is checked.
CLI::App* addSuiteCommand(CLI::App& group,
                          const char* name,
                          const char* description,
                          DeviceOptions& device,
                          const std::function<void()>& action);

/// The names of the three requests in the command line.
inline constexpr const char* kRequestNames[] = {"placeholder", "snapshot", "timeline"};

/// The request with this name; a `CommandError` names another word.
platform::ProvideRequest::What requestNamed(const std::string& name);

/// The texts of the items, separated by commas.
std::string listOf(const auto& items, const auto& textOf) {
  std::string list;
  for (const auto& item : items) {
    list += (list.empty() ? "" : ", ") + std::string(textOf(item));
  }
  return list;
}

}  // namespace host
