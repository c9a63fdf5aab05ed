// The eigen-decomposition that the stress-point models share, against its definition: A v = l v
// with orthonormal v, the values ascending and those of Eigen's iterative solver, for stresses in
// general directions, at edges (two values equal or nearly so) and on the hydrostatic axis, from
// the closed form and from directions nearby or far off.

#include "KernelTypes.h"

#include <Eigen/Eigenvalues>
#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <random>

using namespace tw::kernel;

TEST(SymmetricEigen, SolvesEdgesAndApexesFromAnyStart) {
    std::mt19937 random(3);
    std::normal_distribution<double> normal;
    auto rotation = [&](double angle) {
        const Eigen::Vector3d axis(normal(random), normal(random), normal(random));
        return Eigen::AngleAxisd(angle, axis.normalized()).toRotationMatrix();
    };
    const Vec3 principal[] = {{-300, -120, -40}, {-300, -100, -100}, {-300, -100, -100 - 1e-9},
                              {-100, -100, -40}, {-100, -100, -100}, {5, -1e-7, -200}};
    for (const Vec3& d : principal) {
        for (int trial = 0; trial < 20; ++trial) {
            const Mat3 q = rotation(M_PI * std::abs(normal(random)));
            const Mat3 a = q * d.asDiagonal() * q.transpose();
            const double scale = a.cwiseAbs().maxCoeff();
            const Eigen::SelfAdjointEigenSolver<Mat3> reference(a);
            // The closed form; the directions nearby (a stress a step away) and far off.
            const Mat3 near = rotation(1e-5) * q;
            const Mat3 far = rotation(1.0) * q;
            const Mat3* starts[] = {nullptr, &near, &far};
            for (const Mat3* start : starts) {
                Vec3 values;
                Mat3 vectors;
                SymmetricEigen(a, values, vectors, start);
                const char* what = !start ? "closed form" : start == &near ? "near" : "far";
                EXPECT_LT((a * vectors - vectors * values.asDiagonal()).norm(), 1e-13 * scale)
                    << what << " " << d.transpose();
                EXPECT_LT((vectors.transpose() * vectors - Mat3::Identity()).norm(), 1e-13)
                    << what << " " << d.transpose();
                EXPECT_LT((values - reference.eigenvalues()).norm(), 1e-13 * scale)
                    << what << " " << d.transpose();
                EXPECT_TRUE(values(0) <= values(1) && values(1) <= values(2)) << what;
            }
        }
    }
}
