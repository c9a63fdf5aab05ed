#include "services/Localisation.h"

namespace tw {

namespace {
TTranslator& Translator() {
    static TTranslator translator;
    return translator;
}
} // namespace

std::string Translate(const std::string& text) {
    const auto& translator = Translator();
    return translator ? translator(text) : text;
}

void SetTranslator(TTranslator translator) {
    Translator() = std::move(translator);
}

} // namespace tw
