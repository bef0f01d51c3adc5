// SPDX-License-Identifier: Apache-2.0
#include "Arguments.h"

#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

namespace secrets {

namespace {

using corvane::KeychainChoice;

constexpr std::string_view help =
    R"(Usage: corvane-secrets [OPTION...] store NAME     < secret
       corvane-secrets [OPTION...] lookup NAME
       corvane-secrets [OPTION...] list
       corvane-secrets [OPTION...] remove NAME
       corvane-secrets [OPTION...] status

Keeps secrets in the desktop's secret service, or in an encrypted vault where there is none.

  store    stores what standard input holds, replacing what is there. A terminal is asked for the secret twice, without
           showing it; otherwise all of the input is taken, up to a megabyte, without its last line feed.
  lookup   writes the secret to standard output, with a line feed only where that is a terminal
  list     writes the names of the service's secrets
  remove   removes the secret
  status   says where the service's secrets are kept, and why there

  --service NAME    whose secrets; an application's are those of its bundle identifier (default: corvane-secrets)
  --keychain WHICH  automatic, secret-service or vault (default: automatic). Once a service has a secret, it stays in
                    the keychain where the first one was stored.
  --wait SECONDS    for a keychain that is locked or does not answer, 1 to 3600 (default: 30)
  --exact           with store: the last line feed of the input belongs to the secret
  --long            with list: with the dates of the last changes
  --help            this text

Exit status: 0 done; 1 there is no such secret; 2 the arguments are wrong; 3 the keychain is locked, does not answer, or
is not available; 4 it failed, or refused because somebody tampered with it.
)";

Usage wrong(std::string message)
{
    return {2, std::move(message) + "\nTry corvane-secrets --help.\n"};
}

std::optional<Command> commandNamed(std::string_view name)
{
    constexpr std::pair<std::string_view, Command> commands[] = {{"store", Command::store},
                                                                 {"lookup", Command::lookup},
                                                                 {"list", Command::list},
                                                                 {"remove", Command::remove},
                                                                 {"status", Command::status}};
    for (const auto& [text, command] : commands)
        if (text == name)
            return command;
    return std::nullopt;
}

std::optional<KeychainChoice> keychainNamed(std::string_view name)
{
    if (name == "automatic")
        return KeychainChoice::automatic;
    if (name == "secret-service")
        return KeychainChoice::secretService;
    if (name == "vault")
        return KeychainChoice::vault;
    return std::nullopt;
}

// Empty when it is fine.
std::string setOption(std::string_view option, std::string_view value, Arguments& arguments)
{
    if (option == "--service") {
        arguments.service = value;
        return value.empty() ? "--service takes a name." : "";
    }
    if (option == "--keychain") {
        const auto keychain = keychainNamed(value);
        arguments.keychain = keychain.value_or(arguments.keychain);
        return keychain ? "" : "--keychain takes automatic, secret-service or vault.";
    }
    int seconds = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
    arguments.wait = std::chrono::seconds(seconds);
    const bool isWhole = error == std::errc() && end == value.data() + value.size();
    return isWhole && seconds >= 1 && seconds <= 3600 ? ""
                                                      : "--wait takes a number of seconds from 1 to 3600.";
}

} // namespace

std::variant<Arguments, Usage> parseArguments(std::span<char* const> given)
{
    Arguments arguments;
    std::vector<std::string_view> words;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < given.size(); ++i) {
        const std::string_view argument = given[i];
        if (optionsEnded || !argument.starts_with("-")) {
            words.push_back(argument);
        } else if (argument == "--") {
            optionsEnded = true;
        } else if (argument == "--help" || argument == "-h") {
            return Usage{0, std::string(help)};
        } else if (argument == "--exact") {
            arguments.isExact = true;
        } else if (argument == "--long") {
            arguments.isLong = true;
        } else if (argument == "--service" || argument == "--keychain" || argument == "--wait") {
            const std::string_view value = i + 1 < given.size() ? given[++i] : "";
            if (std::string message = setOption(argument, value, arguments); !message.empty())
                return wrong(std::move(message));
        } else {
            return wrong("There is no option \"" + std::string(argument) + "\".");
        }
    }
    if (words.empty())
        return wrong("A command is needed: store, lookup, list, remove or status.");
    const std::optional<Command> command = commandNamed(words[0]);
    if (!command)
        return wrong("There is no command \"" + std::string(words[0]) + "\".");
    arguments.command = *command;
    const bool takesName = *command != Command::list && *command != Command::status;
    if (takesName && words.size() == 1)
        return wrong("The name of the secret is missing.");
    if (words.size() > (takesName ? 2U : 1U))
        // A secret on the command line would be seen by every user of the machine.
        return wrong(*command == Command::store
                         ? "A secret is not taken as an argument, only from standard input."
                         : "There are too many arguments.");
    if (takesName)
        arguments.name = words[1];
    if (takesName && arguments.name.empty())
        return wrong("A secret's name is not empty.");
    return arguments;
}

} // namespace secrets
