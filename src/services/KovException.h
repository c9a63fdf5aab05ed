#pragma once
// The root of every exception the system raises on purpose. Each named exception of a subsystem
// derives from it, so an action's edge can catch them all and show the text in one message box.

#include <stdexcept>
#include <string>

namespace tw {

class EKovException : public std::runtime_error {
public:
    explicit EKovException(const std::string& message) : std::runtime_error(message) {}
};

// Declares `class Name : public Base` with the message constructor.
#define TW_DECLARE_EXCEPTION(Name, Base)                                                           \
    class Name : public Base {                                                                     \
    public:                                                                                        \
        explicit Name(const std::string& message) : Base(message) {}                               \
    };

} // namespace tw
