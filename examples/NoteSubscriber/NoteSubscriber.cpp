// SPDX-License-Identifier: Apache-2.0
// A view that follows one gallery, for as long as the view exists.
#include <corvane/AppSupport/NoteSubscriber.h>

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

using namespace corvane;

namespace {

struct Gallery {
    explicit Gallery(std::string title) : name(std::move(title)) {}

    static NotificationName didChange() { return NotificationName("GalleryDidChangeNotification"); }

    void add(const std::string& picture)
    {
        NotificationCenter::defaultCenter().post(didChange(), this, {{"Added", picture}});
    }

    std::string name;
};

struct View {
    void show(const Gallery& gallery, const std::string& picture)
    {
        std::printf("%s has %s\n", gallery.name.c_str(), picture.c_str());
    }
};

} // namespace

int main()
{
    const auto holidays = std::make_shared<Gallery>("Holidays");
    const auto work = std::make_shared<Gallery>("Work");
    auto view = std::make_shared<View>();

    NoteSubscriber changes;
    changes.name = Gallery::didChange();
    changes.object = holidays; // of this one only
    changes.subscribe(view, [](View& target, const Notification& note) {
        target.show(*note.object<Gallery>(), *note.value<std::string>("Added"));
    });
    holidays->add("a beach");
    work->add("a desk"); // not observed

    // Another sender takes another subscription.
    changes.unsubscribe();
    changes.object.reset(); // anybody
    changes.subscribe(view, [](View& target, const Notification& note) {
        target.show(*note.object<Gallery>(), *note.value<std::string>("Added"));
    });
    work->add("a plan");

    // The subscription does not keep the view; without it nobody is called.
    view.reset();
    holidays->add("a sunset");
    std::printf("The view has gone\n");
}
