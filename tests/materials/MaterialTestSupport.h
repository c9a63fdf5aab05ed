#pragma once
// What the material tests share: a client, the project's answers, and soil materials made
// through the factory.

#include "materials/MaterialXClient.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilKernelMaterialWriter.h"
#include "materials/SoilMaterialXRegistration.h"
#include "objects/ObjectManager.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

namespace tw::testing {

// A project of gravity 9.81 m/s2 and water of 10 kN/m3 (1019.37 kg/m3).
inline TPropertyQueryFunc ProjectQuery(double gravity = 9.81, double waterWeight = 10000.0) {
    return [=](const std::string& name) -> std::optional<TVarRec> {
        if (name == "Gravity")
            return TVarRec(gravity);
        if (name == "WaterWeight")
            return TVarRec(waterWeight);
        if (name == "IdentificationNumber")
            return TVarRec(int32_t(12345));
        return std::nullopt;
    };
}

// Sets a 3D client for the whole test binary.
class TMaterialEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        TMaterialXClient_Abstract::SetInstance(std::make_unique<TMaterialXClientTarnwick>(mxcgt3D));
        TMaterialXRegisters_Soil::EnsureRegistered();
        RegisterSoilKernelMaterialWriter();
    }
};

inline std::unique_ptr<TKovSoilMaterialX> MakeSoil(TMXSoil_MaterialModel model,
                                                   TKovObjectManager* manager = nullptr,
                                                   const std::string& name = "Sand") {
    return TMaterialXFactory::CreateSoilMaterialX(manager, name, model, ProjectQuery());
}

inline double UserValue(const TKovMaterialX& material, const std::string& name) {
    return TMaterialXTools::GetUserPropertyValueFrom(material, name);
}

inline void SetUser(TKovMaterialX& material, const std::string& name, double value) {
    TMaterialXTools::SetUserPropertyValueFrom(material, name, value);
}

// Gives each stored number of a material a value of its own within its range, so that a lost
// value shows.
inline void ScrambleStoredNumbers(TKovMaterialX& material) {
    int i = 0;
    for (TKovIntrinsicProperty* property : material.InternalProperties())
        if (auto* number = dynamic_cast<TIPDouble*>(property)) {
            const double min = number->MinValue(), max = number->MaxValue();
            double value = 0.05 + 0.001 * (++i % 97);
            if (max > min && (value < min || value > max))
                value = max < 1e300 ? min + (max - min) * 0.37 : min + 1.5;
            number->SetValue(value);
        }
}

// Every user value that can be read, by name, as text; a value that raises reads as its message.
inline std::map<std::string, std::string> AllUserValues(const TKovMaterialX& material) {
    std::map<std::string, std::string> values;
    for (TKovIntrinsicProperty* property : material.UserProperties()) {
        std::string text;
        try {
            text = property->GetStaticEquivalent()->ValueAsText();
        } catch (const std::exception& e) {
            text = std::string("raises: ") + e.what();
        }
        values[property->Name()] = text;
    }
    for (TKovIntrinsicProperty* property : material.InternalProperties())
        values["internal." + property->Name()] = property->ValueAsText();
    return values;
}

} // namespace tw::testing

#include "materials/KernelMaterialWriter.h"
#include "services/Format.h"
#include "units/SystemOfUnits.h"

#include <vector>

namespace tw::testing {

// Records the lines a material writer writes, in the line format of the kernel files, in the
// units of a new project (kN, m, day).
class TRecordingLineWriter : public IKernelFileLineWriter {
public:
    TRecordingLineWriter() { FUnits.SetUnitsOfNewProject(); }
    std::vector<std::string> Lines;

    void WriteSection(const std::string& name) override { Lines.push_back(name); }
    void WriteString(const std::string& value, const std::string& label) override {
        Lines.push_back(label.empty() ? value : value + "\t=" + label);
    }
    void WriteInteger(int value, const std::string& label) override {
        WriteString(std::to_string(value), label);
    }
    void WriteDouble(double value, const std::string& label) override {
        WriteString(FloatToStr(value), label);
    }
    void WriteBlankLine() override { Lines.push_back(""); }
    const TSystemOfUnits& StorageSystemOfUnits() const override { return FUnits; }

    // The 200 values of [soilparameters], by place.
    std::vector<double> Record() const {
        std::vector<double> values;
        for (int place = 0; place < 200; ++place)
            values.push_back(Place(place));
        return values;
    }

    // The value at a place of [soilparameters].
    double Place(int place) const {
        for (size_t i = 0; i < Lines.size(); ++i)
            if (Lines[i] == "[soilparameters]")
                return std::stod(Lines.at(i + 1 + size_t(place)));
        throw std::runtime_error("no [soilparameters]");
    }

private:
    TSystemOfUnits FUnits;
};

} // namespace tw::testing
