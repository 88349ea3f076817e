#pragma once

namespace CLI {
class App;
}

// The commands of the program, a file each. Every function adds one to the command line; its work
// is done when the command line is parsed, and a `CommandError` ends it.

namespace host {

void addGalleryCommand(CLI::App& app);
/// placeholder, snapshot, timeline
void addProviderCommands(CLI::App& app);
void addRenderCommand(CLI::App& app);
/// Pictures of everything that the widgets can show, and comparing them with earlier ones
void addSheetCommand(CLI::App& app);
void addTapCommand(CLI::App& app);
void addStoreCommand(CLI::App& app);
/// downloads, downloads cancel
void addDownloadsCommand(CLI::App& app);
/// The affirmation web API, for development
void addApiCommand(CLI::App& app);
/// home: the phone's home screen with every widget, live, as a page on loopback.
void addHomeCommand(CLI::App& app);
/// The host app's side: app sign-in, sign-out, streak
void addAppCommand(CLI::App& app);

}  // namespace host
