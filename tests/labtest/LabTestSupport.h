#pragma once
// Test doubles for the laboratory tests: a material with settable values and a recorder of the
// messages shown to the user.

#include "materials/TestMaterial.h"
#include "services/UserMessages.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace tw::testing {

class TFakeMaterial : public ITestMaterial {
public:
    TMXSoil_MaterialModel Model = mxsmmMohrCoulomb;
    TMXSoil_DrainageType Drainage = mxsdtDrained;
    // Every material knows its water: the header of a kernel file needs its weight.
    std::map<std::string, double> Numbers{{"RhoWater", 1000.0}, {"GravityAcceleration", 9.81}};
    std::map<std::string, TTestMaterialTable> Tables;
    std::string Id = "Sand";
    TObservable Observable;

    TMXSoil_MaterialModel SoilModel() const override { return Model; }
    TMXSoil_DrainageType DrainageType() const override { return Drainage; }
    std::optional<double> GetNumber(const std::string& name) const override {
        auto it = Numbers.find(name);
        return it == Numbers.end() ? std::nullopt : std::optional<double>(it->second);
    }
    std::optional<TTestMaterialTable> GetTable(const std::string& name) const override {
        auto it = Tables.find(name);
        return it == Tables.end() ? std::nullopt : std::optional<TTestMaterialTable>(it->second);
    }
    std::string Identification() const override { return Id; }
    TObservable& MaterialObservable() override { return Observable; }
    std::unique_ptr<ITestMaterial> CreateStaticCopy() const override {
        auto copy = std::make_unique<TFakeMaterial>();
        copy->Model = Model;
        copy->Drainage = Drainage;
        copy->Numbers = Numbers;
        copy->Tables = Tables;
        copy->Id = Id;
        return copy;
    }
    void Changed() { Observable.NotifyObservers(); }
};

// A file's bytes, as they stand.
inline std::string ReadBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
inline void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// Records messages for the life of a scope.
class TMessageRecorder : public IUserMessages {
public:
    struct TMessage {
        std::string Text, Title, Details;
    };
    std::vector<TMessage> Messages;
    bool Answer = true;

    TMessageRecorder() : FPrevious(SetUserMessages(this)) {}
    ~TMessageRecorder() override { SetUserMessages(FPrevious); }
    void ShowMessage(const std::string& text, const std::string& title) override {
        Messages.push_back({text, title, {}});
    }
    void ShowDetailedMessage(const std::string& text, const std::string& title,
                             const std::string& details) override {
        Messages.push_back({text, title, details});
    }
    bool AskQuestion(const std::string& text, const std::string& title) override {
        Messages.push_back({text, title, {}});
        return Answer;
    }

private:
    IUserMessages* FPrevious;
};

} // namespace tw::testing
