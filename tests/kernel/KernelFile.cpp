#include "KernelFile.h"

#include "ResultFile.h"
#include "materials/HardeningSoilCap.h"

#include <cmath>

namespace tw::kernel::testing {

namespace {

std::string Number(double value) {
    return FormatNumber(value);
}

std::string List(const Vec6& values, const std::string& label) {
    std::string line;
    for (int i = 0; i < 6; ++i)
        line += Number(values(i)) + "\t";
    return line + "=" + label;
}

double SinDeg(double degrees) {
    return std::sin(degrees * M_PI / 180.0);
}

} // namespace

TKernelFile& TKernelFile::LinearElastic(double g, double nu) {
    Model = 1;
    ModelCaption = "Linear Elastic";
    Parameters[0] = g;
    Parameters[1] = nu;
    return *this;
}

TKernelFile& TKernelFile::MohrCoulomb(double g, double nu, double c, double phi, double psi,
                                      bool tensionCutOff, double tensileStrength) {
    Model = 2;
    ModelCaption = "Mohr-Coulomb";
    Parameters[0] = g;
    Parameters[1] = nu;
    Parameters[2] = SinDeg(phi);
    Parameters[3] = c;
    Parameters[4] = SinDeg(psi);
    Parameters[14] = tensionCutOff ? 1.0 : 0.0;
    Parameters[15] = tensileStrength;
    return *this;
}

TKernelFile& TKernelFile::HardeningSoil(const THardeningSoilMaterial& m) {
    const bool small = m.G0 > 0;
    Model = small ? 19 : 6;
    ModelCaption = small ? "HS small" : "Hardening Soil";
    const double k0nc = m.K0nc > 0 ? m.K0nc : 1 - SinDeg(m.Phi);
    const auto cap = tw::RunHSCapIter(m.Phi, m.E50, m.EOed, m.NuUr, m.Rf, k0nc, m.Eur, m.PowerM);
    Parameters[0] = m.Eur / (2 * (1 + m.NuUr));
    Parameters[1] = m.NuUr;
    Parameters[2] = SinDeg(m.Phi);
    Parameters[3] = m.Cohesion;
    Parameters[4] = SinDeg(m.Psi);
    Parameters[14] = m.TensionCutOff ? 1 : 0;
    Parameters[19] = m.InitialPorosity;
    Parameters[21] = m.MaxPorosity;
    Parameters[30] = cap.M;
    Parameters[31] = cap.KsKc;
    Parameters[33] = m.PowerM;
    Parameters[34] = m.PRef;
    Parameters[35] = cap.G50Ref;
    Parameters[36] = m.Rf;
    Parameters[37] = m.EOed;
    Parameters[38] = k0nc;
    Parameters[39] = m.E50;
    Parameters[48] = m.G0;
    Parameters[49] = m.Gamma07;
    return *this;
}

TKernelFile& TKernelFile::CamClay(int model, double lambdaStar, double kappaStar, double m,
                                  double nuUr, double k0nc, double muStar, double tau) {
    Model = model;
    ModelCaption = model == 5 ? "Modified Cam-Clay" : model == 4 ? "Soft Soil" : "Soft Soil Creep";
    Parameters[1] = nuUr;
    Parameters[30] = m;
    Parameters[31] = lambdaStar / kappaStar;
    Parameters[36] = k0nc;
    Parameters[37] = kappaStar;
    Parameters[38] = lambdaStar;
    Parameters[40] = muStar;
    Parameters[41] = tau;
    return *this;
}

TKernelFile& TKernelFile::HoekBrown(double g, double nu, double sigmaCi, double mb, double s,
                                    double a, double psiMax, double sigmaPsi, bool tensionCutOff,
                                    double tensileStrength) {
    Model = 15;
    ModelCaption = "Hoek-Brown";
    Parameters[0] = g;
    Parameters[1] = nu;
    Parameters[14] = tensionCutOff ? 1 : 0;
    Parameters[30] = sigmaCi;
    Parameters[36] = psiMax;
    Parameters[37] = sigmaPsi;
    Parameters[44] = mb;
    Parameters[45] = s;
    Parameters[46] = a;
    Parameters[48] = tensileStrength;
    return *this;
}

TKernelFile& TKernelFile::Undrained(int drainage, double waterBulkModulus, double porosity,
                                    double undrainedNu, double alpha) {
    Drainage = drainage;
    Behaviour = 1;
    Parameters[99] = waterBulkModulus;
    Parameters[19] = porosity;
    Parameters[27] = undrainedNu;
    Parameters[98] = alpha;
    return *this;
}

std::vector<std::string> TKernelFile::Lines() const {
    std::vector<std::string> l = {"[header]",
                                  std::to_string(Version) + "\t=file version number",
                                  MaterialName + "\t=materialname",
                                  "kN\t=unit of force",
                                  "m\t=unit of length",
                                  "day\t=unit of time"};
    if (Version >= 9) {
        l.push_back("K\t=unit of temperature");
        l.push_back("9.81\t=water weight");
    }
    for (int i = 0; i < (Version >= 9 ? 2 : 4); ++i)
        l.push_back("");
    l.push_back("[soilmodeldata]");
    l.push_back(std::to_string(Model) + "\t=soil model type " + ModelCaption);
    l.push_back(Library.empty() ? "" : Library + "\t=dll name");
    l.push_back(std::to_string(Drainage) + "\t=drainage");
    for (int i = 0; i < 6; ++i)
        l.push_back("");
    l.push_back("[soilparameters]");
    for (double value : Parameters)
        l.push_back(Number(value));
    if (WriteExtraParameters) {
        l.push_back("[extraparameters]");
        l.push_back("0\t=water thermal expansion");
        l.push_back("0\t=ice thermal expansion");
        l.push_back("1\t=mass unit conversion");
        l.push_back(std::to_string(UseUnfrozenWaterContent) + "\t=useUWC");
        if (UseUnfrozenWaterContent == 1) {
            l.push_back(std::to_string(UnfrozenWaterRows) + "\t=number of rows");
            for (double cell : UnfrozenWaterCells)
                l.push_back(Number(cell));
        }
    }
    static const char* const typeNames[] = {
        "triaxial", "oedometer", "CRS", "DSS", "CDSS", "general", "pressuremeter", "cyctriaxial"};
    l.push_back("[testparameters]");
    l.push_back(std::to_string(TestType) + "\t=" + typeNames[TestType & 7]);
    l.push_back(std::to_string(Behaviour) + "\t=behavior");
    if (Version >= 9) {
        l.push_back(std::to_string(Unsaturated) + "\t=unsaturated");
        l.push_back(std::to_string(Thermal) + "\t=thermal");
    }
    l.push_back(Number(Error) + "\t=error1");
    l.push_back(Number(Relax) + "\t=relax");
    l.push_back(std::to_string(MaxIter) + "\t=maxiter");
    l.push_back("0\t=arclength off");
    l.push_back(Number(Preconsolidation) + "\t=isotropic preconsolidation stress");
    l.push_back("-1\t=mob. rel. shear strength");
    l.push_back(Number(InnerRadius) + "\t=inner radius");
    l.push_back("0\t=test control type");
    l.push_back(List(InitialStress, "initial stresses"));
    if (Version >= 9) {
        l.push_back("0\t=initial suction");
        l.push_back(Number(InitialTemperature) + "\t=initial temperature");
    }
    l.push_back(std::to_string(Phases.size()) + "\t=number of phases");
    for (size_t i = 0; i < Phases.size(); ++i) {
        const auto& phase = Phases[i];
        const std::string n = phase.Name.empty() ? "phase " + std::to_string(i + 1) : phase.Name;
        l.push_back(std::to_string(phase.Steps) + "\t=number of steps in " + n);
        l.push_back(Number(phase.Duration) + "\t=phase duration for " + n);
        l.push_back(List(phase.Strain, "strain increments for " + n));
        l.push_back(List(phase.Stress, "stress increments for " + n));
        std::string conditions;
        for (int c : phase.Conditions)
            conditions += std::to_string(c) + "\t";
        l.push_back(conditions + "=boundary conditions");
        if (Version >= 9) {
            l.push_back("0\t=suction increment for " + n);
            l.push_back("0\t=temperature increment for " + n);
        }
    }
    l.push_back("");
    return l;
}

std::string TKernelFile::Text() const {
    return "\xEF\xBB\xBF" + Join(Lines());
}

TPhaseEntry TriaxialPhase(int steps, double axialStrain, double cellStressIncrement) {
    TPhaseEntry phase;
    phase.Steps = steps;
    phase.Strain(1) = axialStrain;
    phase.Stress(0) = phase.Stress(2) = cellStressIncrement;
    phase.Conditions = TriaxialConditions;
    return phase;
}

int LineOf(const std::vector<std::string>& lines, std::string_view text) {
    for (size_t i = 0; i < lines.size(); ++i)
        if (lines[i].find(text) != std::string::npos)
            return static_cast<int>(i) + 1;
    return 0;
}

std::string Join(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines)
        text += line + "\n";
    return text;
}

} // namespace tw::kernel::testing
