// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/NoteSubscriber.h>
#include <corvane/Platform/Base/Fatal.h>

namespace corvane {

void NoteSubscriber::observe(NotificationCenter::Handler handler)
{
    precondition(observer_.expired(), "Subcriber is already observing."); // spelt so, and known by it
    precondition(name.has_value(), "Notification name has not been set.");
    observer_ = center_.addObserver(*name, object.lock().get(), queue, std::move(handler));
}

void NoteSubscriber::unsubscribe()
{
    if (const auto observer = observer_.lock())
        center_.removeObserver(observer);
    observer_.reset();
}

} // namespace corvane
