// RegressionObject: least-squares fits, the working degree, singular systems and the degree
// property's error.
#include <gtest/gtest.h>

#include <vector>

#include "calibration/regression_object.hpp"
#include "runtime/errors.hpp"

namespace synthor {
namespace {

struct FitCase {
    std::int32_t degree;
    std::vector<std::pair<double, double>> points;
    std::vector<double> coefficients;  // C[0] to C[4]
};

// Least squares rather than interpolation; fewer points than the degree needs lower the working
// degree; a singular parabola is retried as a straight line; no points leave every coefficient 0.
TEST(RegressionObject, FitsAndWorkingDegree) {
    const FitCase cases[] = {
        {1, {{1, -5}, {2, -6}, {3, -8}}, {-10.0 / 3, -1.5, 0, 0, 0}},
        {2, {{1, 1}, {3, 5}}, {-1, 2, 0, 0, 0}},
        {2, {{4, 7}}, {7, 0, 0, 0, 0}},
        {0, {{1, 2}, {5, 4}, {9, 9}}, {5, 0, 0, 0, 0}},
        {4, {{-2, 16}, {-1, 1}, {0, 0}, {1, 1}, {2, 16}}, {0, 0, 0, 0, 1}},
        {2, {{0, 1}, {0, 3}, {2, 5}}, {2, 1.5, 0, 0, 0}},
        {2, {}, {0, 0, 0, 0, 0}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const FitCase& c = cases[i];
        RegressionObject r;
        r.Degree(c.degree);
        for (const auto& [x, y] : c.points)
            r.XYAdd(x, y);
        EXPECT_EQ(r.XYCount(), static_cast<std::int32_t>(c.points.size())) << "case " << i;
        for (int k = 0; k < 5; ++k)
            EXPECT_NEAR(r.Coeff(k), c.coefficients[k], 1e-9) << "case " << i << " C" << k;
    }
}

// A straight line through points that share one x cannot be solved: the coefficients stay as
// the last read's fit left them and no error reaches the caller.
TEST(RegressionObject, ReadsRefitAfterNewPointsAndANewDegreeDiscardsThem) {
    RegressionObject line;
    line.Degree(1);
    line.XYAdd(2, 5);
    EXPECT_DOUBLE_EQ(line.Coeff(0), 5);  // one point: a constant
    line.XYAdd(2, 7);
    EXPECT_DOUBLE_EQ(line.Coeff(0), 5);  // not the mean, 6
    EXPECT_DOUBLE_EQ(line.Coeff(1), 0);

    RegressionObject r;
    EXPECT_EQ(r.Degree(), 2);
    r.Degree(1);
    r.XYAdd(0, 0);
    r.XYAdd(1, 1);
    EXPECT_DOUBLE_EQ(r.Coeff(1), 1);
    r.XYAdd(2, 4);
    EXPECT_DOUBLE_EQ(r.Coeff(-1), 2);  // the index's absolute value
    EXPECT_EQ(r.Coeff(7), 0);
    EXPECT_NEAR(r.RegVal(3), 17.0 / 3, 1e-9);  // -1/3 + 2x
    EXPECT_NEAR(r.RegVal(0), -1.0 / 3, 1e-9);  // 0^0 counts as 1
    r.Degree(1);
    EXPECT_EQ(r.XYCount(), 0);
    EXPECT_EQ(r.RegVal(3), 0);
}

TEST(RegressionObject, DegreeOutsideZeroToFourRaises6000AndChangesNothing) {
    for (const std::int32_t value : {5, -1}) {
        RegressionObject r;
        r.Degree(1);
        r.XYAdd(1, 1);
        r.XYAdd(2, 3);
        try {
            r.Degree(value);
            FAIL() << "nothing raised for " << value;
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), 6000);
            EXPECT_EQ(e.source(), "RegressionObject");
            EXPECT_EQ(e.description(),
                      std::to_string(value) + " is an invalid property value! Use 0<= Degree <= 4");
        }
        EXPECT_EQ(r.Degree(), 1);
        EXPECT_DOUBLE_EQ(r.Coeff(1), 2);
    }
}

}  // namespace
}  // namespace synthor
