#include "network/network_manager.h"
#include "platform/dispatch/dispatch_queue.h"
#include "platform/foundation/data/debug_description.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/process/file_manager.h"
#include "platform/foundation/process/log.h"
#include "platform/support/utf8.h"
#include "platform/widgetkit/widget_center.h"
#include "store/shared_store.h"

namespace glancery {

using namespace platform;

namespace {

/// Bodies of this size and more are not logged.
constexpr std::size_t kLoggedBodyLimit = 1024;
constexpr const char* kDefaultColor = "blush";

}  // namespace

void NetworkManager::didFinishDownloadingToURL(NSURLSession&,
                                               NSURLSessionDownloadTask& task,
                                               const URL& location) {
  handleDownloadedFile(task, location);
}

void NetworkManager::didCompleteWithError(NSURLSession&,
                                          NSURLSessionDownloadTask& task,
                                          const std::optional<NSError>& error) {
  if (!error) {
    log("[NetworkManager BG] Task completed successfully (no explicit error reported). Final "
        "status/cleanup handled in didFinishDownloadingTo.");
    return;
  }
  log("[NetworkManager BG] Task completed with error: ", error->localizedDescription);
  if (const auto* response = dynamic_cast<const NSHTTPURLResponse*>(task.response())) {
    log("[NetworkManager BG] Error context - HTTP Status: ", response->statusCode());
  }
  cleanupAndComplete(std::nullopt);
}

void NetworkManager::didFinishEventsForBackgroundURLSession(NSURLSession&) {
  log("[NetworkManager BG] urlSessionDidFinishEvents called.");
  completeBackgroundEventsOnMainQueue();
}

void NetworkManager::handleDownloadedFile(const NSURLSessionDownloadTask& task,
                                          const URL& location) {
  log("[NetworkManager BG] Download task finished. Location: ", location.absoluteString(), ".");
  if (const auto* response = dynamic_cast<const NSHTTPURLResponse*>(task.response())) {
    const std::int64_t status = response->statusCode();
    log("[NetworkManager BG] HTTP Status Code: ", status);
    if (status >= 200 && status <= 299) {
      receive(location);
    } else {
      logErrorBody(status, location);
    }
  } else {
    log("[NetworkManager BG] No HTTP response received.");
  }
  // Every path must get here, as this calls the platform's completion handler.
  cleanupAndComplete(location);
}

void NetworkManager::logErrorBody(std::int64_t status, const URL& location) const {
  log("[NetworkManager BG] Download task completed with non-success status: ", status);
  const auto body = dataWithContentsOfURL(location);
  if (body && isUTF8(body->bytes)) {
    log("[NetworkManager BG] Error response body: ", body->bytes);
  }
}

void NetworkManager::receive(const URL& location) const {
  const auto body = dataWithContentsOfURL(location);
  if (!body) {
    log("[NetworkManager BG] Could not read data from temp file location: ",
        location.absoluteString(),
        ". This might be expected for POST.");
    return;
  }
  const AffirmationResponse response = parseAffirmationResponse(*body);
  log("[NetworkManager BG] Parsed result from temp file: Text='",
      response.text,
      "', Color='",
      response.color,
      "'");
  if (response.text) {
    saveAffirmation(*response.text, response.color.value_or(kDefaultColor));
    return;
  }
  log("[NetworkManager BG] Failed to parse JSON correctly.");
  if (body->bytes.size() < kLoggedBodyLimit) {
    log("[NetworkManager BG] Raw temp file content: ",
        isUTF8(body->bytes) ? body->bytes : "Invalid encoding");
  }
}

AffirmationResponse NetworkManager::parseAffirmationResponse(const Data& bytes) const {
  const auto object = NSJSONSerialization::JSONObjectWithData(bytes);
  if (!object) {
    log("[NetworkManager - Glancery BG Parsing] JSON parsing error: ",
        object.error().localizedDescription);
    return {};
  }
  const Dictionary* fields = object->dictionary();
  if (!fields) {
    log("[NetworkManager - Glancery BG Parsing] Failed to cast JSON object to [String: Any].");
    return {};
  }
  AffirmationResponse response = {.text = fields->string("text"), .color = fields->string("color")};
  log("[NetworkManager - Glancery BG Parsing] Found text: ",
      response.text,
      ", color: ",
      response.color,
      " directly in JSON.");
  return response;
}

void NetworkManager::saveAffirmation(const std::string& text, const std::string& color) const {
  auto suite = NSUserDefaults::initWithSuiteName(userDefaultsSuiteName_);
  if (!suite) {
    log("[NetworkManager BG Saving] Error: Failed to access UserDefaults suite for saving.");
    return;
  }
  const Dictionary record = {{"text", text}, {"color", color}};
  log("[NetworkManager BG Saving] Preparing affirmation dict: ", debugDescription(record));
  const auto bytes = NSJSONSerialization::dataWithJSONObject(record);
  if (!bytes) {
    log("[NetworkManager BG Saving] Error serializing affirmation data: ",
        bytes.error().localizedDescription);
    return;
  }
  suite->setObject(*bytes, affirmationDataKey_);
  log("[NetworkManager BG Saving] Saved serialized affirmation data for key ",
      affirmationDataKey_,
      ".");
  suite->removeObjectForKey(kObsoleteAffirmationColorKey);
  suite->synchronize();
  DispatchQueue::main().async([] {
    log("[NetworkManager BG Saving] Reloading timelines for AffirmationWidget.");
    WidgetCenter::shared().reloadTimelines(kAffirmationKind);
  });
}

void NetworkManager::cleanupAndComplete(const std::optional<URL>& location) {
  if (!location) {
    log("[NetworkManager BG] cleanupAndComplete called with nil location.");
  } else if (const auto removed = NSFileManager::defaultManager().removeItemAtURL(*location)) {
    log("[NetworkManager BG] Cleaned up temp file at: ", location->absoluteString());
  } else {
    log("[NetworkManager BG] Error removing temp file at ",
        location->absoluteString(),
        ": ",
        removed.error().localizedDescription);
  }
  completeBackgroundEventsOnMainQueue();
}

void NetworkManager::completeBackgroundEventsOnMainQueue() {
  DispatchQueue::main().async([this] { completeBackgroundEvents(); });
}

// Runs on the main queue only, so a handler is called at most once, by the first completion.
void NetworkManager::completeBackgroundEvents() {
  if (backgroundCompletionHandler) {
    backgroundCompletionHandler();
  }
  backgroundCompletionHandler = nullptr;
}

}  // namespace glancery
