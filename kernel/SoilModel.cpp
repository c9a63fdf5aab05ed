#include "SoilModel.h"

#include <Eigen/Eigenvalues>

#include <cmath>

namespace tw::kernel {

namespace {

// The order of three values, ascending.
std::array<int, 3> Ascending(const Vec3& d) {
    std::array<int, 3> order = {0, 1, 2};
    if (d(order[0]) > d(order[1]))
        std::swap(order[0], order[1]);
    if (d(order[1]) > d(order[2]))
        std::swap(order[1], order[2]);
    if (d(order[0]) > d(order[1]))
        std::swap(order[0], order[1]);
    return order;
}

// Cyclic Jacobi rotations from the orthonormal directions q (which they turn): in their basis
// the matrix is nearly diagonal, and the rotations take off the rest, quadratically. Answers
// whether what is left off the diagonal came below rounding within a few sweeps (the values and
// vectors are given either way, ascending).
bool JacobiFrom(const Mat3& matrix, Mat3& q, double scale, Vec3& values, Mat3& vectors,
                int sweeps = 4) {
    Mat3 a = q.transpose() * matrix * q;
    bool converged = false;
    for (int sweep = 0; sweep <= sweeps; ++sweep) {
        const double off = std::abs(a(0, 1)) + std::abs(a(0, 2)) + std::abs(a(1, 2));
        converged = !(off > 1e-15 * scale);
        if (converged || sweep == sweeps)
            break;
        for (int p = 0; p < 2; ++p)
            for (int r = p + 1; r < 3; ++r) {
                // What rounding leaves off the diagonal (an edge's equal pair has nothing
                // else) is not worth a rotation: three such stay below the target.
                const double apr = a(p, r);
                if (std::abs(apr) <= 3e-16 * scale)
                    continue;
                // Nearly diagonal (every sweep from nearby directions), t = tan of the angle is
                // x (1 - x^2) with x = a(p, r) / (a(r, r) - a(p, p)) and c = 1 - t^2 / 2, both
                // exact to rounding where |x| is below 5e-5: one division, no roots.
                const double gap = a(r, r) - a(p, p);
                double t, c;
                if (std::abs(gap) > 2e4 * std::abs(apr)) {
                    const double x = apr / gap;
                    t = x * (1.0 - x * x);
                    c = 1.0 - 0.5 * t * t;
                } else {
                    const double theta = gap / (2.0 * apr);
                    t = (theta >= 0.0 ? 1.0 : -1.0) /
                        (std::abs(theta) + std::sqrt(theta * theta + 1.0));
                    c = 1.0 / std::sqrt(t * t + 1.0);
                }
                const double s = t * c;
                // a <- J^T a J with J the rotation in the plane (p, r), which takes a(p, r) to
                // zero: of the rest only the diagonal of the plane and the third row change.
                const int k = 3 - p - r;
                const double akp = a(k, p), akr = a(k, r);
                a(p, p) -= t * apr;
                a(r, r) += t * apr;
                a(p, r) = a(r, p) = 0.0;
                a(k, p) = a(p, k) = c * akp - s * akr;
                a(k, r) = a(r, k) = s * akp + c * akr;
                for (int i = 0; i < 3; ++i) {
                    const double qip = q(i, p), qir = q(i, r);
                    q(i, p) = c * qip - s * qir;
                    q(i, r) = s * qip + c * qir;
                }
            }
    }
    // Ascending, as the iterative solver gives them.
    const Vec3 d = a.diagonal();
    const auto order = Ascending(d);
    for (int i = 0; i < 3; ++i) {
        values(i) = d(order[i]);
        vectors.col(i) = q.col(order[i]);
    }
    return converged;
}

// Whether two eigenvalues of a symmetric matrix lie within about a hundredth of its deviator's
// size: the discriminant of the deviator's characteristic polynomial, 4 J2^3 - 27 J3^2, is the
// product of the squared differences of the eigenvalues, which is 27 J2^3 times the square of
// the smallest difference relative to the largest, where that is small.
bool NearlyMeet(const Mat3& m) {
    const double mean = m.trace() / 3.0;
    const Mat3 s = m - mean * Mat3::Identity();
    const double j2 = 0.5 * (s.array() * s.array()).sum();
    const double j3 = s.determinant();
    return !(4.0 * j2 * j2 * j2 - 27.0 * j3 * j3 > 27.0 * 1e-4 * j2 * j2 * j2);
}

} // namespace

void SymmetricEigen(const Mat3& matrix, Vec3& values, Mat3& vectors, const Mat3* start) {
    // Without shear (triaxial, oedometer and isotropic states) the axes are the directions.
    if (matrix(0, 1) == 0.0 && matrix(0, 2) == 0.0 && matrix(1, 2) == 0.0) {
        const Vec3 d = matrix.diagonal();
        const auto order = Ascending(d);
        vectors.setZero();
        for (int i = 0; i < 3; ++i) {
            values(i) = d(order[i]);
            vectors(order[i], i) = 1.0;
        }
        return;
    }
    const double scale = matrix.cwiseAbs().maxCoeff();
    // From the directions of a stress nearby the rotations converge in a sweep or two, which is
    // cheaper than the closed form.
    if (start) {
        Mat3 q = *start;
        if (JacobiFrom(matrix, q, scale, values, vectors))
            return;
    } else if (NearlyMeet(matrix)) {
        // From the axes too where two eigenvalues nearly meet (an edge): there the closed form
        // would have to be polished by the rotations, and a few more sweeps cost less.
        Mat3 q = Mat3::Identity();
        if (JacobiFrom(matrix, q, scale, values, vectors, 8))
            return;
    }
    Eigen::SelfAdjointEigenSolver<Mat3> direct;
    direct.computeDirect(matrix);
    Mat3 q = direct.eigenvectors();
    if (!q.allFinite()) {
        const Eigen::SelfAdjointEigenSolver<Mat3> iterative(matrix);
        values = iterative.eigenvalues();
        vectors = iterative.eigenvectors();
        return;
    }
    // Well apart, the closed form's eigenvalues and vectors are exact to rounding.
    const Vec3& e = direct.eigenvalues();
    if (std::min(e(1) - e(0), e(2) - e(1)) > 1e-3 * scale) {
        values = e;
        vectors = q;
        return;
    }
    // Where eigenvalues nearly meet, the closed form's vectors need not be orthogonal: make
    // them so, and let the rotations take off the rest.
    q.col(0).normalize();
    q.col(1) -= q.col(0).dot(q.col(1)) * q.col(0);
    q.col(1).normalize();
    q.col(2) = q.col(0).cross(q.col(1));
    JacobiFrom(matrix, q, scale, values, vectors);
}

Mat6 ElasticStiffness(double g, double nu) {
    const double k = BulkModulus(g, nu);
    const double lambda = k - 2.0 * g / 3.0;
    Mat6 d = Mat6::Zero();
    d.topLeftCorner<3, 3>().setConstant(lambda);
    for (int i = 0; i < 3; ++i) {
        d(i, i) = lambda + 2.0 * g;
        d(i + 3, i + 3) = g;
    }
    return d;
}

TLinearElastic::TLinearElastic(double g, double nu) : FG(g), FElastic(ElasticStiffness(g, nu)) {}

bool TLinearElastic::Integrate(const TModelPoint& start, const Vec6& strainIncrement, double,
                               TModelPoint& end, Mat6* tangent, const char**) const {
    end.Stress = start.Stress + FElastic * strainIncrement;
    end.History = start.History;
    if (tangent)
        *tangent = FElastic;
    return true;
}

} // namespace tw::kernel
