#include "commands/CommandHistory.h"

#include "commands/CommandParameters.h"
#include "services/Format.h"
#include "services/Strings.h"

#include <filesystem>

namespace tw {

void TCommandHistory::Add(TEntry entry) {
    if (VetoedAdding(entry.Text))
        return;
    FCommands.push_back(std::move(entry));
    const int index = Count() - 1;
    // Subscribers may unsubscribe while they are told: walk a copy.
    const auto observers = FObservers;
    for (const auto& [handle, observer] : observers)
        if (observer.OnAdded)
            observer.OnAdded(index);
}

void TCommandHistory::AddCommand(const std::string& text) {
    Add({text, nullptr});
}

void TCommandHistory::AddCommand(const std::string& text, bool result, int32_t errorPos,
                                 const std::string& info, const std::string& comments) {
    Add({text, std::make_shared<TCommandResult>(TCommandResult{result, errorPos, info, comments})});
}

bool TCommandHistory::AddFromFile(const std::string& fileName) {
    std::ifstream file(fileName);
    if (!file)
        return false;
    std::string line;
    while (std::getline(file, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        AddCommand(line);
    }
    return true;
}

std::string TCommandHistory::Last() const {
    return FCommands.empty() ? std::string() : FCommands.back().Text;
}

void TCommandHistory::PreviewCommand(const std::string& text) {
    const auto observers = FObservers;
    for (const auto& [handle, observer] : observers)
        if (observer.OnPreview)
            observer.OnPreview(text);
}

bool TCommandHistory::VetoedAdding(const std::string& text) const {
    return FOnBeforeCommandAdd && !FOnBeforeCommandAdd(text);
}

void TCommandHistory::Clear() {
    FCommands.clear();
}

int TCommandHistory::SubscribeToNotifications(TCommandNotifyObject subscriber) {
    FObservers.emplace(FNextHandle, std::move(subscriber));
    return FNextHandle++;
}

void TCommandHistory::UnsubscribeFromNotifications(int handle) {
    FObservers.erase(handle);
}

bool TCommandHistory::ExportTo(const std::string& fileName) const {
    const std::string temporary = fileName + ".tmp";
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        for (const auto& entry : FCommands)
            file << entry.Text << '\n';
        file.close();
        if (!file) {
            std::error_code ignored;
            std::filesystem::remove(temporary, ignored);
            return false;
        }
    }
    std::error_code error;
    std::filesystem::rename(temporary, fileName, error);
    if (error)
        std::filesystem::remove(temporary, error);
    return !error;
}

void TCommandHistory::Assign(const TCommandHistory& source) {
    if (KindName() != source.KindName())
        throw ECommandError(
            Format("Assigning only works between objects of same type, not between %s and %s",
                   KindName(), source.KindName()));
    FCommands = source.FCommands;
}

// ---------------------------------------------------------------------------------------------

TCommandHistoryLogger::TCommandHistoryLogger(TCommandHistory& history, const std::string& fileName)
    : FHistory(history), FFileName(fileName), FLastLogged(history.Count() - 1) {
    Open(false);
    FSubscription = FHistory.SubscribeToNotifications({[this](int) { WriteBacklog(); }, nullptr});
}

TCommandHistoryLogger::~TCommandHistoryLogger() {
    FHistory.UnsubscribeFromNotifications(FSubscription);
}

void TCommandHistoryLogger::Open(bool truncate) {
    FFile.close();
    FFile.clear();
    FFile.open(FFileName, std::ios::binary | (truncate ? std::ios::trunc : std::ios::app));
    FCanWrite = static_cast<bool>(FFile);
    FActive = true;
}

void TCommandHistoryLogger::CloseLog() {
    FFile.close();
    FActive = false;
}

void TCommandHistoryLogger::ReopenLog(const std::string& fileName) {
    if (!fileName.empty())
        FFileName = fileName;
    Open(false);
    WriteBacklog();
}

void TCommandHistoryLogger::ReinitializeFromHistory() {
    Open(true);
    FLastLogged = -1;
    WriteBacklog();
}

void TCommandHistoryLogger::Unlock() {
    if (FLockCount > 0 && --FLockCount == 0)
        WriteBacklog();
}

void TCommandHistoryLogger::WriteBacklog() {
    if (!FActive || !FCanWrite || FLockCount > 0)
        return;
    for (int i = FLastLogged + 1; i < FHistory.Count(); ++i)
        FFile << FHistory.GetCommand(i) << '\n';
    FFile.flush();
    FCanWrite = static_cast<bool>(FFile);
    FLastLogged = FHistory.Count() - 1;
}

} // namespace tw
