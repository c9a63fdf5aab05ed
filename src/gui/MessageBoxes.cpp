#include "gui/MessageBoxes.h"

#include "gui/QtText.h"

#include <QApplication>
#include <QMessageBox>

namespace tw {

void TMessageBoxes::ShowMessage(const std::string& text, const std::string& title) {
    QMessageBox::information(QApplication::activeWindow(), ToQ(title), ToQ(text));
}

bool TMessageBoxes::AskQuestion(const std::string& text, const std::string& title) {
    return QMessageBox::question(QApplication::activeWindow(), ToQ(title), ToQ(text),
                                 QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

} // namespace tw
