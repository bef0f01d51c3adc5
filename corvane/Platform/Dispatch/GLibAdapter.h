// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Dispatch/RunLoop.h>

#include <glib-unix.h>

namespace corvane {

/// Serves `RunLoop::main()` from a GLib main loop: GTK applications and everything else that runs a GMainContext.
///
///     int main() {
///         GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
///         corvane::GLibAdapter adapter;
///         g_main_loop_run(loop);
///     }
///
/// Header-only; the application links GLib itself. Main-thread: made and destroyed on the thread that runs the
/// context.
class GLibAdapter {
public:
    /// Attaches to `context`, or to the default one.
    explicit GLibAdapter(GMainContext* context = nullptr)
        : source_(g_unix_fd_source_new(RunLoop::main().fileDescriptor(), G_IO_IN))
    {
        const GUnixFDSourceFunc serve = [](gint, GIOCondition, gpointer) -> gboolean {
            RunLoop::main().drain();
            return G_SOURCE_CONTINUE;
        };
        g_source_set_callback(source_, reinterpret_cast<GSourceFunc>(reinterpret_cast<void*>(serve)), nullptr,
                              nullptr);
        g_source_set_can_recurse(source_, TRUE); // a dialog run inside a timer's block is served too
        g_source_attach(source_, context);
    }
    ~GLibAdapter()
    {
        g_source_destroy(source_);
        g_source_unref(source_);
    }
    GLibAdapter(const GLibAdapter&) = delete;
    GLibAdapter& operator=(const GLibAdapter&) = delete;

private:
    GSource* source_;
};

} // namespace corvane
