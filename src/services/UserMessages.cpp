#include "services/UserMessages.h"

#include <iostream>

namespace tw {

void TConsoleUserMessages::ShowMessage(const std::string& text, const std::string& title) {
    std::cerr << title << ": " << text << std::endl;
}

void TConsoleUserMessages::ShowDetailedMessage(const std::string& text, const std::string& title,
                                               const std::string& details) {
    std::cerr << title << ": " << text << std::endl;
    if (!details.empty())
        std::cerr << details << (details.back() == '\n' ? "" : "\n") << std::flush;
}

bool TConsoleUserMessages::AskQuestion(const std::string& text, const std::string& title) {
    std::cerr << title << ": " << text << " [Yes]" << std::endl;
    return true;
}

namespace {
TConsoleUserMessages& Console() {
    static TConsoleUserMessages console;
    return console;
}
IUserMessages* current = nullptr;
} // namespace

IUserMessages& UserMessages() {
    return current ? *current : Console();
}

IUserMessages* SetUserMessages(IUserMessages* messages) {
    IUserMessages* previous = current ? current : &Console();
    current = messages;
    return previous;
}

} // namespace tw
