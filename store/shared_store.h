#pragma once

#include <array>
#include <string_view>

/// The names that host app, widget host and extension share: the app group's suite and its keys,
/// the widgets' kinds, the moods. Installed versions have stored data under them, so changing a
/// name loses data.
///
/// Every access opens the suite again, so that it sees the other processes' last writes.
namespace glancery {

inline constexpr const char* kAppGroupIdentifier = "group.com.quiloapp.sharedData";

/// The background session of the affirmation's downloads. The client creates it; the widget
/// receives its events.
inline constexpr const char* kBackgroundSessionIdentifier = "com.quiloapp.fetchAffirmationTask";

// Written by the host app.

/// A JSON object: `count`, the days in a row; `timestamp`, the last active instant in seconds since
/// 1970.
inline constexpr const char* kStreakDataKey = "streakData";
/// The signed-in user's identifier; absent or empty if no user is signed in.
inline constexpr const char* kSharedUidKey = "sharedUid";
/// A JSON object of strings: the keys are days, "yyyy-MM-dd" in the device's calendar, zone and
/// digits; the values are names of moods.
inline constexpr const char* kMoodsDataKey = "moodsDataKey";

// Written by the extension.

inline constexpr const char* kSuccessImageIndexKey = "streakImageIndex";
inline constexpr const char* kFailImageIndexKey = "streakFailImageIndex";
inline constexpr const char* kSuccessIndexLastUpdateDateKey = "successIndexLastUpdateDate";
inline constexpr const char* kFailIndexLastUpdateDateKey = "failIndexLastUpdateDate";

/// A JSON object of strings: `text` and `color`.
inline constexpr const char* kAffirmationDataKey = "affirmationData";
/// The instant at which the affirmation's provider last started a fetch.
inline constexpr const char* kAffirmationLastFetchKey = "affirmationLastFetchTime";
/// The colour's key in older versions. Not read any more.
inline constexpr const char* kObsoleteAffirmationColorKey = "affirmationColor";

// The widgets' kinds, by which they are requested, reloaded and placed.

inline constexpr const char* kCheckinKind = "Checkin";
inline constexpr const char* kStreakKind = "StreakWidget";
inline constexpr const char* kAffirmationKind = "AffirmationWidget";
inline constexpr const char* kBinnacleKind = "Binnacle";

/// The moods from worst to best, as in the stored days, the pictures' names and the faces' deep
/// links.
inline constexpr std::array<std::string_view, 5> kMoodNames = {
    "veryBad", "bad", "neutral", "well", "veryWell"};

}  // namespace glancery
