#pragma once
// What the kernel input file takes from the material framework, through two seams that the
// material code fills at start-up:
//
// - The writer of the material blocks [soilmodeldata] and [soilparameters]. The kernel input file
//   calls it with itself, open for writing, right after its [header]; without a writer the file
//   goes on with [extraparameters].
// - The cap iteration of the Hardening Soil models, which turns K0nc into the cap parameter
//   alpha for the isotropic preconsolidation stress.
//
// Both are process-wide and set from the main thread before any file is written.

#include "materials/TestMaterial.h"

#include <functional>
#include <string>

namespace tw {

class TSystemOfUnits;

// The line format of a kernel text file, as the material blocks write it: one value a line, a
// tab, "=" and the label behind a value that has one; numbers with up to 15 significant digits
// and "." as decimal separator.
class IKernelFileLineWriter {
public:
    virtual ~IKernelFileLineWriter() = default;
    // "[name]" alone on its line; `name` is given with its brackets.
    virtual void WriteSection(const std::string& name) = 0;
    virtual void WriteString(const std::string& value, const std::string& label = "") = 0;
    virtual void WriteInteger(int value, const std::string& label = "") = 0;
    virtual void WriteDouble(double value, const std::string& label = "") = 0;
    virtual void WriteBlankLine() = 0;
    // The units of the file: every value is written in them.
    virtual const TSystemOfUnits& StorageSystemOfUnits() const = 0;
};

class IKernelMaterialWriter {
public:
    virtual ~IKernelMaterialWriter() = default;
    // Writes [soilmodeldata] and [soilparameters] of the material into the open file.
    virtual void WriteMaterialBlocks(IKernelFileLineWriter& file,
                                     const ITestMaterial& material) = 0;
};

// The registered writer, or nullptr while there is none. The caller keeps ownership of what it
// registers; SetKernelMaterialWriter answers the writer it replaces.
IKernelMaterialWriter* KernelMaterialWriter();
IKernelMaterialWriter* SetKernelMaterialWriter(IKernelMaterialWriter* writer);

// The cap iteration of Hardening Soil and HS small: alpha for the material and a K0nc. Empty
// while the soil models haven't registered it.
using THSCapAlphaFunction = std::function<double(const ITestMaterial& material, double k0nc)>;
const THSCapAlphaFunction& HSCapAlphaFunction();
// Answers the function it replaces.
THSCapAlphaFunction SetHSCapAlphaFunction(THSCapAlphaFunction function);

} // namespace tw
