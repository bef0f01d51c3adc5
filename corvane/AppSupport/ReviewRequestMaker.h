// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>

#include <functional>

namespace corvane {

class UserSettings;

/// Decides when it is time to ask the user to review the application, and has the host ask.
///
///     ReviewRequestMaker::setRequestReview([&window] { window.showReviewBanner(); });
///     // after something went well: a picture exported, a game won
///     ReviewRequestMaker::make();
///
/// The user is asked at the fifth occasion, and again at the fifth one after that, but once for each version
/// of the application and once a day at most. Days are those of the user's calendar and time zone, as
/// `daysBetween` counts them. What is remembered is in the settings, under the keys
/// `UserSettingKeys::reviewRequestsCount`, `lastReviewRequestDate` and `lastReviewVersion`, and each change of
/// it is announced as any change of a setting is.
///
/// There is no service on this system that shows such a request, so what the host sets shows it. Where the
/// host has set nothing, a request counts as made and nothing is shown. Main-thread.
class CORVANE_API ReviewRequestMaker {
public:
    ReviewRequestMaker() = delete;

    /// What asks the user; empty for nothing, as it is at first. It is called within `make`, before anything is
    /// remembered, so it should return at once. What it throws passes through, and then the next occasion asks.
    static void setRequestReview(std::function<void()> requestReview);

    /// To be called at each occasion. True when a review was requested in this call; whether the user saw it is
    /// the host's affair. On `UserSettings::standard()`, at the present time. The process stops when the main
    /// bundle has no version.
    static bool make();

    /// The same on other settings and at another time. While the date of the last request lies in the future
    /// of `now`, or within its day, nobody is asked.
    static bool make(UserSettings& settings, Date now);
};

} // namespace corvane
