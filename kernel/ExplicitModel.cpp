#include "ExplicitModel.h"

#include <Eigen/Eigenvalues>
#include <Eigen/LU>
#include <Eigen/QR>

#include <algorithm>
#include <cmath>

namespace tw::kernel {

namespace {

// Relative tolerance of a substep: the Euler and the modified Euler stress of a substep differ
// by at most this much of the stress (or the model's stress scale, where that is larger).
constexpr double SubstepTolerance = 1e-6;
constexpr double SmallestSubstep = 1e-9; // of the increment
// Bands about a yield surface, relative to the stress scale: within Candidate of the surface a
// mechanism may act; beyond Drift outside it the stress is brought back; a mechanism that was not
// acting and ends a substep beyond Cross outside has started in it, and the substep is cut there.
constexpr double Candidate = 1e-6;
constexpr double Drift = 1e-10;
constexpr double Cross = 1e-6;

const char* const TooManySubsteps = "the stress integration needed too many substeps";
const char* const NoActiveSet = "no combination of the yield mechanisms is consistent";

using MatM = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, 0, TExplicitModel::MaxMechanisms,
                           TExplicitModel::MaxMechanisms>;
using VecM = Eigen::Matrix<double, Eigen::Dynamic, 1, 0, TExplicitModel::MaxMechanisms, 1>;

// Solves a x = b for a square a of a few rows; false where a is singular (to its pivots). The
// systems of acting mechanisms have one to four rows: fixed sizes spare the dynamic ones' cost.
template <int N, typename B, typename X> bool SolveFixed(const MatM& a, const B& b, X& x) {
    const Eigen::Matrix<double, N, N> f = a.template topLeftCorner<N, N>();
    const Eigen::FullPivLU<Eigen::Matrix<double, N, N>> lu(f);
    if (!lu.isInvertible())
        return false;
    x = lu.solve(b);
    return true;
}

template <typename B, typename X> bool SolveSquare(const MatM& a, const B& b, X& x) {
    switch (a.rows()) {
    case 1:
        if (a(0, 0) == 0.0)
            return false;
        x = b / a(0, 0);
        return true;
    case 2: {
        // Gaussian elimination with full pivoting, as Eigen's LU does it, without its
        // bookkeeping: singular where the second pivot falls below rounding of the first.
        int p = 0, q = 0;
        for (int i = 0; i < 2; ++i)
            for (int j = 0; j < 2; ++j)
                if (std::abs(a(i, j)) > std::abs(a(p, q))) {
                    p = i;
                    q = j;
                }
        const int r = 1 - p, t = 1 - q;
        const double l = a(r, q) / a(p, q);
        const double second = a(r, t) - l * a(p, t);
        if (!(std::abs(second) > 2.0 * Eigen::NumTraits<double>::epsilon() * std::abs(a(p, q))))
            return false;
        x.resize(2, b.cols());
        x.row(t) = (b.row(r) - l * b.row(p)) / second;
        x.row(q) = (b.row(p) - a(p, t) * x.row(t)) / a(p, q);
        return true;
    }
    case 3:
        return SolveFixed<3>(a, b, x);
    case 4:
        return SolveFixed<4>(a, b, x);
    default: {
        const Eigen::FullPivLU<MatM> lu(a);
        if (!lu.isInvertible())
            return false;
        x = lu.solve(b);
        return true;
    }
    }
}

// The least-squares solution of smallest norm of a x = b (a square, perhaps singular), at fixed
// size where it is small.
template <int N, typename B, typename X> void LeastSquaresFixed(const MatM& a, const B& b, X& x) {
    const Eigen::Matrix<double, N, N> f = a.template topLeftCorner<N, N>();
    const Eigen::CompleteOrthogonalDecomposition<Eigen::Matrix<double, N, N>> cod(f);
    x = cod.solve(b);
}

template <typename B, typename X> void LeastSquares(const MatM& a, const B& b, X& x) {
    switch (a.rows()) {
    case 1:
        x = b / (a(0, 0) == 0.0 ? 1.0 : a(0, 0));
        if (a(0, 0) == 0.0)
            x.setZero();
        return;
    case 2:
        return LeastSquaresFixed<2>(a, b, x);
    case 3:
        return LeastSquaresFixed<3>(a, b, x);
    case 4:
        return LeastSquaresFixed<4>(a, b, x);
    default: {
        const Eigen::CompleteOrthogonalDecomposition<MatM> cod(a);
        x = cod.solve(b);
    }
    }
}

Vec6 Projector(const Vec3& n) {
    Vec6 p;
    p << n(0) * n(0), n(1) * n(1), n(2) * n(2), 2 * n(0) * n(1), 2 * n(1) * n(2), 2 * n(2) * n(0);
    return p;
}

// The multipliers of the acting mechanisms by Koiter's rule: of the candidates, those whose
// multipliers come out positive and that keep the others from being violated. g is the matrix
// a_k.D.b_j + H_kj of the candidates, rhs their elastic loading. With non-associated flow at an
// edge or corner the rule need not have one solution, and dropping and adding mechanisms may go
// round in circles: then the admissible combination that violates the others least is taken,
// else the multipliers of a projected Gauss-Seidel iteration (the drift correction takes up
// what remains). Answers false only when nothing finite comes out.
bool SolveActiveSet(const MatM& g, const VecM& rhs,
                    std::array<bool, TExplicitModel::MaxMechanisms>& active, VecM& lambda) {
    const int n = static_cast<int>(rhs.size());
    // One mechanism with a positive modulus: it acts where it is loaded.
    if (n == 1 && g(0, 0) > 0.0) {
        active[0] = rhs(0) > 0.0;
        lambda = VecM::Constant(1, active[0] ? rhs(0) / g(0, 0) : 0.0);
        return true;
    }
    // Two loaded mechanisms (a shear surface or the failure surface with the cap, in most
    // plastic substeps of a hardening model): where both multipliers come out positive the rule
    // ends in its first round, so that round is taken directly.
    if (n == 2 && rhs(0) > 0.0 && rhs(1) > 0.0) {
        const double tolerance = 1e-10 * std::max(rhs(0), rhs(1));
        VecM solved;
        if (SolveSquare(g, rhs, solved) && solved.allFinite() &&
            solved(0) * std::max(1.0, std::abs(g(0, 0))) >= -tolerance &&
            solved(1) * std::max(1.0, std::abs(g(1, 1))) >= -tolerance) {
            active[0] = active[1] = true;
            lambda = solved.cwiseMax(0.0);
            return true;
        }
    }
    double scale = 0.0;
    for (int k = 0; k < n; ++k) {
        active[k] = rhs(k) > 0.0;
        scale = std::max(scale, std::abs(rhs(k)));
    }
    lambda = VecM::Zero(n);
    if (scale == 0.0)
        return true;
    const double tolerance = 1e-10 * scale;
    VecM best;
    std::array<bool, TExplicitModel::MaxMechanisms> bestActive{};
    double bestViolation = HUGE_VAL;
    for (int round = 0; round < 4 * n + 4; ++round) {
        int idx[TExplicitModel::MaxMechanisms];
        int m = 0;
        for (int k = 0; k < n; ++k)
            if (active[k])
                idx[m++] = k;
        VecM solved = VecM::Zero(m);
        if (m > 0) {
            MatM sub(m, m);
            VecM r(m);
            for (int i = 0; i < m; ++i) {
                r(i) = rhs(idx[i]);
                for (int j = 0; j < m; ++j)
                    sub(i, j) = g(idx[i], idx[j]);
            }
            if (!SolveSquare(sub, r, solved)) {
                // Mechanisms that meet in one feature and more (an apex): any split of the
                // multipliers gives the same stress; take the smallest.
                LeastSquares(sub, r, solved);
            }
            if (!solved.allFinite())
                break;
        }
        // Drop the most negative multiplier (as a stress), if any.
        int worst = -1;
        double most = -tolerance;
        for (int i = 0; i < m; ++i) {
            const double weighted = solved(i) * std::max(1.0, std::abs(g(idx[i], idx[i])));
            if (weighted < most) {
                most = weighted;
                worst = idx[i];
            }
        }
        if (worst >= 0) {
            active[worst] = false;
            continue;
        }
        lambda.setZero();
        for (int i = 0; i < m; ++i)
            lambda(idx[i]) = std::max(solved(i), 0.0);
        // Add the candidate that the others would violate most.
        int add = -1;
        double rate = tolerance;
        for (int k = 0; k < n; ++k) {
            if (active[k])
                continue;
            const double r = rhs(k) - g.row(k).dot(lambda);
            if (r > rate) {
                rate = r;
                add = k;
            }
        }
        if (add < 0)
            return true;
        if (rate < bestViolation) {
            bestViolation = rate;
            best = lambda;
            bestActive = active;
        }
        active[add] = true;
    }
    if (bestViolation < HUGE_VAL) {
        lambda = best;
        active = bestActive;
        return true;
    }
    lambda = VecM::Zero(n);
    for (int sweep = 0; sweep < 200; ++sweep)
        for (int k = 0; k < n; ++k)
            if (g(k, k) > 0.0)
                lambda(k) = std::max(0.0, lambda(k) + (rhs(k) - g.row(k).dot(lambda)) / g(k, k));
    for (int k = 0; k < n; ++k)
        active[k] = lambda(k) > 0.0;
    return lambda.allFinite();
}

// Whether mechanism k repeats one before it among the chosen: the same function, gradient and
// flow (the two orderings of an edge's equal principal stresses). It then counts once.
bool Repeats(const TMechanism* m, const int* chosen, int count, int k) {
    for (int i = 0; i < count; ++i) {
        const TMechanism& a = m[chosen[i]];
        const TMechanism& b = m[k];
        if (a.F == b.F && a.A == b.A && a.B == b.B && a.DFDH == b.DFDH && a.Rate == b.Rate)
            return true;
    }
    return false;
}

// Whether the mechanisms of a point go on smoothly over this distance (a stress) from it: its
// principal stresses are equal (to rounding, and taken alike) or apart by more than that.
// Without a decomposition the mechanisms take the invariants alone.
bool SmoothAt(const TEigenCache& cache, double distance) {
    if (!cache.Done)
        return true;
    const Vec3& v = cache.Values;
    const double equal = 1e-8 * v.cwiseAbs().maxCoeff();
    for (int i = 0; i < 2; ++i) {
        const double gap = v(i + 1) - v(i);
        if (gap > equal && gap <= distance)
            return false;
    }
    return true;
}

} // namespace

void TEigenCache::Compute(const Vec6& stress) {
    if (Done)
        return;
    Mat3 s;
    s << stress(0), stress(3), stress(5), stress(3), stress(1), stress(4), stress(5), stress(4),
        stress(2);
    const Mat3 start = Vectors;
    SymmetricEigen(s, Values, Vectors, Near ? &start : nullptr);
    Done = true;
}

TEigenCache TEigenCache::Nearby() const {
    TEigenCache near;
    if (Done || Near) {
        near.Near = true;
        near.Vectors = Vectors;
    }
    return near;
}

TPrincipalStress::TPrincipalStress(const Vec6& stress, const Vec6* loading, TEigenCache* cache) {
    TEigenCache own;
    TEigenCache& eigen = cache ? *cache : own;
    eigen.Compute(stress);
    const Vec3 values = eigen.Values;
    Mat3 vectors = eigen.Vectors;
    // Rounding leaves tiny shears that decide the directions of a pair that is equal but for
    // rounding: such a pair counts as equal.
    const double tolerance = 1e-8 * values.cwiseAbs().maxCoeff();
    const bool low = values(1) - values(0) <= tolerance, high = values(2) - values(1) <= tolerance;
    eigen.Ordered = false;
    if (loading && (low || high)) {
        Mat3 l;
        l << (*loading)(0), (*loading)(3), (*loading)(5), (*loading)(3), (*loading)(1),
            (*loading)(4), (*loading)(5), (*loading)(4), (*loading)(2);
        if (low && high) {
            // The hydrostatic axis: the loading's directions, in the order of their compression.
            eigen.Ordered = true;
            Vec3 lv;
            SymmetricEigen(l, lv, vectors);
        } else {
            // An edge: the loading's directions within the plane of the equal pair, the one it
            // compresses more first (the sort of the values is most compressive first).
            const int a = low ? 0 : 1, b = a + 1;
            const Vec3 na = vectors.col(a), nb = vectors.col(b);
            const double laa = na.dot(l * na), lbb = nb.dot(l * nb), lab = na.dot(l * nb);
            const double size = std::abs(laa) + std::abs(lbb) + std::abs(lab);
            if (std::abs(laa - lbb) + std::abs(lab) > 1e-9 * size) {
                eigen.Ordered = true;
                const double angle = 0.5 * std::atan2(2.0 * lab, laa - lbb);
                const Vec3 first = std::cos(angle) * na + std::sin(angle) * nb;
                const Vec3 second = -std::sin(angle) * na + std::cos(angle) * nb;
                const bool firstMore = first.dot(l * first) <= second.dot(l * second);
                vectors.col(a) = firstMore ? first : second;
                vectors.col(b) = firstMore ? second : first;
                for (int i = 0; i < 3; ++i) {
                    S(i) = -values(i);
                    Derivative[i] = -Projector(vectors.col(i));
                }
                const double mean = 0.5 * (S(a) + S(b));
                S(a) = S(b) = mean;
                return;
            }
        }
    }
    // Ascending in tension-positive values: the most compressive first.
    for (int i = 0; i < 3; ++i) {
        S(i) = -values(i);
        Derivative[i] = -Projector(vectors.col(i));
    }
    // An edge that no loading settles: the equal pair alike.
    if (low != high) {
        const int a = low ? 0 : 1, b = a + 1;
        const double mean = 0.5 * (S(a) + S(b));
        const Vec6 projector = 0.5 * (Derivative[a] + Derivative[b]);
        S(a) = S(b) = mean;
        Derivative[a] = Derivative[b] = projector;
        Alike = a;
    }
}

TInvariants::TInvariants(const Vec6& stress) {
    P = -(stress(0) + stress(1) + stress(2)) / 3.0;
    DP << -1.0 / 3, -1.0 / 3, -1.0 / 3, 0, 0, 0;
    const double sx = stress(0) + P, sy = stress(1) + P, sz = stress(2) + P;
    const double j2 = 0.5 * (sx * sx + sy * sy + sz * sz) + stress(3) * stress(3) +
                      stress(4) * stress(4) + stress(5) * stress(5);
    Q = std::sqrt(3.0 * j2);
    if (Q > 0.0) {
        const double f = 1.5 / Q;
        DQ << f * sx, f * sy, f * sz, 2 * f * stress(3), 2 * f * stress(4), 2 * f * stress(5);
    } else {
        DQ.setZero();
    }
}

void MohrCoulombMechanisms(const TPrincipalStress& principal, double sinPhi, double cohesion,
                           double sinPsi, bool tensionCutOff, double tensileStrength,
                           const THardening& rate, TMechanism* out, double far) {
    const Vec3& s = principal.S;
    const double cc = cohesion * std::sqrt(std::max(0.0, 1.0 - sinPhi * sinPhi));
    for (int k = 0; k < 6; ++k) {
        const int i = PairMajor[k], j = PairMinor[k];
        TMechanism& m = out[k];
        if (const int twin = principal.SwappedPair(k); twin < k) {
            m = out[twin];
            continue;
        }
        const double f = 0.5 * (s(i) - s(j)) - 0.5 * (s(i) + s(j)) * sinPhi - cc;
        if (f < far) {
            m.SetInactive();
            m.F = f;
            continue;
        }
        m.F = f;
        m.A = 0.5 * (1.0 - sinPhi) * principal.Derivative[i] -
              0.5 * (1.0 + sinPhi) * principal.Derivative[j];
        m.B = 0.5 * (1.0 - sinPsi) * principal.Derivative[i] -
              0.5 * (1.0 + sinPsi) * principal.Derivative[j];
        m.DFDH.setZero();
        m.Rate = rate;
    }
    for (int k = 0; k < 3; ++k) {
        TMechanism& m = out[6 + k];
        if (tensionCutOff) {
            m.F = -s(k) - tensileStrength;
            m.A = -principal.Derivative[k];
            m.B = m.A;
            m.DFDH.setZero();
            m.Rate.setZero();
        } else {
            m.SetInactive();
        }
    }
}

double MohrCoulombYield(const Vec3& s, double sinPhi, double cohesion, bool tensionCutOff,
                        double tensileStrength) {
    const double cc = cohesion * std::sqrt(std::max(0.0, 1.0 - sinPhi * sinPhi));
    const double major = s.maxCoeff(), minor = s.minCoeff();
    double f = 0.5 * (major - minor) - 0.5 * (major + minor) * sinPhi - cc;
    if (tensionCutOff)
        f = std::max(f, -minor - tensileStrength);
    return f;
}

struct TExplicitModel::TRate {
    Vec6 Stress = Vec6::Zero();
    THardening Hardening = THardening::Zero();
    TEigenCache Cache; // of the point
    // The mechanisms of the point: those an evaluation knows (valid until it changes), else
    // its own.
    const TMechanism* Mechanisms = Own;
    TMechanism Own[MaxMechanisms];
    int Count = 0;
    std::array<bool, MaxMechanisms> Candidate{};
    std::array<bool, MaxMechanisms> Acting{}; // its multiplier came out positive
    Vec6 Loading = Vec6::Zero();              // the elastic stress increment
    TModuli Moduli;                           // of the point
    TRate() = default;
    TRate(const TRate&) = delete; // Mechanisms may point at Own
    TRate& operator=(const TRate&) = delete;
};

double TExplicitModel::Accuracy() const {
    // The substeps' errors add up over an increment, and a substep's decisions (which
    // mechanisms act) make the update a little rough at that level.
    return 10.0 * SubstepTolerance;
}

Mat6 TExplicitModel::ElasticTangent(const TModelPoint& point) const {
    TModuli moduli;
    TEigenCache cache;
    Elasticity(point, cache, moduli);
    return ElasticStiffness(moduli.G,
                            0.5 * (3.0 * moduli.K - 2.0 * moduli.G) / (3.0 * moduli.K + moduli.G));
}

bool TExplicitModel::Rate(const TModelPoint& point, const Vec6& strain, double time, TRate& rate,
                          const char** fault, TEvaluation* known, const TEigenCache* near) const {
    if (!known)
        rate.Cache = near ? near->Nearby() : TEigenCache();
    // A point's evaluation is worked out in place, so that a shorter substep from the same point
    // (after one that failed) finds it done.
    TEigenCache& cache = known ? known->Cache : rate.Cache;
    TModuli& moduli = rate.Moduli;
    if (const char* why = Elasticity(point, cache, moduli)) {
        if (fault)
            *fault = why;
        return false;
    }
    Vec6 creep = Vec6::Zero();
    THardening creepHardening = THardening::Zero();
    const bool creeps = time > 0.0 && Creep(point, time, creep, creepHardening);
    const Vec6 elastic = ApplyIsotropic(moduli.G, moduli.K, creeps ? Vec6(strain - creep) : strain);
    rate.Loading = elastic;
    if (known) {
        // The loading only orders equal principal stresses, and a shorter substep loads alike.
        if (known->Count < 0)
            known->Count = Mechanisms(point, &elastic, cache, known->Mechanisms);
        rate.Count = known->Count;
        rate.Mechanisms = known->Mechanisms;
        rate.Cache = cache;
    } else {
        rate.Count = Mechanisms(point, &elastic, cache, rate.Own);
        rate.Mechanisms = rate.Own;
    }
    const double scale = point.Stress.cwiseAbs().maxCoeff() + StressScale();
    int idx[MaxMechanisms];
    int n = 0;
    for (int k = 0; k < rate.Count; ++k) {
        rate.Candidate[k] = rate.Mechanisms[k].F >= -Candidate * scale;
        if (rate.Candidate[k] && !Repeats(rate.Mechanisms, idx, n, k))
            idx[n++] = k;
    }
    rate.Stress = elastic;
    rate.Hardening = creepHardening;
    rate.Acting.fill(false);
    if (n == 0)
        return true;
    MatM g(n, n);
    VecM rhs(n);
    Vec6 db[MaxMechanisms];
    for (int j = 0; j < n; ++j)
        db[j] = ApplyIsotropic(moduli.G, moduli.K, rate.Mechanisms[idx[j]].B);
    for (int i = 0; i < n; ++i) {
        const TMechanism& mi = rate.Mechanisms[idx[i]];
        rhs(i) = mi.A.dot(elastic) + mi.DFDH.dot(creepHardening);
        for (int j = 0; j < n; ++j)
            g(i, j) = mi.A.dot(db[j]) - mi.DFDH.dot(rate.Mechanisms[idx[j]].Rate);
    }
    std::array<bool, TExplicitModel::MaxMechanisms> active{};
    VecM lambda;
    if (!SolveActiveSet(g, rhs, active, lambda)) {
        if (fault)
            *fault = NoActiveSet;
        return false;
    }
    for (int j = 0; j < n; ++j) {
        if (lambda(j) <= 0.0)
            continue;
        rate.Stress -= lambda(j) * db[j];
        rate.Hardening += lambda(j) * rate.Mechanisms[idx[j]].Rate;
        rate.Acting[idx[j]] = true;
    }
    return true;
}

void TExplicitModel::Advance(TModelPoint& point, const TRate& rate, double fraction) const {
    point.Stress += fraction * rate.Stress;
    const auto places = HardeningPlaces();
    for (int i = 0; i < MaxHardening; ++i)
        if (places[i] >= 0)
            point.History[places[i]] += fraction * rate.Hardening(i);
}

bool TExplicitModel::CorrectDrift(TModelPoint& point, const std::array<bool, MaxMechanisms>& acting,
                                  const Vec6* loading, TEvaluation& evaluation,
                                  const TModelPoint& nearPoint, const TRate& nearRate,
                                  bool last) const {
    // A stress outside a surface is brought back onto it, and one that a mechanism acting in
    // the substep left a little inside is brought onto it too (Sloan et al.: the correction
    // keeps |f| within the tolerance), along the plastic directions of the mechanisms concerned,
    // with their hardening. The evaluation's cache comes with the directions of a stress nearby,
    // and leaves with those of the point, or with the point's mechanisms when it is settled.
    //
    // The first round needs no evaluation of the point: its functions are those of the nearby
    // point (the Euler point of the substep, which lies within the substep's error of it) carried
    // over to first order, and the correction takes that point's gradients and moduli. What the
    // first order leaves is of the square of that distance, far below the band, so the point's
    // own evaluation, which the next substep needs anyway, finds it settled nearly always; where
    // it does not, the rounds go on from the point's own mechanisms.
    // After the last substep of an increment no substep needs the point's own evaluation: there
    // the carried functions settle it (they are exact to the square of the distance, which the
    // band allows for; a correction is checked by carrying them again), and the evaluation keeps
    // them with the nearby point's mechanisms, for the tangent. The next increment starts from
    // its own evaluation and takes up any rest.
    TMechanism* own = evaluation.Mechanisms;
    evaluation.Count = -1;
    evaluation.Carried = nullptr;
    const auto places = HardeningPlaces();
    Vec6 moved;
    THardening hardened = THardening::Zero();
    // The distance from the nearby point, and whether the first order carries over it:
    // principal stresses that nearly meet turn their directions fast (the second order grows
    // as the square of the distance over the gap), and an equal pair taken along the loading
    // is not smooth at all; there the point is looked at itself.
    auto carries = [&]() {
        moved = point.Stress - nearPoint.Stress;
        for (int i = 0; i < MaxHardening; ++i)
            if (places[i] >= 0)
                hardened(i) = point.History[places[i]] - nearPoint.History[places[i]];
        const double reach = 100.0 * moved.squaredNorm() /
                             (Drift * (point.Stress.cwiseAbs().maxCoeff() + StressScale()));
        return !nearRate.Cache.Ordered && SmoothAt(nearRate.Cache, reach);
    };
    auto carry = [&](const TMechanism& m) { return m.F + m.A.dot(moved) + m.DFDH.dot(hardened); };
    auto settle = [&]() {
        evaluation.Carried = nearRate.Mechanisms;
        evaluation.CarriedCount = nearRate.Count;
        for (int k = 0; k < nearRate.Count; ++k)
            evaluation.CarriedF[k] = carry(nearRate.Mechanisms[k]);
        return true;
    };
    const int carriedRounds = last ? 3 : 1;
    for (int round = carries() ? -carriedRounds : 0; round < 6; ++round) {
        const bool carried = round < 0;
        TEigenCache& cache = evaluation.Cache;
        const TMechanism* m = carried ? nearRate.Mechanisms : own;
        const int count = carried ? nearRate.Count : Mechanisms(point, loading, cache, own);
        double f[MaxMechanisms];
        for (int k = 0; k < count; ++k)
            f[k] = carried ? carry(m[k]) : m[k].F;
        const double scale = point.Stress.cwiseAbs().maxCoeff() + StressScale();
        int idx[MaxMechanisms];
        int n = 0;
        bool off = false;
        for (int k = 0; k < count; ++k) {
            const bool outside = f[k] > Drift * scale;
            const bool inside = acting[k] && f[k] < -Drift * scale && f[k] >= -Candidate * scale;
            if ((outside || inside || (acting[k] && f[k] >= -Candidate * scale)) &&
                !Repeats(m, idx, n, k))
                idx[n++] = k;
            off = off || outside || inside;
        }
        if (!off && carried) {
            if (last)
                return settle();
            continue; // the point's own evaluation decides
        }
        if (!off) {
            evaluation.Count = count; // what the point's next evaluation will find
            return true;
        }
        TModuli moduli = nearRate.Moduli;
        if (!carried && Elasticity(point, cache, moduli))
            return false;
        MatM g(n, n);
        VecM rhs(n);
        Vec6 db[MaxMechanisms];
        for (int j = 0; j < n; ++j)
            db[j] = ApplyIsotropic(moduli.G, moduli.K, m[idx[j]].B);
        for (int i = 0; i < n; ++i) {
            rhs(i) = f[idx[i]];
            for (int j = 0; j < n; ++j)
                g(i, j) = m[idx[i]].A.dot(db[j]) - m[idx[i]].DFDH.dot(m[idx[j]].Rate);
        }
        // Mechanisms that meet in a feature (an apex) make the system singular: then the
        // smallest correction.
        VecM lambda(n);
        if (!SolveSquare(g, rhs, lambda))
            LeastSquares(g, rhs, lambda);
        if (!lambda.allFinite())
            return false;
        for (int j = 0; j < n; ++j) {
            point.Stress -= lambda(j) * db[j];
            for (int i = 0; i < MaxHardening; ++i)
                if (places[i] >= 0)
                    point.History[places[i]] += lambda(j) * m[idx[j]].Rate(i);
        }
        // Another carried round checks the correction, from the distance as it is now.
        if (carried && round < -1 && !carries())
            round = -1;
        if (!carried)
            cache = cache.Nearby(); // the point has moved
    }
    return false;
}

void TExplicitModel::ContinuumTangent(const TModelPoint& point, const Vec6& strain, Mat6& tangent,
                                      const TEvaluation* known) const {
    TModuli moduli;
    TEigenCache cache = known ? known->Cache : TEigenCache();
    Elasticity(point, cache, moduli);
    tangent = ElasticStiffness(moduli.G, 0.5 * (3.0 * moduli.K - 2.0 * moduli.G) /
                                             (3.0 * moduli.K + moduli.G));
    TMechanism own[MaxMechanisms];
    const Vec6 elastic = ApplyIsotropic(moduli.G, moduli.K, strain);
    // The point's own mechanisms where they are known, else those carried to it, else its own
    // worked out here.
    const bool reuse = known && known->Count >= 0;
    const bool carried = !reuse && known && known->Carried;
    const TMechanism* m = reuse ? known->Mechanisms : carried ? known->Carried : own;
    const int count = reuse     ? known->Count
                      : carried ? known->CarriedCount
                                : Mechanisms(point, &elastic, cache, own);
    const double scale = point.Stress.cwiseAbs().maxCoeff() + StressScale();
    int idx[MaxMechanisms];
    int n = 0;
    for (int k = 0; k < count; ++k)
        if ((carried ? known->CarriedF[k] : m[k].F) >= -Candidate * scale && !Repeats(m, idx, n, k))
            idx[n++] = k;
    if (n == 0)
        return;
    MatM g(n, n);
    VecM rhs(n);
    Vec6 db[MaxMechanisms];
    for (int j = 0; j < n; ++j)
        db[j] = ApplyIsotropic(moduli.G, moduli.K, m[idx[j]].B);
    for (int i = 0; i < n; ++i) {
        rhs(i) = m[idx[i]].A.dot(elastic);
        for (int j = 0; j < n; ++j)
            g(i, j) = m[idx[i]].A.dot(db[j]) - m[idx[i]].DFDH.dot(m[idx[j]].Rate);
    }
    std::array<bool, TExplicitModel::MaxMechanisms> active{};
    VecM lambda;
    if (!SolveActiveSet(g, rhs, active, lambda))
        return;
    // A multiplier that is rounding of the loading (neutral loading of a surface the stress lies
    // on, as the cap along the failure line) does not act: taking it in or not would turn on the
    // last bits of the stress. The bound is the one by which the active set drops a negative one.
    int act[MaxMechanisms];
    int a = 0;
    const double negligible = 1e-10 * rhs.cwiseAbs().maxCoeff();
    for (int i = 0; i < n; ++i)
        if (active[i] && lambda(i) * std::max(1.0, std::abs(g(i, i))) > negligible)
            act[a++] = i;
    if (a == 0)
        return;
    // D - (D B) (A^T D B + H)^-1 (A^T D), over the acting mechanisms.
    MatM sub(a, a);
    Eigen::Matrix<double, Eigen::Dynamic, 6, 0, MaxMechanisms, 6> adt(a, 6);
    for (int i = 0; i < a; ++i) {
        adt.row(i) = ApplyIsotropic(moduli.G, moduli.K, m[idx[act[i]]].A).transpose(); // D A
        for (int j = 0; j < a; ++j)
            sub(i, j) = g(act[i], act[j]);
    }
    // At an edge the mechanisms of both orderings act, and their gradients may be dependent:
    // then the smallest-norm solution, which gives the same stress.
    Eigen::Matrix<double, Eigen::Dynamic, 6, 0, MaxMechanisms, 6> solved(a, 6);
    if (!SolveSquare(sub, adt, solved))
        LeastSquares(sub, adt, solved);
    // A sum of a outer products at fixed size.
    for (int i = 0; i < a; ++i)
        tangent.noalias() -= db[act[i]] * solved.row(i);
}

bool TExplicitModel::Integrate(const TModelPoint& start, const Vec6& strainIncrement,
                               double timeIncrement, TModelPoint& end, Mat6* tangent,
                               const char** fault) const {
    end = start;
    BeginIncrement(end.History, strainIncrement);
    TRate first, second;
    TMechanism scratch[MaxMechanisms];
    TEvaluation evaluation; // of `end`, once the drift correction has looked at it
    double done = 0.0;
    double size = 1.0;
    for (int substeps = 0; done < 1.0; ++substeps) {
        if (substeps >= FMostSubsteps || size < SmallestSubstep) {
            if (fault)
                *fault = TooManySubsteps;
            return false;
        }
        size = std::min(size, 1.0 - done);
        const Vec6 strain = size * strainIncrement;
        const double time = size * timeIncrement;
        if (!Rate(end, strain, time, first, fault, &evaluation))
            return false;
        TModelPoint euler = end;
        Advance(euler, first, 1.0);
        AddStrain(euler.History, strain);
        if (!Rate(euler, strain, time, second, fault, nullptr, &first.Cache)) {
            size *= 0.25; // the model cannot take the Euler point: try a shorter substep
            continue;
        }
        // A mechanism that was not acting and is violated at the end has started within the
        // substep: cut the substep where it starts (regula falsi along the Euler path).
        const double scale = end.Stress.cwiseAbs().maxCoeff() + StressScale();
        double violation = -HUGE_VAL;
        double before = -HUGE_VAL;
        for (int k = 0; k < second.Count; ++k)
            if (!first.Candidate[k] && second.Mechanisms[k].F > violation) {
                violation = second.Mechanisms[k].F;
                before = first.Mechanisms[k].F;
            }
        if (violation > Cross * scale) {
            double lo = 0.0, hi = 1.0, flo = before, fhi = violation;
            double cut = 0.5;
            for (int i = 0; i < 12; ++i) {
                // A mechanism not acting at one end has no function there (-HUGE_VAL): regula
                // falsi would divide infinity by infinity, so such a bracket is halved.
                cut = std::isfinite(flo) && std::isfinite(fhi) && flo < fhi
                          ? lo + (hi - lo) * flo / (flo - fhi)
                          : 0.5 * (lo + hi);
                TModelPoint p = end;
                Advance(p, first, cut);
                TEigenCache cache = first.Cache.Nearby();
                Mechanisms(p, &first.Stress, cache, scratch);
                double f = -HUGE_VAL;
                for (int k = 0; k < second.Count; ++k)
                    if (!first.Candidate[k])
                        f = std::max(f, scratch[k].F);
                if (std::abs(f) <= 0.1 * Cross * scale)
                    break;
                if (f > 0) {
                    hi = cut;
                    fhi = f;
                    flo *= 0.5; // Illinois: keep the bracket shrinking from both sides
                } else {
                    lo = cut;
                    flo = f;
                    fhi *= 0.5;
                }
            }
            size *= std::clamp(cut, 1e-3, 0.999);
            continue;
        }
        // The error of the substep: Euler against modified Euler.
        const Vec6 averaged = 0.5 * (first.Stress + second.Stress);
        const double stressError = 0.5 * (second.Stress - first.Stress).norm() /
                                   std::max((end.Stress + averaged).norm(), StressScale());
        double error = stressError;
        const auto places = HardeningPlaces();
        const THardening floor = HardeningScale();
        for (int i = 0; i < MaxHardening; ++i) {
            if (places[i] < 0)
                continue;
            const double h =
                end.History[places[i]] + 0.5 * (first.Hardening(i) + second.Hardening(i));
            const double change = 0.5 * std::abs(second.Hardening(i) - first.Hardening(i));
            error = std::max(error, change / std::max(std::abs(h), floor(i)));
        }
        if (!std::isfinite(error)) {
            size *= 0.25;
            continue;
        }
        if (error > SubstepTolerance) {
            size *= std::max(0.9 * std::sqrt(SubstepTolerance / error), 0.1);
            continue;
        }
        end.Stress += averaged;
        for (int i = 0; i < MaxHardening; ++i)
            if (places[i] >= 0)
                end.History[places[i]] += 0.5 * (first.Hardening(i) + second.Hardening(i));
        AddStrain(end.History, strain);
        std::array<bool, MaxMechanisms> acting{};
        for (int k = 0; k < second.Count; ++k)
            acting[k] = first.Acting[k] || second.Acting[k];
        evaluation.Cache = second.Cache.Nearby();
        const bool last = size >= 1.0 - done;
        CorrectDrift(end, acting, &second.Loading, evaluation, euler, second, last);
        done = last ? 1.0 : done + size;
        size *= error > 0.0 ? std::min(0.9 * std::sqrt(SubstepTolerance / error), 2.0) : 2.0;
    }
    if (!end.Stress.allFinite()) {
        if (fault)
            *fault = "the stress integration gave a number that is not finite";
        return false;
    }
    if (tangent) {
        ContinuumTangent(end, strainIncrement, *tangent, &evaluation);
        if (timeIncrement > 0.0) {
            TModuli moduli;
            TEigenCache cache;
            Elasticity(end, cache, moduli);
            CreepTangent(end, timeIncrement, moduli, *tangent);
        }
    }
    return true;
}

} // namespace tw::kernel
