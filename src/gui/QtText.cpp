#include "gui/QtText.h"

#include "presentation/CaptionMarkup.h"
#include "services/Localisation.h"

namespace tw {

QString Tr(const std::string& text) {
    return ToQ(Translate(text));
}

QString CaptionHtml(const std::string& markup) {
    return ToQ(CaptionToHtml(markup));
}

QString CaptionPlain(const std::string& markup) {
    return ToQ(CaptionToPlainText(markup));
}

QString CaptionWithUnitHtml(const std::string& markup, const std::string& unit) {
    QString text = CaptionHtml(markup);
    if (!unit.empty())
        text += QStringLiteral(" [") + ToQ(EscapeXml(unit)) + QStringLiteral("]");
    return text;
}

QColor ToQColor(unsigned color) {
    return QColor((color >> 16) & 0xFF, (color >> 8) & 0xFF, color & 0xFF);
}

} // namespace tw
