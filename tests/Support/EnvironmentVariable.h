// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace corvane::tests {

/// Sets a variable of the environment for its own life, or takes it out (`value` null).
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const char* value) : name_(name)
    {
        if (const char* old = std::getenv(name))
            old_ = old;
        set(value);
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
    ~EnvironmentVariable() { set(old_ ? old_->c_str() : nullptr); }

private:
    void set(const char* value) const { value ? ::setenv(name_, value, 1) : ::unsetenv(name_); }

    const char* name_;
    std::optional<std::string> old_;
};

} // namespace corvane::tests
