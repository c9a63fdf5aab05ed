#pragma once
// The markup of result captions and axis titles: "@x" is a Greek letter (@e epsilon, @s sigma,
// @t tau, @g gamma, @D delta, ...), "_" starts a subscript and "^" a superscript that run to the
// next "#", a "#" outside them ends the special form before it and shows nothing, and every other
// character stands for itself ("|@s#_1# - @s#_3#|" reads |σ₁ - σ₃|, "K_0#^nc#" K₀ⁿᶜ). A caption is
// parsed into runs of plain, subscript and superscript text, which each renderer (plain text, HTML
// for Qt's rich text, SVG) draws in its own way.

#include <string>
#include <string_view>
#include <vector>

namespace tw {

struct TCaptionRun {
    std::string Text; // UTF-8
    bool Subscript = false;
    bool Superscript = false;
    bool operator==(const TCaptionRun&) const = default;
};

// Adjacent runs of the same kind are joined; empty runs are left out.
std::vector<TCaptionRun> ParseCaptionMarkup(std::string_view markup);

// The runs as one line of plain text, a subscript written after "_" and a superscript after "^":
// "σ'_1", "K_0^nc".
std::string CaptionToPlainText(std::string_view markup);
// The runs as HTML for a rich-text label: "σ'<sub>1</sub>", "K<sub>0</sub><sup>nc</sup>", with &,
// < and > escaped.
std::string CaptionToHtml(std::string_view markup);

// Escapes &, <, >, " and ' for XML text and attribute values, and drops the control characters
// that XML can't hold.
std::string EscapeXml(std::string_view text);

} // namespace tw
