#include "SoilModel.h"

namespace tw::kernel {

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
