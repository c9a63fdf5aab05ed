#pragma once
// Messages and questions of the window program: modal boxes over the active window.

#include "services/UserMessages.h"

namespace tw {

class TMessageBoxes : public IUserMessages {
public:
    void ShowMessage(const std::string& text, const std::string& title) override;
    // The detail stands below the text in the same box, in full view: it is what the user needs
    // to act on (the reason a kernel stopped).
    void ShowDetailedMessage(const std::string& text, const std::string& title,
                             const std::string& details) override;
    bool AskQuestion(const std::string& text, const std::string& title) override;
};

} // namespace tw
