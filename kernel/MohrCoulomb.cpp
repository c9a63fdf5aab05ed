#include "MohrCoulomb.h"

#include <Eigen/Eigenvalues>
#include <Eigen/LU>

#include <algorithm>
#include <cmath>

namespace tw::kernel {

namespace {

// Relative tolerance of the region checks. A trial stress on the border of two regions returns
// to the same stress by either, so the checks may be generous; the returned stress itself is
// exact to rounding.
constexpr double RegionTolerance = 1e-10;

// Builds the Voigt transformation A of the eigenvector matrix q (columns are the principal
// directions): global stress = A * principal stress, principal strain = A^T * global strain,
// both with the shear pairs (0,1), (1,2), (2,0).
Mat6 Transformation(const Mat3& q) {
    static constexpr int I[6] = {0, 1, 2, 0, 1, 2};
    static constexpr int J[6] = {0, 1, 2, 1, 2, 0};
    Mat6 a;
    for (int row = 0; row < 6; ++row) {
        const int ra = I[row];
        const int rb = J[row];
        for (int col = 0; col < 3; ++col)
            a(row, col) = q(ra, col) * q(rb, col);
        for (int col = 3; col < 6; ++col) {
            const int i = I[col];
            const int j = J[col];
            a(row, col) = q(ra, i) * q(rb, j) + q(ra, j) * q(rb, i);
        }
    }
    return a;
}

} // namespace

TMohrCoulomb::TMohrCoulomb(const TMohrCoulombParameters& p)
    : FParameters(p), FElastic(ElasticStiffness(p.G, p.Nu)) {
    FElasticPrincipal = FElastic.topLeftCorner<3, 3>();
    const double s = p.SinPhi;
    const double sp = p.SinPsi;
    const double cosPhi = std::sqrt(std::max(0.0, 1.0 - s * s));
    const double kMc = 2.0 * p.Cohesion * cosPhi;
    FA[0] = Vec3(1.0 + s, 0.0, -(1.0 - s));
    FB[0] = Vec3(1.0 + sp, 0.0, -(1.0 - sp));
    FA[1] = Vec3(0.0, 1.0 + s, -(1.0 - s));
    FB[1] = Vec3(0.0, 1.0 + sp, -(1.0 - sp));
    FA[2] = Vec3(1.0 + s, -(1.0 - s), 0.0);
    FB[2] = Vec3(1.0 + sp, -(1.0 - sp), 0.0);
    for (int i = 0; i < 3; ++i) {
        FK[i] = kMc;
        FA[3 + i] = Vec3::Unit(i);
        FB[3 + i] = Vec3::Unit(i);
        FK[3 + i] = p.TensileStrength;
    }
    // The apex of the cone lies at c cot(phi) on the hydrostatic axis; without friction there is
    // none, and a cut-off at or above the apex never acts.
    const bool hasApex = s > 0.0;
    const double apex = hasApex ? p.Cohesion * cosPhi / s : 0.0;
    FTensionActive =
        p.TensionCutOff && (!hasApex || p.TensileStrength < apex - 1e-12 * std::abs(apex));
    FStrengthScale = std::max(kMc, FTensionActive ? std::abs(p.TensileStrength) : 0.0);

    // The order is that of the search: the first combination whose multipliers are not negative
    // and whose stress is admissible and keeps the principal order is the return.
    AddActiveSet({0}, "plane");
    AddActiveSet({0, 1}, "compression edge");
    AddActiveSet({0, 2}, "extension edge");
    if (FTensionActive) {
        AddActiveSet({3}, "tension plane");
        AddActiveSet({0, 3}, "tension edge");
        AddActiveSet({3, 4}, "biaxial tension edge");
        AddActiveSet({0, 2, 3}, "extension tension corner");
        // Four planes meet where the compression meridian crosses the cut-off (x0 = x1 = t);
        // the cone of their four flow directions is covered by its cones of three.
        AddActiveSet({0, 1, 3}, "compression tension corner");
        AddActiveSet({0, 3, 4}, "compression tension corner");
        AddActiveSet({0, 1, 4}, "compression tension corner");
        AddActiveSet({1, 3, 4}, "compression tension corner");
        AddActiveSet({3, 4, 5}, "tension apex");
    } else if (hasApex) {
        // All six planes of the cone meet at its apex, three of them from the neighbouring
        // sextants, so its region is not one combination of the planes here. Faces and edges
        // cover everything else: a trial that none of them returns goes to the apex, and the
        // edges' returns reach the apex on that border.
        FApexReturn = true;
        FApex = apex;
    }
}

void TMohrCoulomb::AddActiveSet(std::initializer_list<int> planes, const char* feature) {
    TActiveSet set;
    set.Feature = feature;
    set.Count = static_cast<int>(planes.size());
    std::copy(planes.begin(), planes.end(), set.Planes.begin());
    const int m = set.Count;
    Eigen::Matrix<double, 3, Eigen::Dynamic, 0, 3, 3> a(3, m), db(3, m);
    Eigen::Matrix<double, Eigen::Dynamic, 1, 0, 3, 1> k(m);
    for (int i = 0; i < m; ++i) {
        a.col(i) = FA[set.Planes[i]];
        db.col(i) = FElasticPrincipal * FB[set.Planes[i]];
        k(i) = FK[set.Planes[i]];
        set.Weights(i) = a.col(i).dot(db.col(i));
    }
    const Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, 0, 3, 3> system =
        a.transpose() * db;
    // Planes that do not meet in one feature (no friction: the three cone planes are parallel to
    // the hydrostatic axis) give a singular system; such a combination is never a return.
    double scale = 1.0;
    for (int i = 0; i < m; ++i)
        scale *= set.Weights(i);
    const Eigen::FullPivLU<Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, 0, 3, 3>> lu(
        system);
    if (!lu.isInvertible() || std::abs(system.determinant()) <= 1e-12 * std::abs(scale))
        return;
    const auto inverse = lu.inverse();
    set.Multipliers.topRows(m) = inverse * a.transpose();
    set.MultiplierOffset.head(m) = inverse * k;
    set.Projection = Mat3::Identity() - db * set.Multipliers.topRows(m);
    set.Offset = db * set.MultiplierOffset.head(m);
    FActiveSets.push_back(set);
}

double TMohrCoulomb::MaxYield(const Vec3& x) const {
    // In sorted principal space plane 0 is the largest of the cone planes and plane 3 the largest
    // of the cut-off planes.
    double f = FA[0].dot(x) - FK[0];
    if (FTensionActive)
        f = std::max(f, x(0) - FK[3]);
    return f;
}

bool TMohrCoulomb::ReturnPrincipal(const Vec3& x, TPrincipalReturn& result) const {
    const double scale = std::max(x.cwiseAbs().maxCoeff(), FStrengthScale);
    const double tolerance = RegionTolerance * scale;
    if (MaxYield(x) <= tolerance) {
        result.Stress = x;
        result.Tangent = Mat3::Identity();
        result.Feature = "elastic";
        return true;
    }
    for (const TActiveSet& set : FActiveSets) {
        bool admissible = true;
        for (int i = 0; i < set.Count && admissible; ++i) {
            const double multiplier = set.Multipliers.row(i).dot(x) - set.MultiplierOffset(i);
            admissible = multiplier * set.Weights(i) >= -tolerance;
        }
        if (!admissible)
            continue;
        const Vec3 sigma = set.Projection * x + set.Offset;
        if (sigma(0) < sigma(1) - tolerance || sigma(1) < sigma(2) - tolerance)
            continue;
        if (MaxYield(sigma) > tolerance)
            continue;
        result.Stress = sigma;
        result.Tangent = set.Projection;
        result.Feature = set.Feature;
        return true;
    }
    if (FApexReturn) {
        result.Stress.setConstant(FApex);
        result.Tangent.setZero();
        result.Feature = "apex";
        return true;
    }
    return false;
}

double TMohrCoulomb::YieldValue(const Vec6& stress) const {
    Mat3 s;
    s << stress(0), stress(3), stress(5), stress(3), stress(1), stress(4), stress(5), stress(4),
        stress(2);
    const Vec3 ascending =
        Eigen::SelfAdjointEigenSolver<Mat3>(s, Eigen::EigenvaluesOnly).eigenvalues();
    return MaxYield(Vec3(ascending(2), ascending(1), ascending(0)));
}

bool TMohrCoulomb::Integrate(const TModelPoint& start, const Vec6& strainIncrement, double,
                             TModelPoint& end, Mat6* tangent, const char** fault) const {
    end.History = start.History;
    if (Update(start.Stress, strainIncrement, end.Stress, tangent))
        return true;
    if (fault)
        *fault = "the stress return found no admissible stress";
    return false;
}

bool TMohrCoulomb::Update(const Vec6& stress, const Vec6& strainIncrement, Vec6& newStress,
                          Mat6* tangent) const {
    const Vec6 trial = stress + FElastic * strainIncrement;
    if (!trial.allFinite())
        return false;
    Mat3 s;
    s << trial(0), trial(3), trial(5), trial(3), trial(1), trial(4), trial(5), trial(4), trial(2);
    Vec3 ascending;
    Mat3 vectors;
    SymmetricEigen(s, ascending, vectors);
    // Ascending; the return works from the most tensile value down.
    const Vec3 x(ascending(2), ascending(1), ascending(0));
    if (MaxYield(x) <= RegionTolerance * std::max(x.cwiseAbs().maxCoeff(), FStrengthScale)) {
        newStress = trial;
        if (tangent)
            *tangent = FElastic;
        return true;
    }
    TPrincipalReturn back;
    if (!ReturnPrincipal(x, back))
        return false;
    Mat3 q;
    q.col(0) = vectors.col(2);
    q.col(1) = vectors.col(1);
    q.col(2) = vectors.col(0);
    // The correction is added to the trial stress rather than the stress rebuilt from its
    // principal values, so that rounding in the directions touches only the correction.
    const Mat6 a = Transformation(q);
    const Vec3 correction = back.Stress - x;
    newStress = trial + a.leftCols<3>() * correction;
    if (tangent) {
        // Principal frame: the normal block is the return's own tangent times the elastic
        // stiffness; a shear pair scales as the difference of its principal values, which is
        // the rotation of the principal directions. For (nearly) equal trial values the ratio is
        // replaced by its limit, the difference of the tangent's entries.
        const double g = FParameters.G;
        const double scale = std::max(x.cwiseAbs().maxCoeff(), FStrengthScale);
        static constexpr int I[3] = {0, 1, 2};
        static constexpr int J[3] = {1, 2, 0};
        const Mat3 normal = back.Tangent * FElasticPrincipal;
        Eigen::Matrix<double, 6, 3> an = a.leftCols<3>() * normal;
        *tangent = an * a.leftCols<3>().transpose();
        for (int p = 0; p < 3; ++p) {
            const int i = I[p];
            const int j = J[p];
            const double dx = x(i) - x(j);
            const double theta = std::abs(dx) > 1e-8 * scale
                                     ? (back.Stress(i) - back.Stress(j)) / dx
                                     : back.Tangent(i, i) - back.Tangent(j, i);
            const auto column = a.col(3 + p);
            *tangent += (g * theta) * column * column.transpose();
        }
    }
    return true;
}

} // namespace tw::kernel
