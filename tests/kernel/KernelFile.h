#pragma once
// Kernel input files for the tests, written line by line as the lab writes them: a value, a tab,
// "=" and the label; list lines with a tab behind every value.

#include "KernelTypes.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace tw::kernel::testing {

struct TPhaseEntry {
    int Steps = 10;
    double Duration = 0.0;
    Vec6 Strain = Vec6::Zero(); // whole phase, fractions
    Vec6 Stress = Vec6::Zero();
    std::array<int, 6> Conditions{}; // 0 strain, 1 stress
    std::string Name;                // "phase <n>" when empty
};

// Boundary conditions of the lab's test types: the directions written as stress-controlled.
constexpr std::array<int, 6> TriaxialConditions = {1, 0, 1, 1, 0, 0};
constexpr std::array<int, 6> OedometerConditions = {0, 1, 0, 1, 0, 0};
constexpr std::array<int, 6> DssConditions = {0, 1, 0, 0, 0, 0};

// A Hardening Soil material (HS small with G0ref and gamma07 above 0). Stiffnesses in kN/m2,
// angles in degrees; K0nc of 0 stands for 1 - sin phi. The cap at places 30 and 31 comes from the
// material side's cap iteration, as the lab writes it.
struct THardeningSoilMaterial {
    double E50 = 20000, EOed = 20000, Eur = 60000, NuUr = 0.2, PowerM = 0.5, PRef = 100;
    double Rf = 0.9, Phi = 30, Psi = 0, Cohesion = 0, K0nc = 0;
    bool TensionCutOff = true;
    double G0 = 0, Gamma07 = 0;
    double InitialPorosity = 0, MaxPorosity = 0; // the dilatancy cut-off when above 0
};

struct TKernelFile {
    int Version = 9;
    std::string MaterialName = "test soil";
    int Model = 2;
    std::string ModelCaption = "Mohr-Coulomb";
    std::string Library;
    int Drainage = 0;
    std::array<double, 200> Parameters{};
    bool WriteExtraParameters = true;
    int UseUnfrozenWaterContent = 0;
    int UnfrozenWaterRows = 0;
    std::vector<double> UnfrozenWaterCells;
    int TestType = 0;
    int Behaviour = 0;
    int Unsaturated = 0;
    int Thermal = 0;
    double Error = 0.01;
    double Relax = 1.0;
    int MaxIter = 50;
    Vec6 InitialStress = Vec6::Zero();
    double InitialTemperature = 0.0;
    double Preconsolidation = 0.0; // isotropic, positive
    double InnerRadius = 0.0;
    std::vector<TPhaseEntry> Phases;

    TKernelFile& LinearElastic(double g, double nu);
    // Angles in degrees; places 2 and 4 hold their sines.
    TKernelFile& MohrCoulomb(double g, double nu, double c, double phi, double psi,
                             bool tensionCutOff = false, double tensileStrength = 0.0);
    TKernelFile& HardeningSoil(const THardeningSoilMaterial& m);
    // Modified Cam-Clay (5), Soft Soil (4, with the strength of MohrCoulomb's places) or Soft
    // Soil Creep (8, with mu* and tau0): the modified indices at places 38 and 37.
    TKernelFile& CamClay(int model, double lambdaStar, double kappaStar, double m, double nuUr,
                         double k0nc, double muStar = 0, double tau = 0);
    // Hoek-Brown (15): psiMax in degrees; the cut-off switch at place 14, its strength at 48.
    TKernelFile& HoekBrown(double g, double nu, double sigmaCi, double mb, double s, double a,
                           double psiMax = 0, double sigmaPsi = 0, bool tensionCutOff = false,
                           double tensileStrength = 0);
    TKernelFile& Undrained(int drainage, double waterBulkModulus, double porosity,
                           double undrainedNu = 0.495, double alpha = 1.0);

    std::vector<std::string> Lines() const;
    std::string Text() const;
};

// A triaxial phase: axial (yy) strain given, cell pressure and xy held by stress.
TPhaseEntry TriaxialPhase(int steps, double axialStrain, double cellStressIncrement = 0.0);

// The number of the first line that holds text, counted from 1; 0 if none does.
int LineOf(const std::vector<std::string>& lines, std::string_view text);

std::string Join(const std::vector<std::string>& lines);

} // namespace tw::kernel::testing
