// SPDX-License-Identifier: Apache-2.0
// A process of its own for the tests of UserDefaults: to count beside others, to be killed, to meet a full disk
// and files it has no permission for.
#include <corvane/Platform/Dispatch/NotificationCenter.h>
#include <corvane/Platform/Storage/UserDefaults.h>

#include <grp.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace {

using namespace corvane;

int failures = 0;

void expect(bool condition, const char* what, const UserDefaults& defaults)
{
    if (condition)
        return;
    const auto failure = defaults.lastFailure();
    std::printf("not so: %s (state %d, %s)\n", what, static_cast<int>(defaults.state()),
                failure ? failure->message.c_str() : "no failure");
    ++failures;
}

void increment(const UserDefaults& defaults, int times)
{
    for (int i = 0; i < times; ++i)
        while (
            !defaults.transaction([&] { defaults.setObject(defaults.integerForKey("count") + 1, "count"); }))
            std::printf("again: %s\n", defaults.lastFailure()->message.c_str());
}

void say(const std::string& line)
{
    if (::write(STDOUT_FILENO, line.data(), line.size()) < 0)
        std::exit(1);
}

std::string textOf(Int number)
{
    return std::string(static_cast<std::size_t>(number % 3000), static_cast<char>('a' + number % 26));
}

// Until it is killed: says each write that it was told is done. The entries of a pair are written as one.
void write(const UserDefaults& defaults, const std::string& name)
{
    Int number = defaults.integerForKey(name + "0");
    for (;;) {
        ++number;
        const std::string key = name + std::to_string(number % 7);
        if (defaults.setObject(number, key))
            say(key + " " + std::to_string(number) + "\n");
        const std::string text = name + "text" + std::to_string(number % 5);
        if (defaults.setObject(PropertyDictionary{{"number", number}, {"text", textOf(number)}}, text))
            say(text + " " + std::to_string(number) + "\n");
        const std::string pair = name + "pair";
        if (defaults.transaction([&] {
                defaults.setObject(number, pair + "A");
                defaults.setObject(number, pair + "B");
            }))
            say(pair + "A " + std::to_string(number) + "\n");
    }
}

// Every write that was said is there, or a later one of the same key; pairs agree; nothing was set aside.
void verify(const UserDefaults& defaults, const std::string& name, const char* log)
{
    expect(defaults.state() == UserDefaultsState::ready && defaults.filesSetAside().empty(), "undamaged",
           defaults);
    std::map<std::string, Int> said;
    std::ifstream lines(log);
    std::string key;
    Int number = 0;
    while (lines >> key >> number)
        said[key] = number;
    for (const auto& [written, last] : said) {
        const auto dictionary = defaults.dictionaryForKey(written);
        const PropertyValue* inside = dictionary ? find(*dictionary, "number") : nullptr;
        const Int stored = inside ? inside->asNumber()->intValue() : defaults.integerForKey(written);
        expect(stored >= last,
               (written + " is " + std::to_string(stored) + " after " + std::to_string(last)).c_str(),
               defaults);
        if (inside)
            expect(*find(*dictionary, "text") == PropertyValue(textOf(stored)), "a whole entry", defaults);
    }
    expect(defaults.objectForKey(name + "pairA") == defaults.objectForKey(name + "pairB"), "a whole pair",
           defaults);
    std::printf("%zu keys\n", said.size());
}

// Says "ready", waits until another process has set "end" and prints how long after it was written each value
// under "sent" was announced here, in microseconds.
void listen(const UserDefaults& defaults)
{
    std::mutex mutex;
    std::condition_variable heard;
    bool isOver = false;
    std::vector<Int> delays;
    const auto observer = NotificationCenter::defaultCenter().addObserver(
        UserDefaults::didChangeElsewhereNotification, nullptr, [&](const Notification& note) {
            const auto* keys = note.value<std::vector<std::string>>(UserDefaults::changedKeysKey);
            const std::scoped_lock lock(mutex);
            if (std::ranges::count(*keys, "sent") > 0) {
                const auto now = std::chrono::steady_clock::now().time_since_epoch();
                delays.push_back(std::chrono::duration_cast<std::chrono::microseconds>(now).count() -
                                 defaults.integerForKey("sent"));
            }
            isOver = isOver || defaults.boolForKey("end");
            heard.notify_one();
        });
    std::fprintf(stderr, "ready\n");
    std::unique_lock lock(mutex);
    std::size_t told = 0;
    do {
        heard.wait(lock);
        for (; told < delays.size(); ++told)
            std::fprintf(stderr, "%lld\n", static_cast<long long>(delays[told]));
    } while (!isOver);
    lock.unlock();
    NotificationCenter::defaultCenter().removeObserver(observer);
}

void limitFiles(rlim_t size)
{
    const rlimit limit{size, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

// `ballast` is a file on the same full disk, or empty where a limit on the size of files stands in for one.
void fillUp(const char* folder, const std::string& ballast)
{
    const URL place = URL::fromPath(folder);
    ::signal(SIGXFSZ, SIG_IGN);
    if (ballast.empty())
        limitFiles(200000);
    const PropertyValue large = std::string(5000, 'x');
    {
        const UserDefaults defaults("suite", place);
        expect(defaults.setObject("before", "kept"), "a write with room", defaults);
        int written = 0;
        while (written < 100000 && defaults.setObject(large, "large" + std::to_string(written)))
            ++written;
        expect(written > 5 && written < 100000, "full after some writes", defaults);
        expect(defaults.lastFailure() &&
                   (!ballast.empty() ? defaults.lastFailure()->kind == UserDefaultsFailure::Kind::full
                                     : !defaults.lastFailure()->message.empty()),
               "told that it is full", defaults);
        expect(!defaults.hasObjectForKey("large" + std::to_string(written)), "nothing of the failed write",
               defaults);
        expect(!defaults.setObject(PropertyValue(std::string(50000, 'y')), "kept"), "no room for a large one",
               defaults);
        expect(!defaults.transaction([&] {
            defaults.setObject("after", "kept");
            defaults.setObject(PropertyValue(std::string(50000, 'y')), "other");
        }),
               "no room in a transaction", defaults);
        expect(defaults.stringForKey("kept") == "before", "the earlier value", defaults);
        for (int i = 0; i < written; ++i)
            expect(defaults.objectForKey("large" + std::to_string(i)) == large, "an earlier large value",
                   defaults);
    }
    if (!ballast.empty()) // the last room too, so that not even an index can be made
        std::ofstream(ballast, std::ios::app) << std::string(1 << 20, 'z');
    const UserDefaults again("suite", place);
    expect(again.filesSetAside().empty(), "not taken for damaged", again);
    expect(again.stringForKey("kept") == "before" && again.objectForKey("large0") == large,
           "read on a full disk", again);
    expect(!again.setObject(PropertyValue(std::string(300000, 'y')), "other"), "still full", again);
    expect(again.lastFailure().has_value(), "told again", again);
    if (ballast.empty())
        limitFiles(RLIM_INFINITY);
    else
        std::filesystem::remove(ballast);
    expect(again.setObject("after", "kept") && !again.lastFailure(), "recovered", again);
    expect(again.state() == UserDefaultsState::ready && again.synchronize(), "in order", again);
    expect(again.objectForKey("large0") == large, "all there", again);
}

// As a user whom permissions bind.
void open(const char* folder)
{
    constexpr unsigned nobody = 65534;
    if (::geteuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setresgid(nobody, nobody, nobody) != 0 ||
                             ::setresuid(nobody, nobody, nobody) != 0))
        std::exit(2);
    const UserDefaults defaults("suite", URL::fromPath(folder));
    const bool isWritten = defaults.setObject("new", "written");
    std::printf("state %d, %s, aside %zu, %s\n", static_cast<int>(defaults.state()),
                defaults.stringForKey("kept").value_or("nothing").c_str(), defaults.filesSetAside().size(),
                isWritten ? "written" : "refused");
}

} // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc > 2 ? argv[1] : "";
    if (mode == "full") {
        fillUp(argv[2], argc > 3 ? argv[3] : "");
        return failures;
    }
    if (mode == "open") {
        open(argv[2]);
        return 0;
    }
    if (argc < 3)
        return 2;
    const UserDefaults defaults("suite", URL::fromPath(argv[2]));
    if (mode == "increment" && argc > 3)
        increment(defaults, std::atoi(argv[3]));
    else if (mode == "write" && argc > 3)
        write(defaults, argv[3]);
    else if (mode == "verify" && argc > 4)
        verify(defaults, argv[3], argv[4]);
    else if (mode == "listen")
        listen(defaults);
    else
        return 2;
    return failures;
}
