#pragma once

#include <array>
#include <string_view>

/// The names that host app, widget host and extension agree on: the app group's suite and its keys,
/// the widgets' kinds, the moods. Installed versions have stored data under them, so a name that is
/// changed here loses what users have.
///
/// Each access opens the suite afresh, so that it sees what the other process last wrote.
namespace glancery {

inline constexpr const char* kAppGroupIdentifier = "group.com.quiloapp.sharedData";

/// The background session that the affirmation is downloaded in; the client makes it, and the
/// widget takes its events.
inline constexpr const char* kBackgroundSessionIdentifier = "com.quiloapp.fetchAffirmationTask";

// Written by the host app.

/// A JSON object: `count`, the days in a row; `timestamp`, the last active moment in seconds since
/// 1970.
inline constexpr const char* kStreakDataKey = "streakData";
/// The signed-in user's identifier; absent or empty when nobody is.
inline constexpr const char* kSharedUidKey = "sharedUid";
/// A JSON object of strings: the day, "yyyy-MM-dd" in the device's calendar, zone and digits, to
/// the mood's name.
inline constexpr const char* kMoodsDataKey = "moodsDataKey";

// Kept by the extension.

inline constexpr const char* kSuccessImageIndexKey = "streakImageIndex";
inline constexpr const char* kFailImageIndexKey = "streakFailImageIndex";
inline constexpr const char* kSuccessIndexLastUpdateDateKey = "successIndexLastUpdateDate";
inline constexpr const char* kFailIndexLastUpdateDateKey = "failIndexLastUpdateDate";

/// A JSON object of strings: `text` and `color`.
inline constexpr const char* kAffirmationDataKey = "affirmationData";
/// The moment at which the affirmation's provider last started a fetch.
inline constexpr const char* kAffirmationLastFetchKey = "affirmationLastFetchTime";
/// Where older versions kept the colour; nobody reads it any more.
inline constexpr const char* kObsoleteAffirmationColorKey = "affirmationColor";

// The kinds by which the widgets are asked for, reloaded and placed.

inline constexpr const char* kCheckinKind = "Checkin";
inline constexpr const char* kStreakKind = "StreakWidget";
inline constexpr const char* kAffirmationKind = "AffirmationWidget";
inline constexpr const char* kBinnacleKind = "Binnacle";

/// The moods from worst to best, as they are stored for a day, name their pictures and end the
/// faces' deep links.
inline constexpr std::array<std::string_view, 5> kMoodNames = {
    "veryBad", "bad", "neutral", "well", "veryWell"};

}  // namespace glancery
