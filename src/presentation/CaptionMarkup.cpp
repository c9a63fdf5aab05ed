#include "presentation/CaptionMarkup.h"

namespace tw {

namespace {
// The letter after "@" and its Greek letter; a letter not listed stands for itself.
const char* GreekLetter(char letter) {
    switch (letter) {
    case 'a':
        return "α";
    case 'b':
        return "β";
    case 'g':
        return "γ";
    case 'd':
        return "δ";
    case 'e':
        return "ε";
    case 'z':
        return "ζ";
    case 'h':
        return "η";
    case 'q':
        return "θ";
    case 'k':
        return "κ";
    case 'l':
        return "λ";
    case 'm':
        return "μ";
    case 'n':
        return "ν";
    case 'x':
        return "ξ";
    case 'p':
        return "π";
    case 'r':
        return "ρ";
    case 's':
        return "σ";
    case 't':
        return "τ";
    case 'f':
        return "φ";
    case 'c':
        return "χ";
    case 'y':
        return "ψ";
    case 'w':
        return "ω";
    case 'D':
        return "Δ";
    case 'G':
        return "Γ";
    case 'Q':
        return "Θ";
    case 'L':
        return "Λ";
    case 'P':
        return "Π";
    case 'S':
        return "Σ";
    case 'F':
        return "Φ";
    case 'W':
        return "Ω";
    default:
        return nullptr;
    }
}

enum class TScript { Normal, Sub, Super };

void Append(std::vector<TCaptionRun>& runs, TScript script, std::string_view text) {
    if (text.empty())
        return;
    const bool sub = script == TScript::Sub, super = script == TScript::Super;
    if (runs.empty() || runs.back().Subscript != sub || runs.back().Superscript != super)
        runs.push_back({std::string(), sub, super});
    runs.back().Text.append(text);
}
} // namespace

std::vector<TCaptionRun> ParseCaptionMarkup(std::string_view markup) {
    std::vector<TCaptionRun> runs;
    TScript script = TScript::Normal;
    for (size_t i = 0; i < markup.size(); ++i) {
        const char c = markup[i];
        if (c == '@' && i + 1 < markup.size()) {
            const char letter = markup[++i];
            const char* greek = GreekLetter(letter);
            Append(runs, script, greek ? std::string_view(greek) : std::string_view(&letter, 1));
        } else if (c == '_' && script == TScript::Normal) {
            script = TScript::Sub;
        } else if (c == '^' && script == TScript::Normal) {
            script = TScript::Super;
        } else if (c == '#') {
            script = TScript::Normal;
        } else {
            Append(runs, script, std::string_view(&c, 1));
        }
    }
    return runs;
}

std::string CaptionToPlainText(std::string_view markup) {
    std::string text;
    for (const TCaptionRun& run : ParseCaptionMarkup(markup)) {
        if (run.Subscript)
            text += '_';
        else if (run.Superscript)
            text += '^';
        text += run.Text;
    }
    return text;
}

std::string CaptionToHtml(std::string_view markup) {
    std::string html;
    for (const TCaptionRun& run : ParseCaptionMarkup(markup)) {
        if (run.Subscript)
            html += "<sub>" + EscapeXml(run.Text) + "</sub>";
        else if (run.Superscript)
            html += "<sup>" + EscapeXml(run.Text) + "</sup>";
        else
            html += EscapeXml(run.Text);
    }
    return html;
}

std::string EscapeXml(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&apos;";
            break;
        default:
            // XML 1.0 has no place for the other control characters.
            if (static_cast<unsigned char>(c) >= 0x20 || c == '\t' || c == '\n' || c == '\r')
                escaped += c;
        }
    }
    return escaped;
}

} // namespace tw
