// Writes the help folder that the window's Help menu opens: `make_help SOURCE_DIR HELP_DIR`.
// "contents.pdf" is the manual: README.md of the source tree printed on A4 pages with its
// pictures. "CommandsAndObjects/index.html" is the command reference, made from the registries
// of a new 2D project on the example sand (CommandReference.h). The build runs it, so the help
// always describes the program beside it.

#include "app/CommandReference.h"
#include "app/Startup.h"
#include "objects/ObjectManager.h"

#include <QFile>
#include <QGuiApplication>
#include <QPageSize>
#include <QPdfWriter>
#include <QTextDocument>
#include <QUrl>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

using namespace tw;
namespace fs = std::filesystem;

namespace {

std::string ReadText(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + file.string());
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// Written beside the target and renamed, so a failed run leaves the old file.
void WriteText(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    const fs::path temporary = file.string() + ".tmp";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << text;
        if (!out.flush())
            throw std::runtime_error("cannot write " + temporary.string());
    }
    fs::rename(temporary, file);
}

void WriteManual(const fs::path& source, const fs::path& help) {
    QTextDocument document;
    // Pictures are named relative to the README.
    document.setBaseUrl(QUrl::fromLocalFile(QString::fromStdString((source / "").string())));
    document.setMarkdown(QString::fromStdString(ReadText(source / "README.md")));
    const fs::path temporary = help / "contents.pdf.tmp";
    {
        QPdfWriter writer(QString::fromStdString(temporary.string()));
        writer.setPageSize(QPageSize(QPageSize::A4));
        writer.setPageMargins(QMarginsF(15, 15, 15, 15), QPageLayout::Millimeter);
        writer.setTitle("Tarnwick");
        writer.setCreator("Tarnwick");
        document.print(&writer);
    }
    if (!fs::exists(temporary) || fs::file_size(temporary) == 0)
        throw std::runtime_error("cannot write " + temporary.string());
    fs::rename(temporary, help / "contents.pdf");
}

void WriteCommandReference(const fs::path& source, const fs::path& help) {
    const std::string input =
        (source / "examples" / "materials" / "medium_dense_sand_mohr_coulomb.xml").string();
    TKovObjectManager manager;
    TStartupOutcome outcome = StartUp(TCommandLine({input, "2"}), manager);
    if (!outcome.Started())
        throw std::runtime_error(outcome.Message);
    WriteText(help / "CommandsAndObjects" / "index.html", CommandReferenceHtml(*outcome.Project));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: make_help SOURCE_DIR HELP_DIR\n";
        return 2;
    }
    // Fonts and the PDF need the GUI library, not a display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    try {
        const fs::path source = argv[1], help = argv[2];
        fs::create_directories(help);
        WriteManual(source, help);
        WriteCommandReference(source, help);
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "make_help: " << e.what() << "\n";
        return 1;
    }
}
