// Writing the 200 places of [soilparameters] of a Hardening Soil material (with the cap fit), in
// the units of a new project, into a line writer that keeps its lines in memory.

#include "materials/KernelMaterialWriter.h"
#include "materials/MaterialXClient.h"
#include "materials/MaterialXFactory.h"
#include "materials/MaterialXTools.h"
#include "materials/SoilKernelMaterialWriter.h"
#include "services/Format.h"
#include "units/SystemOfUnits.h"

#include <benchmark/benchmark.h>

using namespace tw;

namespace {

class TLines : public IKernelFileLineWriter {
public:
    TLines() { FUnits.SetUnitsOfNewProject(); }
    std::vector<std::string> Lines;
    void WriteSection(const std::string& name) override { Lines.push_back(name); }
    void WriteString(const std::string& value, const std::string& label) override {
        Lines.push_back(value + "\t=" + label);
    }
    void WriteInteger(int value, const std::string& label) override {
        WriteString(std::to_string(value), label);
    }
    void WriteDouble(double value, const std::string& label) override {
        WriteString(FloatToStr(value), label);
    }
    void WriteBlankLine() override { Lines.emplace_back(); }
    const TSystemOfUnits& StorageSystemOfUnits() const override { return FUnits; }

private:
    TSystemOfUnits FUnits;
};

void BM_WriteSoilParametersHardeningSoil(benchmark::State& state) {
    TMaterialXClient_Abstract::SetInstance(std::make_unique<TMaterialXClientTarnwick>(mxcgt3D));
    RegisterSoilKernelMaterialWriter();
    auto material = TMaterialXFactory::CreateSoilMaterialX(
        nullptr, "Sand", mxsmmHardeningSoil, [](const std::string& name) -> std::optional<TVarRec> {
            if (name == "Gravity")
                return TVarRec(9.81);
            if (name == "WaterWeight")
                return TVarRec(10000.0);
            return std::nullopt;
        });
    TMaterialXTools::SetUserPropertyValueFrom(*material, "E50Ref", 30e6);
    TMaterialXTools::SetUserPropertyValueFrom(*material, "phi", 32.0);
    TLines lines;
    lines.Lines.reserve(256);
    for (auto _ : state) {
        lines.Lines.clear();
        KernelMaterialWriter()->WriteMaterialBlocks(lines, *material);
    }
}
BENCHMARK(BM_WriteSoilParametersHardeningSoil)->Unit(benchmark::kMicrosecond);

} // namespace
