#include "gui/MessageBoxes.h"

#include "gui/QtText.h"

#include <QApplication>
#include <QMessageBox>

namespace tw {

void TMessageBoxes::ShowMessage(const std::string& text, const std::string& title) {
    QMessageBox::information(QApplication::activeWindow(), ToQ(title), ToQ(text));
}

void TMessageBoxes::ShowDetailedMessage(const std::string& text, const std::string& title,
                                        const std::string& details) {
    QMessageBox box(QMessageBox::Information, ToQ(title), ToQ(text), QMessageBox::Ok,
                    QApplication::activeWindow());
    box.setInformativeText(ToQ(details).trimmed());
    box.exec();
}

bool TMessageBoxes::AskQuestion(const std::string& text, const std::string& title) {
    return QMessageBox::question(QApplication::activeWindow(), ToQ(title), ToQ(text),
                                 QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

} // namespace tw
