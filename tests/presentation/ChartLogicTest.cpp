#include "PresentationTestSupport.h"

#include "presentation/ChartsFrame.h"
#include "presentation/FailureLines.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace tw;
using namespace tw::testing;

namespace {

constexpr double Pi = std::numbers::pi;

double Sin(double degrees) {
    return std::sin(degrees * Pi / 180.0);
}

// The Mohr-Coulomb failure state of a triaxial test with compression negative, by the principal
// stress form sigma1 = sigma3 tan^2(45 + phi/2) - 2 c tan(45 + phi/2) (Craig, Soil Mechanics,
// eq. 4.7, signs turned): sigma1 the most compressive stress.
double FailureSigma1(double sigma3, double c, double phiDegrees) {
    const double t = std::tan((45.0 + 0.5 * phiDegrees) * Pi / 180.0);
    return sigma3 * t * t - 2.0 * c * t;
}

// The value of a straight line through two points at x.
double LineAt(const TLinePoints& line, double x) {
    const double slope = (line.Y[1] - line.Y[0]) / (line.X[1] - line.X[0]);
    return line.Y[0] + slope * (x - line.X[0]);
}

const TChartSeries* FirstOfKind(const TChart& chart, TChartSeriesKind kind) {
    for (const TChartSeries& series : chart.Series())
        if (series.Kind == kind)
            return &series;
    return nullptr;
}

} // namespace

TEST(FailureLines, FailureStatesLieOnTheEnvelopes) {
    const TMohrCoulombStrength strength{10.0, 30.0};
    for (double sigma3 : {-50.0, -100.0, -400.0}) {
        const double sigma1 = FailureSigma1(sigma3, 10.0, 30.0);
        // Triaxial compression: sigma2 = sigma3.
        const double p = (sigma1 + 2.0 * sigma3) / 3.0, q = sigma3 - sigma1;
        ASSERT_TRUE(IsCompressionState(p, sigma1, sigma3));
        const TLinePoints pq = PQFailureLine(strength, true, 2 * p, 0.0);
        EXPECT_NEAR(LineAt(pq, p), q, 1e-9 * std::fabs(q)) << sigma3;
        // Triaxial extension: sigma2 = sigma1.
        const double pe = (2.0 * sigma1 + sigma3) / 3.0;
        ASSERT_FALSE(IsCompressionState(pe, sigma1, sigma3));
        const TLinePoints extension = PQFailureLine(strength, false, 2 * pe, 0.0);
        EXPECT_NEAR(LineAt(extension, pe), q, 1e-9 * std::fabs(q)) << sigma3;
        // The principal stress plane.
        const TLinePoints s3s1 = S3S1FailureLine(strength, sigma3, sigma1);
        EXPECT_NEAR(LineAt(s3s1, sigma3), sigma1, 1e-9 * std::fabs(sigma1)) << sigma3;
        // The Mohr plane: the circle at failure touches the line at its own point, pi/2 - phi.
        const TLinePoints mohr = MohrFailureLine(strength, sigma1, sigma3);
        const TLinePoints circle = MohrCircle(sigma1, sigma3, 37, 30.0);
        double closest = 1e300;
        for (size_t i = 0; i < circle.X.size(); ++i) {
            const double gap = LineAt(mohr, circle.X[i]) - circle.Y[i];
            EXPECT_GE(gap, -1e-9) << "a circle point beyond the envelope";
            closest = std::min(closest, gap);
        }
        EXPECT_NEAR(closest, 0.0, 1e-9);
    }
    // Textbook values for phi 30 degrees without cohesion: M = 1.2 in compression, 6/7 in
    // extension, and K = 3 (Wood 1990, eq. 4.4).
    const TLinePoints m = PQFailureLine({0.0, 30.0}, true, -100.0, 0.0);
    EXPECT_NEAR(LineAt(m, -100.0), 120.0, 1e-9);
    EXPECT_NEAR(LineAt(PQFailureLine({0.0, 30.0}, false, -100.0, 0.0), -100.0), 600.0 / 7.0, 1e-9);
    EXPECT_NEAR(LineAt(S3S1FailureLine({0.0, 30.0}, -100.0, -300.0), -100.0), -300.0, 1e-9);
}

TEST(FailureLines, EndsAndFrictionlessEnvelopes) {
    // p-q: from the apex c cot(phi) on the tensile side to 1.05 times the most compressive p.
    const TLinePoints pq = PQFailureLine({10.0, 30.0}, true, -200.0, -100.0);
    EXPECT_NEAR(pq.X[0], 10.0 / std::tan(Pi / 6), 1e-9);
    EXPECT_EQ(pq.Y[0], 0.0);
    EXPECT_DOUBLE_EQ(pq.X[1], -210.0);
    // The farther end in sigma3-sigma1: set here by sigma1 (|(-420 + a) / K| > 105).
    const TLinePoints s3s1 = S3S1FailureLine({0.0, 30.0}, -100.0, -400.0);
    EXPECT_EQ(s3s1.X[0], 0.0);
    EXPECT_NEAR(s3s1.X[1], -140.0, 1e-9);
    EXPECT_NEAR(s3s1.Y[1], -420.0, 1e-9);
    EXPECT_NEAR(S3S1FailureLine({0.0, 30.0}, -200.0, -300.0).X[1], -210.0, 1e-9);

    // phi = 0: lines of constant strength, no division by sin(phi) or tan(phi).
    const TLinePoints flatPQ = PQFailureLine({25.0, 0.0}, true, -300.0, -100.0);
    ASSERT_EQ(flatPQ.X.size(), 2u);
    EXPECT_EQ(flatPQ.Y, (std::vector<double>{50.0, 50.0}));
    EXPECT_DOUBLE_EQ(flatPQ.X[1], -315.0);
    EXPECT_EQ(flatPQ.X[0], 0.0);
    const TLinePoints flatS3S1 = S3S1FailureLine({25.0, 0.0}, -100.0, -150.0);
    EXPECT_EQ(flatS3S1.Y[0], -50.0);
    EXPECT_NEAR(flatS3S1.Y[1] - flatS3S1.X[1], -50.0, 1e-12); // sigma1 = sigma3 - 2c
    const TLinePoints flatMohr = MohrFailureLine({25.0, 0.0}, -150.0, -100.0);
    EXPECT_EQ(flatMohr.Y, (std::vector<double>{25.0, 25.0}));
    for (const TLinePoints* line : {&flatPQ, &flatS3S1, &flatMohr})
        for (double v : line->X)
            EXPECT_TRUE(std::isfinite(v));
    // A circle of undrained strength touches tau = c at its top.
    const TLinePoints circle = MohrCircle(-150.0, -100.0, 181, 0.0);
    EXPECT_NEAR(*std::max_element(circle.Y.begin(), circle.Y.end()), 25.0, 1e-12);
    EXPECT_EQ(MohrCircle(-150.0, -100.0, 1).X.size(), 2u);
    // The envelope of a friction angle of 90 degrees has no sigma3-sigma1 form.
    EXPECT_TRUE(S3S1FailureLine({10.0, 90.0}, -100.0, -200.0).X.empty());
}

using ChartLogic = PresentationFixture;

TEST_F(ChartLogic, MohrChartShowsRoundCirclesUnderTheEnvelope) {
    // The last state is at failure for c = 10 kPa and phi = 30 degrees.
    const double sigma1 = FailureSigma1(-100.0, 10.0, 30.0);
    SetResults(Triaxial(), 3, [&](int i) {
        return TStressPoint{-100e3, i == 2 ? sigma1 * 1e3 : -100e3 - 50e3 * i, -100e3};
    });
    TChartsFrame frame(*Project, ttTriaxial);
    TChart* mohr = nullptr;
    for (int i = 0; i < frame.ChartCount(); ++i)
        if (frame.Chart(i).ChartType() == ctMohr)
            mohr = &frame.Chart(i);
    ASSERT_NE(mohr, nullptr);
    const TChartSeries* circle = FirstOfKind(*mohr, TChartSeriesKind::MohrCircle);
    const TChartSeries* line = FirstOfKind(*mohr, TChartSeriesKind::FailureLine);
    ASSERT_NE(circle, nullptr);
    ASSERT_NE(line, nullptr);
    EXPECT_GE(circle->PointCount(), 181u);
    const double centre = 0.5 * (sigma1 - 100.0), radius = 0.5 * (-100.0 - sigma1);
    // The contact point pi/2 - phi is a point of the circle, and on the envelope.
    const double contactX = centre + radius * Sin(30.0), contactY = radius * std::cos(Pi / 6);
    bool found = false;
    for (size_t i = 0; i < circle->PointCount(); ++i)
        if (std::fabs(circle->X[i] - contactX) < 1e-9 && std::fabs(circle->Y[i] - contactY) < 1e-9)
            found = true;
    EXPECT_TRUE(found);
    TLinePoints envelope{line->X, line->Y};
    EXPECT_NEAR(LineAt(envelope, contactX), contactY, 1e-9);
    EXPECT_NEAR(line->X[1], 1.05 * sigma1, 1e-9);

    // Round: equal units per pixel on both axes, whatever the shape of the plot area, and
    // every point of the circle inside.
    for (auto [width, height] : {std::pair{600.0, 200.0}, std::pair{200.0, 600.0}}) {
        TAxisMapping x, y;
        mohr->PlotMappings(0, 0, width, height, x, y);
        EXPECT_NEAR(x.Range.Span() / width, y.Range.Span() / height, 1e-12);
        for (size_t i = 0; i < circle->PointCount(); ++i) {
            EXPECT_TRUE(x.ContainsPixel(x.ToPixel(circle->X[i])));
            EXPECT_TRUE(y.ContainsPixel(y.ToPixel(circle->Y[i])));
        }
        // A quarter of the circle: as far across as up, in pixels.
        const double across = std::fabs(x.ToPixel(centre + radius) - x.ToPixel(centre));
        const double up = std::fabs(y.ToPixel(radius) - y.ToPixel(0.0));
        EXPECT_NEAR(across, up, 1e-9);
    }
}

TEST_F(ChartLogic, TangentAndSecantAtTheEdgesOfACurve) {
    SetTriaxialResults(Triaxial(), 11);
    TChartsFrame frame(*Project, ttTriaxial);
    TChart& chart = frame.Chart(0); // eps_yy against the deviatoric stress
    ASSERT_EQ(chart.ChartType(), ctEyyDS);
    const TChartSeries& curve = chart.Series()[0];

    // The pure rules: the last point takes the last pair; x = 0 has no secant; no change of x
    // has no tangent; a curve of one point has none.
    const std::vector<double> x{0.0, 1.0, 2.0, 2.0}, y{0.0, 2.0, 5.0, 7.0};
    EXPECT_DOUBLE_EQ(TangentAt(x, y, 0), 2.0);
    EXPECT_DOUBLE_EQ(TangentAt(x, y, 1), 3.0);
    EXPECT_TRUE(std::isnan(TangentAt(x, y, 2)));
    EXPECT_TRUE(std::isnan(TangentAt(x, y, 3))); // the last pair has no change of x
    EXPECT_DOUBLE_EQ(TangentAt(std::vector<double>{0, 1, 3}, std::vector<double>{0, 1, 5}, 2), 2.0);
    EXPECT_TRUE(std::isnan(SecantAt(x, y, 0)));
    EXPECT_DOUBLE_EQ(SecantAt(x, y, 2), 2.5);
    EXPECT_TRUE(std::isnan(TangentAt(std::vector<double>{1}, std::vector<double>{1}, 0)));
    const TTangentOrSecant secant = SecantOfCurve(x, y, 1.9, 4.0);
    EXPECT_EQ(secant.Point, 2);
    EXPECT_DOUBLE_EQ(secant.Value, 2.5);
    EXPECT_EQ(TangentOfCurve(std::vector<double>{}, std::vector<double>{}, 0, 0).Point, -1);

    // On the chart: the deviatoric stress grows by 20 kPa per 1 % axial strain, so the tangent
    // and secant are -2000 kN/m² per unit strain (the strain is negative); at the first row,
    // x = 0, the secant is NaN.
    const int last = static_cast<int>(curve.PointCount()) - 1;
    auto values = TangentAndSecantAt(chart, {0, last}, &DefaultResultUnits());
    ASSERT_TRUE(values);
    EXPECT_NEAR(values->Tangent, -2000.0, 1e-6);
    EXPECT_NEAR(values->Secant, -2000.0, 1e-6);
    values = TangentAndSecantAt(chart, {0, 0}, &DefaultResultUnits());
    EXPECT_TRUE(std::isnan(values->Secant));
    EXPECT_NEAR(values->Tangent, -2000.0, 1e-6);
    // In default units whatever the chart shows: pressures in N/m² on the chart don't change it.
    Project->SystemOfUnits().SetForcePresentationUnit("N");
    EXPECT_NEAR(TangentAndSecantAt(chart, {0, last}, &DefaultResultUnits())->Tangent, -2000.0,
                1e-6);
    EXPECT_NEAR(chart.Series()[0].Y.back(), 200000.0, 1e-6);

    // The lines to draw, through the point across the curve's x extent.
    chart.Selection().Click({0, last}, TSelectModifier::None);
    ASSERT_TRUE(chart.ShowTangentAndSecant());
    const TChartSeries* tangent = FirstOfKind(chart, TChartSeriesKind::Tangent);
    const TChartSeries* secantLine = FirstOfKind(chart, TChartSeriesKind::Secant);
    ASSERT_NE(tangent, nullptr);
    ASSERT_NE(secantLine, nullptr);
    EXPECT_DOUBLE_EQ(tangent->X[0], -0.1);
    EXPECT_DOUBLE_EQ(tangent->X[1], 0.0);
    EXPECT_NEAR(tangent->Y[0], 200000.0, 1e-6);
    EXPECT_NEAR(tangent->Y[1], 0.0, 1e-6);
    EXPECT_EQ(secantLine->X[0], 0.0);
    EXPECT_EQ(secantLine->Y[0], 0.0);
    // At x = 0 the secant is a vertical segment, drawn without dividing by 0.
    chart.Selection().Click({0, 0}, TSelectModifier::None);
    ASSERT_TRUE(chart.ShowTangentAndSecant());
    secantLine = FirstOfKind(chart, TChartSeriesKind::Secant);
    EXPECT_EQ(secantLine->X, (std::vector<double>{0.0, 0.0}));
    // They set no ranges, and go with the next fill.
    chart.HideTangentAndSecant();
    EXPECT_EQ(FirstOfKind(chart, TChartSeriesKind::Tangent), nullptr);
    chart.Selection().Clear();
    EXPECT_FALSE(chart.ShowTangentAndSecant());
}

TEST_F(ChartLogic, PointReadoutAndSelectionWithShiftAndControl) {
    SetTriaxialResults(Triaxial(), 11);
    TQBTestBase& loaded = LoadCopyOf(Triaxial());
    (void)loaded;
    TChartsFrame frame(*Project, ttTriaxial);
    TChart& chart = frame.Chart(0);
    TAxisMapping x, y;
    chart.PlotMappings(50, 10, 450, 310, x, y);

    EXPECT_EQ(PointReadoutText(-0.05, 123.456), "|(-0.05; 123)");
    const auto readout = PointReadoutAt(x.ToPixel(-0.05), y.ToPixel(100.0), x, y);
    ASSERT_TRUE(readout);
    EXPECT_EQ(*readout, "|(-0.05; 100)");
    EXPECT_FALSE(PointReadoutAt(49.0, 100.0, x, y));
    EXPECT_FALSE(PointReadoutAt(100.0, 311.0, x, y));

    // A click picks the nearest point in pixels; both tests' curves coincide, the first wins.
    auto pixel = [&](int row) {
        return std::pair{x.ToPixel(chart.Series()[0].X[row]), y.ToPixel(chart.Series()[0].Y[row])};
    };
    auto [px, py] = pixel(3);
    auto picked = chart.ClickAt(px + 2.0, py - 1.0, TSelectModifier::None, x, y);
    ASSERT_TRUE(picked);
    EXPECT_EQ(*picked, (TChartPointRef{0, 3}));
    EXPECT_TRUE(chart.Selection().SelectionMode());
    // Shift adds a second point; with a pair at hand it drops the older.
    std::tie(px, py) = pixel(7);
    chart.ClickAt(px, py, TSelectModifier::Shift, x, y);
    EXPECT_EQ(chart.Selection().Points(), (std::vector<TChartPointRef>{{0, 3}, {0, 7}}));
    std::tie(px, py) = pixel(9);
    chart.ClickAt(px, py, TSelectModifier::Shift, x, y);
    EXPECT_EQ(chart.Selection().Points(), (std::vector<TChartPointRef>{{0, 7}, {0, 9}}));
    // Control puts the new point in the older's place.
    std::tie(px, py) = pixel(1);
    chart.ClickAt(px, py, TSelectModifier::Control, x, y);
    EXPECT_EQ(chart.Selection().Points(), (std::vector<TChartPointRef>{{0, 1}, {0, 9}}));
    EXPECT_EQ(*chart.Selection().Latest(), (TChartPointRef{0, 1}));
    std::tie(px, py) = pixel(5);
    chart.ClickAt(px, py, TSelectModifier::Control, x, y);
    EXPECT_EQ(chart.Selection().Points(), (std::vector<TChartPointRef>{{0, 1}, {0, 5}}));
    // A plain click starts again.
    chart.ClickAt(px, py, TSelectModifier::None, x, y);
    EXPECT_EQ(chart.Selection().Points().size(), 1u);

    // The envelope and the Mohr circle are not curves of results: nothing to pick on a chart
    // without a test's curve.
    TChart* mohr = nullptr;
    for (int i = 0; i < frame.ChartCount(); ++i)
        if (frame.Chart(i).ChartType() == ctMohr)
            mohr = &frame.Chart(i);
    ASSERT_NE(mohr, nullptr);
    mohr->PlotMappings(0, 0, 400, 300, x, y);
    EXPECT_FALSE(mohr->ClickAt(200, 150, TSelectModifier::None, x, y));
}

TEST_F(ChartLogic, LogarithmicAxesLeaveOutWhatTheyCantShow) {
    SetTriaxialResults(Triaxial(), 11);
    TChartsFrame frame(*Project, ttTriaxial);
    // The deviatoric stress of the first row is 0, the strains all negative or 0.
    Triaxial().ChartSettings().ByChartType(ctEyyDS)->YAxis().SetLogarithmic(true);
    TChart& chart = frame.Chart(0);
    ASSERT_TRUE(chart.YAxis().Logarithmic);
    EXPECT_EQ(chart.AutoYRange(), (TAxisRange{10.0, 1000.0}));
    TAxisMapping x, y;
    chart.PlotMappings(0, 0, 400, 300, x, y);
    EXPECT_TRUE(std::isnan(y.ToPixel(chart.Series()[0].Y[0])));
    // A click passes over what isn't drawn.
    const auto picked = chart.ClickAt(x.ToPixel(0.0), 300.0, TSelectModifier::None, x, y);
    ASSERT_TRUE(picked);
    EXPECT_EQ(picked->Point, 1);
    // No positive strain at all: the axis takes its range of one decade.
    Triaxial().ChartSettings().ByChartType(ctEyyDS)->XAxis().SetLogarithmic(true);
    EXPECT_EQ(frame.Chart(0).AutoXRange(), (TAxisRange{1.0, 10.0}));
    // Equal scales don't apply to a logarithmic axis.
    Triaxial().ChartSettings().ByChartType(ctEyyDS)->SetOrthonormal(true);
    TAxisRange xr, yr;
    frame.Chart(0).PlotRanges(400, 100, xr, yr);
    EXPECT_EQ(yr, (TAxisRange{10.0, 1000.0}));
}
