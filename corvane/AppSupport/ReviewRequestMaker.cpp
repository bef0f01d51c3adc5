// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/BundleVersion.h>
#include <corvane/AppSupport/ReviewRequestMaker.h>
#include <corvane/Platform/Base/Calendar.h>
#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/UserSettings/UserSettings.h>

#include <optional>
#include <utility>

namespace corvane {

namespace {

constexpr Int callsThatAskNobody = 4;

std::function<void()>& hook()
{
    static auto* const hook = new std::function<void()>; // calls may come while the process ends
    return *hook;
}

bool wasAskedTodayOrLater(const UserSettings& settings, Date now)
{
    const std::optional<Date> last = settings.value(UserSettingKeys::lastReviewRequestDate());
    return last && daysBetween(*last, now).value_or(0) <= 0;
}

} // namespace

void ReviewRequestMaker::setRequestReview(std::function<void()> requestReview)
{
    hook() = std::move(requestReview);
}

bool ReviewRequestMaker::make()
{
    return make(UserSettings::standard(), currentDate());
}

bool ReviewRequestMaker::make(UserSettings& settings, Date now)
{
    const std::optional<Version> version = settings.value(UserSettingKeys::lastReviewVersion());
    if (version && version->isCurrent())
        return false;
    const Int count = settings.value(UserSettingKeys::reviewRequestsCount());
    settings.set(UserSettingKeys::reviewRequestsCount(), checkedAdd(count, Int{1}));
    if (count < callsThatAskNobody || wasAskedTodayOrLater(settings, now))
        return false;
    if (const std::function<void()> requestReview = hook()) // a copy: it may set another
        requestReview();
    settings.set(UserSettingKeys::lastReviewRequestDate(), now);
    settings.set(UserSettingKeys::lastReviewVersion(), Version::current());
    settings.set(UserSettingKeys::reviewRequestsCount(), Int{0});
    return true;
}

} // namespace corvane
