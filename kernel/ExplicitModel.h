#pragma once
// Elastoplastic models with hardening, dilatancy and creep, integrated explicitly with
// substepping and error control after Sloan, Abbo and Sheng (2001), "Refined explicit
// integration of elastoplastic models with automatic error control", Engineering Computations
// 18(1/2): each substep is taken twice, by Euler and by the modified Euler rule, and kept when
// the two agree within a relative tolerance; the substep then grows or shrinks with the error, so
// the result does not depend on how the strain is cut into steps. A substep in which a mechanism
// that was not acting starts to act is cut where it starts, and a stress that drifts off a yield
// surface is brought back onto it.
//
// A model gives, at a point, its elastic moduli and its mechanisms: yield functions with their
// gradients, flow directions and hardening. Where several act at once (an edge or corner of a
// surface, or a cap meeting a shear surface) their multipliers follow Koiter's rule. The tangent
// for the Newton iteration of the element test is the continuum tangent of the end point (with
// the moduli of the end point and the gradients and flows of the last substep's Euler point,
// which lies within the substep's error of it).

#include "SoilModel.h"

#include <Eigen/Core>

#include <cmath>

namespace tw::kernel {

// Principal values of an effective stress in compression-positive form, s1 >= s2 >= s3, and the
// derivatives of each with respect to the Voigt stress of the kernel (tension positive): so the
// gradient of a function F(s1, s2, s3) is sum dF/ds_i * Derivative[i], and a plastic strain with
// compression-positive principal values b_i is sum b_i * Derivative[i] in the kernel's Voigt
// form (engineering shear strains).
//
// Where principal stresses are equal their directions are arbitrary. With a loading (a stress
// increment) they are taken along the loading's own principal directions in that plane, so the
// mechanisms of each ordering see the loading as it is; where the loading too is alike in that
// plane, or none is known, the equal pair is taken alike (the mean of the two projectors), so
// that the mechanisms of both orderings coincide, count once and flow symmetrically.
// The eigen-decomposition of a point's stress, worked out once and shared by the elasticity and
// the mechanisms of the point.
struct TEigenCache {
    bool Done = false;
    bool Near = false;           // not done, but Vectors are those of a stress nearby
    Vec3 Values = Vec3::Zero();  // ascending, tension positive
    Mat3 Vectors = Mat3::Zero(); // as columns
    // An equal pair (or all three) taken along the directions of a loading: there the
    // mechanisms of the orderings do not change smoothly with the stress.
    bool Ordered = false;
    void Compute(const Vec6& stress);
    // The cache of a stress near this one (the next point of a substep, of a correction): its
    // decomposition starts from these directions.
    TEigenCache Nearby() const;
};

struct TPrincipalStress {
    Vec3 S;
    std::array<Vec6, 3> Derivative;
    // The first of an equal pair taken alike (Derivative[Alike] == Derivative[Alike + 1]), or -1.
    int Alike = -1;
    explicit TPrincipalStress(const Vec6& stress, const Vec6* loading = nullptr,
                              TEigenCache* cache = nullptr);
    // The ordered pair (of PairMajor, PairMinor) that swapping the pair taken alike makes of pair
    // k, else k: mechanisms of the two pairs built alike from S and Derivative are the same to
    // the last bit.
    int SwappedPair(int k) const;
};

// The six ordered pairs (i, j) of principal stresses, i the major of the pair, in the order in
// which the mechanisms of every ordering are listed (an ordering of all three is taken by its
// major and minor stress).
constexpr int PairMajor[6] = {0, 0, 1, 1, 2, 2};
constexpr int PairMinor[6] = {2, 1, 2, 0, 1, 0};

inline int TPrincipalStress::SwappedPair(int k) const {
    // The pairs above with stresses 0 and 1 swapped, and with 1 and 2 swapped (a table: the
    // mechanisms ask for every pair at every evaluation).
    constexpr int swapped[2][6] = {{2, 3, 0, 1, 5, 4}, {1, 0, 4, 5, 2, 3}};
    return Alike < 0 ? k : swapped[Alike][k];
}

// Invariants in compression-positive form: p = -(sxx + syy + szz) / 3 and the von Mises q, with
// their gradients with respect to the Voigt stress.
struct TInvariants {
    double P;
    double Q;
    Vec6 DP;
    Vec6 DQ; // zero where q is zero
    explicit TInvariants(const Vec6& stress);
};

// The stiffness of isotropic elasticity applied to a Voigt strain (engineering shears).
inline Vec6 ApplyIsotropic(double g, double k, const Vec6& strain) {
    const double volumetric = strain(0) + strain(1) + strain(2);
    const double lambda = k - 2.0 * g / 3.0;
    Vec6 s;
    for (int i = 0; i < 3; ++i) {
        s(i) = lambda * volumetric + 2.0 * g * strain(i);
        s(i + 3) = g * strain(i + 3);
    }
    return s;
}

// The hardening variables of a model: up to this many places of its history that mechanisms
// harden (the others change with the strain alone, or not at all).
constexpr int MaxHardening = 2;
using THardening = Eigen::Matrix<double, MaxHardening, 1>;

// One mechanism at a point: a yield function (in stress units; at most 0 inside), its gradient
// with respect to the Voigt stress, the plastic strain per unit multiplier, how it depends on the
// hardening variables, and how much of them it makes per unit multiplier.
// (No initialisers: the lists of mechanisms are built anew at every evaluation, many times a
// step, and zeroing them cost more than filling them.)
struct TMechanism {
    double F;
    Vec6 A;
    Vec6 B;
    THardening DFDH;
    THardening Rate;
    // A mechanism that does not act here.
    void SetInactive() {
        F = -HUGE_VAL;
        A.setZero();
        B.setZero();
        DFDH.setZero();
        Rate.setZero();
    }
};

// The Mohr-Coulomb failure planes of every ordered pair of principal stresses (six; a pair
// against the order of its stresses lies inside) with flow by the dilatancy sinPsi and the given
// hardening per unit multiplier, and the tension cut-off of each principal stress (three, not
// acting when off): nine mechanisms from `out` on.
// Those with a function below `far` are given as not acting (with their function).
void MohrCoulombMechanisms(const TPrincipalStress& principal, double sinPhi, double cohesion,
                           double sinPsi, bool tensionCutOff, double tensileStrength,
                           const THardening& rate, TMechanism* out, double far = -HUGE_VAL);
// The largest of the Mohr-Coulomb and cut-off functions at a stress: the failure criterion.
double MohrCoulombYield(const Vec3& s, double sinPhi, double cohesion, bool tensionCutOff,
                        double tensileStrength);

class TExplicitModel : public TSoilModel {
public:
    bool Integrate(const TModelPoint& start, const Vec6& strainIncrement, double timeIncrement,
                   TModelPoint& end, Mat6* tangent, const char** fault) const override;
    Mat6 ElasticTangent(const TModelPoint& point) const override;
    double Accuracy() const override;
    void LimitSubsteps(int substeps) override { FMostSubsteps = substeps; }

    static constexpr int MaxMechanisms = 24;

protected:
    struct TModuli {
        double G = 0.0;
        double K = 0.0;
    };
    // The elastic moduli at a point (tangent moduli where the stiffness depends on stress or
    // strain). Returns a fault text where the model cannot go on (nullptr otherwise).
    virtual const char* Elasticity(const TModelPoint& point, TEigenCache& cache,
                                   TModuli& moduli) const = 0;
    // The mechanisms at a point, for a loading (the elastic stress increment) where one is
    // known; answers their number. The list has the same mechanisms at the same places at every
    // point (a mechanism far inside may be given as not acting, F = -HUGE_VAL).
    virtual int Mechanisms(const TModelPoint& point, const Vec6* loading, TEigenCache& cache,
                           TMechanism* mechanisms) const = 0;
    // The places of the history that hold the hardening variables of THardening, -1 for none.
    virtual std::array<int, MaxHardening> HardeningPlaces() const = 0;

    // Before an increment: a model whose stiffness remembers the direction of straining sees
    // where this increment goes (the history may be changed).
    virtual void BeginIncrement(THistory&, const Vec6& /*strainIncrement*/) const {}
    // History that follows the strain itself (volume, strain since a reversal), for a part of
    // the increment.
    virtual void AddStrain(THistory&, const Vec6& /*strainIncrement*/) const {}
    // Creep: the strain and the hardening over a time increment at this point. Returns false
    // when the model does not creep.
    virtual bool Creep(const TModelPoint&, double /*timeIncrement*/, Vec6& /*strain*/,
                       THardening& /*hardening*/) const {
        return false;
    }
    // The creep's part of the tangent over the increment (the tangent given is the elastoplastic
    // one of the end point).
    virtual void CreepTangent(const TModelPoint&, double /*timeIncrement*/, const TModuli&,
                              Mat6& /*tangent*/) const {}
    // A stress scale of the material (reference pressure, strength), below which errors are
    // measured in absolute terms; the same for each hardening variable.
    virtual double StressScale() const = 0;
    virtual THardening HardeningScale() const = 0;

private:
    struct TRate;
    // The mechanisms of a point, kept for the next evaluation at the same point.
    struct TEvaluation {
        TEigenCache Cache; // of the point, or nearby until the point is evaluated
        TMechanism Mechanisms[MaxMechanisms];
        int Count = -1; // not valid
        // Where the drift correction settled the point from a nearby point's mechanisms alone
        // (the last substep of an increment): those mechanisms (owned by the caller's rate of
        // that point) and their functions carried over to this point.
        const TMechanism* Carried = nullptr;
        int CarriedCount = 0;
        double CarriedF[MaxMechanisms];
    };
    // The rate at a point, from what an evaluation knows of it (what it does not know yet is
    // worked out into it), else from the directions of a decomposition nearby, where given.
    bool Rate(const TModelPoint& point, const Vec6& strain, double time, TRate& rate,
              const char** fault, TEvaluation* known = nullptr,
              const TEigenCache* near = nullptr) const;
    void Advance(TModelPoint& point, const TRate& rate, double fraction) const;
    bool CorrectDrift(TModelPoint& point, const std::array<bool, MaxMechanisms>& acting,
                      const Vec6* loading, TEvaluation& evaluation, const TModelPoint& nearPoint,
                      const TRate& nearRate, bool last) const;
    void ContinuumTangent(const TModelPoint& point, const Vec6& strain, Mat6& tangent,
                          const TEvaluation* known) const;

    int FMostSubsteps = 200000;
};

} // namespace tw::kernel
