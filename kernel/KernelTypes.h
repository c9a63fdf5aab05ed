#pragma once
// Vectors and matrices of one stress point. Stresses and strains are Voigt vectors in the order
// xx, yy, zz, xy, yz, zx; shear strains are engineering strains (gamma = 2 eps). Tension is
// positive and compression negative, for stresses, strains and pore pressures alike.

#include <Eigen/Core>

namespace tw::kernel {

using Vec3 = Eigen::Vector3d;
using Mat3 = Eigen::Matrix3d;
using Vec6 = Eigen::Matrix<double, 6, 1>;
using Mat6 = Eigen::Matrix<double, 6, 6>;

// The isotropic elastic stiffness of shear modulus g and Poisson's ratio nu, in Voigt form for
// engineering shear strains.
Mat6 ElasticStiffness(double g, double nu);

// Bulk modulus from shear modulus and Poisson's ratio.
inline double BulkModulus(double g, double nu) {
    return 2.0 * g * (1.0 + nu) / (3.0 * (1.0 - 2.0 * nu));
}

// The eigenvalues of a symmetric 3x3 matrix in ascending order and the eigenvectors as columns,
// to rounding: the closed form of the characteristic cubic, refined by Jacobi rotations of what
// it leaves off the diagonal (the closed form alone loses digits where eigenvalues nearly meet,
// at the edges of a yield surface). Several times faster than the iterative QR solver. Given the
// orthonormal eigenvectors of a matrix nearby (as columns), the rotations start from them
// instead, which is cheaper still.
void SymmetricEigen(const Mat3& matrix, Vec3& values, Mat3& vectors, const Mat3* start = nullptr);

} // namespace tw::kernel
