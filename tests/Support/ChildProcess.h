// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace corvane::tests {

/// A program run beside the test. Its standard error is a pipe, read as it comes; its standard output is kept
/// in a file without a name, so that a program that writes much to both never waits for its reader.
class ChildProcess {
public:
    explicit ChildProcess(std::vector<std::string> arguments) : output_(std::tmpfile())
    {
        int ends[2];
        if (output_ == nullptr || ::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe for a child process");
        messages_ = ::fdopen(ends[0], "r");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, ::fileno(output_), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        const int error = ::posix_spawn(&id_, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        if (error != 0)
            throw std::runtime_error("cannot start " + arguments[0]);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess()
    {
        if (id_ > 0) {
            ::kill(id_, SIGKILL);
            ::waitpid(id_, nullptr, 0);
        }
        std::fclose(messages_);
        std::fclose(output_);
    }

    /// The next line of standard error, with its line feed; empty at the end.
    std::string readMessage() { return readLine(messages_); }

    void signal(int signal) const { ::kill(id_, signal); }

    /// Waits for the end. The exit status, or 1000 and the signal that ended it.
    int wait()
    {
        for (std::string line = readMessage(); !line.empty(); line = readMessage())
            messages += line;
        int status = 0;
        ::waitpid(id_, &status, 0);
        id_ = 0;
        std::rewind(output_);
        for (std::string line = readLine(output_); !line.empty(); line = readLine(output_))
            output += line;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }

    /// What it wrote, after `wait`; of the messages, those not read before.
    std::string output;
    std::string messages;

private:
    static std::string readLine(std::FILE* file)
    {
        std::string line;
        for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
            line += static_cast<char>(c);
            if (c == '\n')
                break;
        }
        return line;
    }

    pid_t id_ = 0;
    std::FILE* output_;
    std::FILE* messages_ = nullptr;
};

} // namespace corvane::tests
