// SPDX-License-Identifier: Apache-2.0
#include "SecretInput.h"

#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>

namespace secrets {

namespace {

using corvane::SecretBytes;

constexpr std::size_t limit = 1'000'000;

volatile std::sig_atomic_t caughtSignal = 0;

/// The terminal without echo. A signal that would end the program in between ends it after the echo is back.
class WithoutEcho {
public:
    WithoutEcho()
    {
        struct sigaction note {};
        note.sa_handler = [](int signal) { caughtSignal = signal; }; // without a restart: it ends the reading
        for (std::size_t i = 0; i < std::size(signals); ++i)
            ::sigaction(signals[i], &note, &before_[i]);
        ::tcgetattr(STDIN_FILENO, &usual_);
        termios quiet = usual_;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        quiet.c_lflag |= ECHONL;
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    WithoutEcho(const WithoutEcho&) = delete;
    WithoutEcho& operator=(const WithoutEcho&) = delete;
    ~WithoutEcho()
    {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &usual_);
        for (std::size_t i = 0; i < std::size(signals); ++i)
            ::sigaction(signals[i], &before_[i], nullptr);
        if (caughtSignal != 0) {
            std::fputc('\n', stderr);
            ::raise(caughtSignal);
        }
    }

private:
    static constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

    struct sigaction before_[std::size(signals)]{};
    termios usual_{};
};

enum class Until { lineFeed, end };

// Into one buffer of its final size, so that nothing is left behind where a smaller one was.
std::optional<SecretBytes> readBytes(Until until, std::string& problem)
{
    SecretBytes buffer(limit + 1);
    std::size_t size = 0;
    while (size <= limit) {
        const ssize_t count = ::read(STDIN_FILENO, buffer.bytes().data() + size, limit + 1 - size);
        if (count < 0 && errno == EINTR && caughtSignal == 0)
            continue;
        if (count < 0) {
            problem = "Standard input cannot be read.";
            return std::nullopt;
        }
        size += static_cast<std::size_t>(count);
        if (count == 0 || (until == Until::lineFeed && buffer.view()[size - 1] == std::byte{'\n'}))
            break;
    }
    if (size > limit) {
        problem = "The secret is larger than a megabyte.";
        return std::nullopt;
    }
    return SecretBytes(buffer.view().first(size));
}

SecretBytes withoutLastLineFeed(const SecretBytes& bytes)
{
    const corvane::DataView view = bytes.view();
    return SecretBytes(view.first(view.size() - (!view.empty() && view.back() == std::byte{'\n'} ? 1 : 0)));
}

std::optional<SecretBytes> askTerminal(const std::string& name, std::string& problem)
{
    const WithoutEcho quiet;
    const auto ask = [&problem](const std::string& question) {
        std::fputs(question.c_str(), stderr);
        return readBytes(Until::lineFeed, problem);
    };
    const std::optional<SecretBytes> first = ask("Secret for " + name + ": ");
    if (!first)
        return std::nullopt;
    const std::optional<SecretBytes> second = ask("Once more: ");
    if (!second)
        return std::nullopt;
    if (!std::ranges::equal(first->view(), second->view())) {
        problem = "The two are not the same.";
        return std::nullopt;
    }
    return withoutLastLineFeed(*first);
}

} // namespace

std::optional<SecretBytes> readSecret(const std::string& name, LastLineFeed lastLineFeed,
                                      std::string& problem)
{
    std::optional<SecretBytes> secret;
    if (::isatty(STDIN_FILENO) != 0) {
        secret = askTerminal(name, problem);
    } else {
        secret = readBytes(Until::end, problem);
        if (secret && lastLineFeed == LastLineFeed::drop)
            secret = withoutLastLineFeed(*secret);
    }
    if (secret && secret->isEmpty()) {
        problem = "Standard input holds no secret.";
        return std::nullopt;
    }
    return secret;
}

} // namespace secrets
