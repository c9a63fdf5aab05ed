// The headless Tarnwick program. For now its job is to show the triaxial test of a new project:
// every property with its value in the project's units.

#include "labtest/QBProject.h"
#include "materials/SimpleTestMaterial.h"
#include "objects/ObjectManager.h"
#include "services/CommandLine.h"
#include "services/Format.h"

#include <cstdio>
#include <iostream>

using namespace tw;

namespace {

std::string ValueText(const TKovIntrinsicProperty& property, const TSystemOfUnits& units,
                      std::string& unit) {
    unit.clear();
    if (const auto* number = dynamic_cast<const TIPDoubleWithUnit*>(&property)) {
        unit = units.PresentationUnitText(number->QuantityType());
        return FloatToStr(number->GetPresentationValue(&units), 10);
    }
    if (const auto* enumeration = dynamic_cast<const TIPEnumeration*>(&property))
        return enumeration->ValueCaption();
    if (const auto* object = dynamic_cast<const TIPKovObject*>(&property))
        return object->Value() ? object->Value()->Name() : "<not assigned>";
    return property.ValueAsText();
}

void PrintProperties(const TKovObservableObject& object, const TSystemOfUnits& units,
                     const std::string& indent) {
    for (int i = 0; i < object.IntrinsicPropertiesCount(); ++i) {
        const TKovIntrinsicProperty& property = *object.GetIntrinsicProperty(i);
        std::string unit;
        const std::string value = ValueText(property, units, unit);
        std::string flags = property.IsPublished() ? "" : "hidden";
        if (property.ReadOnly())
            flags += flags.empty() ? "read-only" : ", read-only";
        std::cout << Format("%s%-28s %-16s %-8s %s\n", indent, property.Name(), value, unit, flags);
    }
}

} // namespace

int main(int argc, char** argv) {
    TCommandLine::SetProgram(TCommandLine(argc, argv));
    try {
        TKovObjectManager manager;
        manager.LockRevert();
        auto material =
            std::make_unique<TSimpleTestMaterial>("Material", mxsmmMohrCoulomb, mxsdtDrained);
        auto project = Make<TQBProject>(&manager, std::move(material), tm3D);
        manager.UnlockRevert();
        manager.ClearRevertStacks();

        const TSystemOfUnits& units = project->SystemOfUnits();
        const TQBTestBase& test = *project->TriaxialTest();
        std::cout << "Tarnwick: a laboratory for soil models\n\n"
                  << Format("Triaxial test of a new project (kernel %s, material \"%s\", %s)\n\n",
                            project->KernelExecutableName(), project->MainMaterialIdentification(),
                            MaterialModelCaption(project->MainMaterial()->SoilModel()));
        PrintProperties(test, units, "  ");
        for (int i = 0; i < test.Phases().Count(); ++i) {
            std::cout << Format("\n  Phase %d\n", i + 1);
            PrintProperties(test.Phases()[i], units, "    ");
        }
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "tarnwick: " << e.what() << std::endl;
        return 1;
    }
}
