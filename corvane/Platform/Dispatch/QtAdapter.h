// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Dispatch/RunLoop.h>

#include <QSocketNotifier>

namespace corvane {

/// Serves `RunLoop::main()` from Qt's event loop.
///
///     int main(int count, char** arguments) {
///         QApplication application(count, arguments);
///         corvane::QtAdapter adapter;
///         return application.exec();
///     }
///
/// Header-only; the application links Qt Core itself. Main-thread: made after the application object, on its thread.
class QtAdapter {
public:
    QtAdapter() : notifier_(RunLoop::main().fileDescriptor(), QSocketNotifier::Read)
    {
        QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_,
                         [] { RunLoop::main().drain(); });
    }
    QtAdapter(const QtAdapter&) = delete;
    QtAdapter& operator=(const QtAdapter&) = delete;

private:
    QSocketNotifier notifier_;
};

} // namespace corvane
