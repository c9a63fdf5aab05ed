#pragma once
// Texts between the model (UTF-8 std::string, caption markup) and Qt (QString, rich text).

#include <QColor>
#include <QString>

#include <string>

namespace tw {

inline QString ToQ(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::string FromQ(const QString& text) {
    return text.toStdString();
}
// A text through the translation catalogue.
QString Tr(const std::string& text);
// A caption in the model's markup ("|@s#'_xx#|") as rich text for labels and chart titles.
QString CaptionHtml(const std::string& markup);
// The same as one line of plain text.
QString CaptionPlain(const std::string& markup);
// A caption and a unit: "caption [unit]", or the caption alone without unit; rich text.
QString CaptionWithUnitHtml(const std::string& markup, const std::string& unit);
// A chart colour (0xRRGGBB).
QColor ToQColor(unsigned color);

// The title of every message box of the program.
inline const char* const MessageTitle = "Tarnwick";

} // namespace tw
