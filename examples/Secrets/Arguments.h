// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Storage/SystemKeychain.h>

#include <chrono>
#include <span>
#include <string>
#include <variant>

namespace secrets {

enum class Command { store, lookup, list, remove, status };

/// What the user asked for.
struct Arguments {
    Command command = Command::status;
    std::string name; ///< of the secret, where the command takes one
    std::string service = "corvane-secrets";
    corvane::KeychainChoice keychain = corvane::KeychainChoice::automatic;
    std::chrono::seconds wait{30};
    bool isExact = false; ///< the last line feed of the input is a part of the secret
    bool isLong = false;  ///< the list has dates
};

/// What to print instead of working: help that was asked for (status 0), or what is wrong with the arguments.
struct Usage {
    int status;
    std::string text;
};

std::variant<Arguments, Usage> parseArguments(std::span<char* const> arguments);

} // namespace secrets
