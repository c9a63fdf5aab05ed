#pragma once
// Messages and questions of the window program: modal boxes over the active window.

#include "services/UserMessages.h"

namespace tw {

class TMessageBoxes : public IUserMessages {
public:
    void ShowMessage(const std::string& text, const std::string& title) override;
    bool AskQuestion(const std::string& text, const std::string& title) override;
};

} // namespace tw
