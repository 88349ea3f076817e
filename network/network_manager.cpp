#include "network/network_manager.h"

#include <cstdio>

#include "network/affirmation_request.h"
#include "platform/foundation/bundle/bundle.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/process/log.h"
#include "platform/support/require.h"
#include "store/shared_store.h"
#include "store/shared_user.h"

namespace glancery {

using namespace platform;

NetworkManager& NetworkManager::shared() {
  static NetworkManager& manager = *new NetworkManager();
  return manager;
}

NetworkManager::NetworkManager()
    : userDefaultsSuiteName_(kAppGroupIdentifier),
      userDefaultsUidKey_(kSharedUidKey),
      affirmationDataKey_(kAffirmationDataKey),
      backgroundSessionIdentifier_(kBackgroundSessionIdentifier) {
  auto configuration = NSURLSessionConfiguration::backgroundSessionConfigurationWithIdentifier(
      backgroundSessionIdentifier_);
  configuration.setSharedContainerIdentifier(userDefaultsSuiteName_);
  configuration.setSessionSendsLaunchEvents(true);
  urlSession_ = &NSURLSession::sessionWithConfiguration(configuration, *this, nullptr);
  log("[NetworkManager] Background URLSession initialized with identifier: ",
      backgroundSessionIdentifier_);
}

void NetworkManager::fetchAffirmation() {
  log("[NetworkManager - Glancery] fetchAffirmation called.");
  const auto uid = signedInUid(userDefaultsSuiteName_, userDefaultsUidKey_);
  if (!uid) {
    log("[NetworkManager - Glancery] Error: Attempted fetchAffirmation without a valid UID in "
        "UserDefaults. Aborting.");
    // A failed fetch also calls a pending completion handler, as the platform may wait for it.
    cleanupAndComplete(std::nullopt);
    return;
  }
  log("[NetworkManager - Glancery] UID read from UserDefaults: ", *uid);
  const auto configuration = readConfiguration();
  if (!configuration) {
    log("[NetworkManager - Glancery] Error: ApiBaseUrl or ApiKey not found or invalid in Glancery "
        "Info.plist. Check configuration.");
    cleanupAndComplete(std::nullopt);
    return;
  }
  log("[NetworkManager - Glancery] Using Base URL from Info.plist: ", configuration->baseUrl);
  if (configuration->apiKey.empty()) {
    log("[NetworkManager - Glancery] Warning: ApiKey in Info.plist is empty.");
  } else {
    log("[NetworkManager - Glancery] API Key found in Info.plist.");
  }
  const std::string urlString = configuration->baseUrl + "/api/widgets/get_affirmation";
  const auto url = URL::fromString(urlString);
  if (!url) {
    log("[NetworkManager - Glancery] Error: Invalid URL constructed: ", urlString);
    cleanupAndComplete(std::nullopt);
    return;
  }
  const AffirmationRequestFields fields = affirmationRequestFields(*uid);
  NSURLRequest request = affirmationRequest(*url, configuration->apiKey);
  log("--- Sending Affirmation Request ---");
  log("[NetworkManager - Glancery] Sending Request Body: locale=",
      fields.locale,
      ", timezone=",
      fields.timezone,
      ", appVersion=",
      kAppVersion,
      ", uid='",
      *uid,
      "' to URL: ",
      url->absoluteString());
  auto body = affirmationRequestBody(fields);
  if (!body) {
    log("[NetworkManager - Glancery] Error: Failed to serialize request body: ",
        body.error().localizedDescription);
    cleanupAndComplete(std::nullopt);
    return;
  }
  request.setHTTPBody(*std::move(body));
  log("-----------------------------------");
  log("[NetworkManager - Glancery] Starting background download task for affirmation.");
  if (!urlSession_) {
    fatalError("the client has no session");
  }
  urlSession_->downloadTaskWithRequest(std::move(request))->resume();
}

// An empty URL counts as missing; an empty key is sent as it is.
std::optional<NetworkManager::Configuration> NetworkManager::readConfiguration() const {
  const auto info = NSBundle::mainBundle().infoDictionary();
  if (!info) {
    return std::nullopt;
  }
  const auto baseUrl = info->string("ApiBaseUrl");
  const auto apiKey = info->string("ApiKey");
  if (!baseUrl || baseUrl->empty() || !apiKey) {
    return std::nullopt;
  }
  return Configuration{*baseUrl, *apiKey};
}

}  // namespace glancery
