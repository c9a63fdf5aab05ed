#pragma once
// Every message and question for the user goes through one interface: the window program shows
// boxes, the headless program prints them, tests record them. The current one is process-wide
// and used from the main thread only.

#include <string>

namespace tw {

class IUserMessages {
public:
    virtual ~IUserMessages() = default;
    // An information or error box with a title and one OK button.
    virtual void ShowMessage(const std::string& text, const std::string& title) = 0;
    // The same with a detail below the text, such as the reason a kernel gave for a failed run.
    // Receivers that show only texts drop the detail; an empty detail is a plain message.
    virtual void ShowDetailedMessage(const std::string& text, const std::string& title,
                                     const std::string& details) {
        (void)details;
        ShowMessage(text, title);
    }
    // A question with Yes and No; answers true for Yes.
    virtual bool AskQuestion(const std::string& text, const std::string& title) = 0;
};

// Writes messages to standard error and answers every question with Yes: what a headless run
// of a script expects.
class TConsoleUserMessages : public IUserMessages {
public:
    void ShowMessage(const std::string& text, const std::string& title) override;
    void ShowDetailedMessage(const std::string& text, const std::string& title,
                             const std::string& details) override;
    bool AskQuestion(const std::string& text, const std::string& title) override;
};

// The current receiver; a console one until another is installed.
IUserMessages& UserMessages();
// Installs a receiver and answers the one it replaces; nullptr restores the console one. The
// caller keeps ownership.
IUserMessages* SetUserMessages(IUserMessages* messages);

} // namespace tw
