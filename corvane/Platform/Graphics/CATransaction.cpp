// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Graphics/CATransaction.h>

#include <vector>

namespace corvane {

namespace {

struct Settings {
    TimeInterval animationDuration{0.25};
    bool disableActions = false;
};

thread_local Settings current;
thread_local std::vector<Settings> enclosing;

} // namespace

void CATransaction::begin()
{
    enclosing.push_back(current);
}

void CATransaction::commit()
{
    precondition(!enclosing.empty(), "CATransaction::commit() without begin()");
    current = enclosing.back();
    enclosing.pop_back();
}

TimeInterval CATransaction::animationDuration()
{
    return current.animationDuration;
}

void CATransaction::setAnimationDuration(TimeInterval duration)
{
    current.animationDuration = duration;
}

bool CATransaction::disableActions()
{
    return current.disableActions;
}

void CATransaction::setDisableActions(bool disable)
{
    current.disableActions = disable;
}

} // namespace corvane
